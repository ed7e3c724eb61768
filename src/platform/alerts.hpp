#pragma once

#include <string>
#include <vector>

#include "platform/platform_error.hpp"

namespace kestrune {

// A modal NSAlert: informational style, the app's icon, buttons in order
// (the first is the default).
struct AlertRequest {
  std::string message;
  std::string informativeText;
  std::vector<std::string> buttons;
};

class Alerts {
 public:
  virtual ~Alerts() = default;
  // Runs the alert modally; answers the index of the chosen button. Main
  // thread.
  [[nodiscard]] virtual size_t runModal(const AlertRequest& request) = 0;
  // A standard error alert (NSAlert alertWithError:): the description as
  // its message, the recovery suggestion, if any, below it.
  virtual void showError(const PlatformError& error) = 0;
};

}  // namespace kestrune
