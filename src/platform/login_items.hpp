#pragma once

#include <optional>

#include "platform/platform_error.hpp"

namespace kestrune {

// SMAppService.mainAppService: the app as its own login item.
class LoginItems {
 public:
  enum class Status { notRegistered, enabled, requiresApproval, notFound };

  virtual ~LoginItems() = default;
  // Whether the service exists on this system (macOS 13 and later).
  [[nodiscard]] virtual bool isAvailable() = 0;
  [[nodiscard]] virtual Status status() = 0;
  // registerAndReturnError: / unregisterAndReturnError:. The error on
  // failure.
  [[nodiscard]] virtual std::optional<PlatformError> registerMainApp() = 0;
  [[nodiscard]] virtual std::optional<PlatformError> unregisterMainApp() = 0;
};

}  // namespace kestrune
