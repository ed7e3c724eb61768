#pragma once

#include "platform/login_items.hpp"

namespace kestrune {

// The app as its own login item: SMAppService.mainAppService, which exists
// from macOS 13. Before that the item is notFound and every change fails
// with an explanation. Main thread; every call drains its own autorelease
// pool.
class MacLoginItems final : public LoginItems {
 public:
  [[nodiscard]] Status status() override;
  [[nodiscard]] std::optional<std::string> registerMainApp() override;
  [[nodiscard]] std::optional<std::string> unregisterMainApp() override;
};

}  // namespace kestrune
