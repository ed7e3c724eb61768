#pragma once

#include "platform/login_items.hpp"

namespace kestrune {

// The app as its own login item: SMAppService.mainAppService, which exists
// from macOS 13. Before that the service is not available, the item is
// notFound and every change fails with an explanation. Main thread; every
// call drains its own autorelease pool.
class MacLoginItems final : public LoginItems {
 public:
  [[nodiscard]] bool isAvailable() override;
  [[nodiscard]] Status status() override;
  [[nodiscard]] std::optional<PlatformError> registerMainApp() override;
  [[nodiscard]] std::optional<PlatformError> unregisterMainApp() override;
};

}  // namespace kestrune
