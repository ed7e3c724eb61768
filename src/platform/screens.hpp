#pragma once

#include <optional>
#include <vector>

#include "core/geometry.hpp"

namespace kestrune {

// One NSScreen, in AppKit's screen space: origin at the bottom left of the
// primary display, y growing upward.
struct ScreenInfo {
  Rect frame;
  Rect visibleFrame;
  EdgeInsets safeAreaInsets;                  // top: the camera housing's height
  std::optional<Rect> auxiliaryTopLeftArea;   // menu bar left of the notch
  std::optional<Rect> auxiliaryTopRightArea;  // menu bar right of the notch
  double backingScaleFactor = 1;
};

class Screens {
 public:
  virtual ~Screens() = default;
  // NSScreen.screens, the primary display first.
  [[nodiscard]] virtual std::vector<ScreenInfo> screens() = 0;
  // NSScreen.mainScreen: the screen with the key window, which is not
  // always the primary one.
  [[nodiscard]] virtual std::optional<ScreenInfo> mainScreen() = 0;
  // The system status bar's thickness.
  [[nodiscard]] virtual double statusBarThickness() = 0;
};

}  // namespace kestrune
