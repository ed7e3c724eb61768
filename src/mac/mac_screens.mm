#include "mac/mac_screens.hpp"

#import <AppKit/AppKit.h>

namespace kestrune {
namespace {

Rect toRect(NSRect rect) {
  return {rect.origin.x, rect.origin.y, rect.size.width, rect.size.height};
}

// Objective-C reports a missing area as NSZeroRect (Swift as nil).
std::optional<Rect> auxiliaryArea(NSRect rect) {
  if (NSEqualRects(rect, NSZeroRect)) return std::nullopt;
  return toRect(rect);
}

// Before macOS 12 there is no camera housing to report: no insets, no
// auxiliary areas.
ScreenInfo toScreenInfo(NSScreen* screen) {
  ScreenInfo info;
  info.frame = toRect(screen.frame);
  info.visibleFrame = toRect(screen.visibleFrame);
  if (@available(macOS 12.0, *)) {
    const NSEdgeInsets insets = screen.safeAreaInsets;
    info.safeAreaInsets = {insets.top, insets.left, insets.bottom, insets.right};
    info.auxiliaryTopLeftArea = auxiliaryArea(screen.auxiliaryTopLeftArea);
    info.auxiliaryTopRightArea = auxiliaryArea(screen.auxiliaryTopRightArea);
  }
  info.backingScaleFactor = screen.backingScaleFactor;
  return info;
}

}  // namespace

std::vector<ScreenInfo> MacScreens::screens() {
  NSArray<NSScreen*>* screens = NSScreen.screens;
  std::vector<ScreenInfo> result;
  result.reserve(screens.count);
  for (NSScreen* screen in screens) result.push_back(toScreenInfo(screen));
  return result;
}

std::optional<ScreenInfo> MacScreens::mainScreen() {
  NSScreen* screen = NSScreen.mainScreen;
  if (!screen) return std::nullopt;
  return toScreenInfo(screen);
}

double MacScreens::statusBarThickness() {
  return NSStatusBar.systemStatusBar.thickness;
}

}  // namespace kestrune
