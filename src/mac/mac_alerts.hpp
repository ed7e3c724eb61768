#pragma once

#include "platform/alerts.hpp"

namespace kestrune {

// NSAlert, run app-modally. Main thread only, as AppKit's alerts are.
class MacAlerts final : public Alerts {
 public:
  // An alert stopped from code rather than by a button answers the last
  // button: every alert of the app puts the one that does nothing there.
  // With no buttons AppKit shows its own OK, answered as 0.
  [[nodiscard]] size_t runModal(const AlertRequest& request) override;
  // Runs AppKit's alert for an error whose localized description is
  // `description`.
  void showError(const PlatformError& error) override;
};

}  // namespace kestrune
