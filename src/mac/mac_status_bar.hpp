#pragma once

#include <memory>

#include "platform/status_bar.hpp"

namespace kestrune {

// NSStatusBar.systemStatusBar and its items. Main thread only, as AppKit's
// status bar is.
class MacStatusBar final : public StatusBar {
 public:
  // The item is an NSStatusItem with an NSMenu of its own for showMenu; it
  // leaves the bar (removeStatusItem:) when destroyed.
  [[nodiscard]] std::unique_ptr<StatusItem> statusItemWithSquareLength() override;
};

}  // namespace kestrune
