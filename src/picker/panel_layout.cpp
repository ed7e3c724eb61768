#include "picker/panel_layout.hpp"

#include <algorithm>
#include <utility>

namespace kestrune {

PanelAppearance appearanceFor(std::optional<bool> glyphsAreLight, bool usesLiveIcons) {
  if (!glyphsAreLight || !usesLiveIcons) return PanelAppearance::system;
  return *glyphsAreLight ? PanelAppearance::dark : PanelAppearance::light;
}

std::optional<Rect> panelFrame(Rect anchor, Size fitting, const std::vector<ScreenInfo>& screens,
                               std::optional<ScreenInfo> main, double statusBarThickness) {
  const double w = fitting.width;
  const double h = fitting.height;
  if (!(w > 0) || !(h > 0)) return std::nullopt;

  std::optional<ScreenInfo> screen;
  for (const auto& s : screens) {
    if (s.frame.intersects(anchor)) {
      screen = s;
      break;
    }
  }
  if (!screen) screen = main;
  if (!screen && !screens.empty()) screen = screens.front();
  if (!screen) return std::nullopt;

  const Rect vf = screen->visibleFrame;
  double x = anchor.maxX() - w;  // right edges aligned
  if (const auto& area = screen->auxiliaryTopRightArea) {
    // Left of the notch the anchor's own edge would put the panel under the
    // notch or beyond; the screen's right side is where the hidden items are.
    if (!area->contains(Point{anchor.midX(), area->midY()})) {
      x = vf.maxX() - w - PanelStyle::kMargin;
    }
  }
  x = std::min(x, vf.maxX() - w - PanelStyle::kMargin);
  x = std::max(x, vf.minX() + PanelStyle::kMargin);

  const double inset = screen->safeAreaInsets.top;
  const double top = screen->frame.maxY() - (inset > 0 ? inset : statusBarThickness);
  const double y = std::min(top, anchor.minY()) - PanelStyle::kMargin - h;
  return Rect{x, y, w, h};
}

bool closesOnMouseDown(Point mouse, Rect anchor) {
  return !anchor.contains(mouse);
}

bool closesOnResignKey(bool isVisible, Point mouse, Rect anchor) {
  return isVisible && !anchor.contains(mouse);
}

KeyDecision onKeyDown(int keyCode) {
  if (keyCode == PanelStyle::kEscapeKeyCode) return {true, true};
  return {false, false};
}

void activateItem(const MenuBarItem& item, MainExecutor& main, const std::function<void()>& hide,
                  std::function<void(const MenuBarItem&)> press) {
  if (hide) hide();
  if (!item.owner || !press) return;
  main.postAfter(PanelStyle::kActivationDelay, [item, press = std::move(press)] { press(item); });
}

}  // namespace kestrune
