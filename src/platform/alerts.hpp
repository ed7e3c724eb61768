#pragma once

#include <string>
#include <vector>

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
  // A standard error alert (NSAlert alertWithError:) for `description`.
  virtual void showError(const std::string& description) = 0;
};

}  // namespace kestrune
