#pragma once

#include "platform/screens.hpp"

namespace kestrune {

// NSScreen and the system status bar, as AppKit reports them. AppKit's
// screen and status bar objects belong to the main thread: call these only
// there.
class MacScreens final : public Screens {
 public:
  [[nodiscard]] std::vector<ScreenInfo> screens() override;
  [[nodiscard]] std::optional<ScreenInfo> mainScreen() override;
  [[nodiscard]] double statusBarThickness() override;
};

}  // namespace kestrune
