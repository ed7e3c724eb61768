#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "core/executor.hpp"
#include "core/geometry.hpp"
#include "core/time.hpp"
#include "discovery/menu_bar_item.hpp"
#include "platform/screens.hpp"

namespace kestrune {

// The overflow panel's window, as every platform builds it.
namespace PanelStyle {
inline constexpr Rect kContentRect{0, 0, 460, 100};
inline constexpr int kWindowLevel = 101;  // the pop-up menu level
inline constexpr double kCornerRadius = 12;
inline constexpr double kBorderWidth = 0.5;
inline constexpr double kSeparatorAlpha = 0.6;  // of the system separator colour
// Kept between the panel and the anchor, and the panel and the screen's
// edges.
inline constexpr double kMargin = 6;
inline constexpr Duration kRefreshInterval = milliseconds(1500);
// Lets the panel disappear, and the app that was active keep focus, before
// an item's menu opens.
inline constexpr Duration kActivationDelay = milliseconds(50);
inline constexpr int kEscapeKeyCode = 53;
}  // namespace PanelStyle

// Every setting the panel's window is created with; each renderer applies
// them to its own kind of window.
struct PanelWindowSetup {
  Rect contentRect = PanelStyle::kContentRect;
  bool nonActivating = true;  // takes key without activating the app
  bool fullSizeContentView = true;
  bool floating = true;
  int level = PanelStyle::kWindowLevel;
  bool hidesOnDeactivate = false;
  bool releasedWhenClosed = false;
  bool joinsAllSpaces = true;
  bool transient = true;
  bool ignoresWindowCycling = true;
  bool opaque = false;
  bool clearBackground = true;
  bool hasShadow = true;
  bool utilityAnimation = true;
  bool popoverMaterial = true;  // blended behind the window, always active
  double cornerRadius = PanelStyle::kCornerRadius;
  bool continuousCorners = true;
  double borderWidth = PanelStyle::kBorderWidth;
  double borderSeparatorAlpha = PanelStyle::kSeparatorAlpha;
};

enum class PanelAppearance { system, dark, light };

// Light captured glyphs need a dark panel and dark ones a light panel;
// without captures the panel follows the system.
[[nodiscard]] PanelAppearance appearanceFor(std::optional<bool> glyphsAreLight, bool usesLiveIcons);

// Where the panel of content size `fitting` goes under `anchor` (AppKit's
// screen space). None when the content has no positive size or there is no
// screen: the panel keeps its frame then.
[[nodiscard]] std::optional<Rect> panelFrame(Rect anchor, Size fitting,
                                             const std::vector<ScreenInfo>& screens,
                                             std::optional<ScreenInfo> main,
                                             double statusBarThickness);

// A mouse-down in another app. One on the anchor itself is left to the
// status item, which toggles the panel.
[[nodiscard]] bool closesOnMouseDown(Point mouse, Rect anchor);

// The panel lost key status.
[[nodiscard]] bool closesOnResignKey(bool isVisible, Point mouse, Rect anchor);

struct KeyDecision {
  bool hidesPanel = false;
  bool swallowsEvent = false;  // false: the event reaches the view unchanged
  friend bool operator==(const KeyDecision&, const KeyDecision&) = default;
};
[[nodiscard]] KeyDecision onKeyDown(int keyCode);

// A cell click: `hide` at once, then, after the activation delay on the
// main executor, `press` the item if it has an owner to press. `press` must
// stay safe to call that late (hold its owner weakly).
void activateItem(const MenuBarItem& item, MainExecutor& main, const std::function<void()>& hide,
                  std::function<void(const MenuBarItem&)> press);

}  // namespace kestrune
