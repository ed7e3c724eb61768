#pragma once

#include <optional>
#include <string>

namespace kestrune {

// SMAppService.mainAppService: the app as its own login item.
class LoginItems {
 public:
  enum class Status { notRegistered, enabled, requiresApproval, notFound };

  virtual ~LoginItems() = default;
  [[nodiscard]] virtual Status status() = 0;
  // registerAndReturnError: / unregisterAndReturnError:. The error's
  // localized description on failure.
  [[nodiscard]] virtual std::optional<std::string> registerMainApp() = 0;
  [[nodiscard]] virtual std::optional<std::string> unregisterMainApp() = 0;
};

}  // namespace kestrune
