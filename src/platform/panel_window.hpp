#pragma once

#include <functional>
#include <optional>

#include "core/geometry.hpp"
#include "core/observable.hpp"
#include "picker/picker_view.hpp"

namespace kestrune {

enum class PanelAppearance;

// The floating panel window that hosts the picker (an NSPanel subclass on
// the Mac), and the event monitors it uses while shown. Main thread only;
// frames in AppKit's screen space.
class PanelWindow {
 public:
  virtual ~PanelWindow() = default;
  // Replaces what the panel shows: the views are rebuilt from `view`, and
  // their clicks call `actions`. Hover is the view's own business.
  virtual void setContent(const OverflowViewModel& view, const OverflowViewActions& actions) = 0;
  // Called after the window lost key status (NSWindow resignKeyWindow).
  virtual void setResignKeyHandler(std::function<void()> handler) = 0;
  // Lays out the hosted view and answers its fitting size.
  [[nodiscard]] virtual Size fittingSize() = 0;
  virtual void setAppearance(PanelAppearance appearance) = 0;
  virtual void setFrame(const Rect& frame) = 0;
  [[nodiscard]] virtual Rect frame() = 0;
  // orderFrontRegardless and makeKeyWindow.
  virtual void showAndMakeKey() = 0;
  virtual void orderOut() = 0;
  [[nodiscard]] virtual bool isVisible() = 0;
  // NSEvent mouseLocation.
  [[nodiscard]] virtual Point mouseLocation() = 0;
  // A global monitor of left, right and other mouse-down events (clicks in
  // other apps); none when the platform refuses it.
  [[nodiscard]] virtual std::optional<Subscription> addGlobalMouseDownMonitor(
      std::function<void()> handler) = 0;
  // A local key-down monitor: the handler answers whether to swallow the
  // event (true) or let it through unchanged.
  [[nodiscard]] virtual std::optional<Subscription> addLocalKeyDownMonitor(
      std::function<bool(int keyCode)> handler) = 0;
};

}  // namespace kestrune
