#pragma once

#include <functional>
#include <map>
#include <optional>
#include <vector>

#include "picker/panel_layout.hpp"
#include "platform/panel_window.hpp"
#include "sim/picker_geometry.hpp"
#include "sim/world.hpp"

namespace kestrune::sim {

// The picker's panel window on the simulated Mac, and the user's mouse and
// keyboard around it. Frames are in AppKit's screen space; the pointer is
// the world's. Main thread only.
class SimPanelWindow final : public PanelWindow {
 public:
  explicit SimPanelWindow(World& world, PanelWindowSetup setup = {});

  void setContent(const OverflowViewModel& view, const OverflowViewActions& actions) override;
  void setResignKeyHandler(std::function<void()> handler) override;
  [[nodiscard]] Size fittingSize() override { return geometry_.size; }
  void setAppearance(PanelAppearance appearance) override { appearance_ = appearance; }
  void setFrame(const Rect& frame) override { frame_ = frame; }
  [[nodiscard]] Rect frame() override { return frame_; }
  void showAndMakeKey() override;
  void orderOut() override;
  [[nodiscard]] bool isVisible() override { return visible_; }
  [[nodiscard]] Point mouseLocation() override;
  [[nodiscard]] std::optional<Subscription> addGlobalMouseDownMonitor(
      std::function<void()> handler) override;
  [[nodiscard]] std::optional<Subscription> addLocalKeyDownMonitor(
      std::function<bool(int keyCode)> handler) override;

  // The app's process ended: the window closes and forgets its content,
  // handlers and monitors.
  void processEnded();

  // The user clicks at a point of AppKit's screen space: inside the shown
  // panel the click lands on what is there; elsewhere it belongs to another
  // app, which the global monitors see and which takes key status away.
  void click(Point location);
  // The user presses a key while the panel is key: the local monitors see
  // it first; what they let through reaches the panel's view.
  void pressKey(int keyCode);
  // The pointer rests at a point of AppKit's screen space.
  void movePointer(Point location);

  [[nodiscard]] const PanelWindowSetup& setup() const { return setup_; }
  [[nodiscard]] const std::optional<OverflowViewModel>& content() const { return content_; }
  [[nodiscard]] const PickerGeometry& geometry() const { return geometry_; }
  [[nodiscard]] PanelAppearance appearance() const { return appearance_; }
  [[nodiscard]] bool isKey() const { return key_; }
  // Keys that reached the view, in order.
  [[nodiscard]] const std::vector<int>& deliveredKeys() const { return deliveredKeys_; }
  // The cell under the pointer, while the panel is shown.
  [[nodiscard]] std::optional<size_t> hoveredCell();
  [[nodiscard]] bool hoversFooter();
  [[nodiscard]] size_t monitorCount() const { return mouseMonitors_.size() + keyMonitors_.size(); }
  // How often the panel's views were built anew for a picker that looked
  // different.
  [[nodiscard]] int rebuilds() const { return rebuilds_; }

 private:
  // The pointer in the panel's own space (origin top left), if inside.
  [[nodiscard]] std::optional<Point> pointInPanel(Point location) const;
  void resignKey();

  World& world_;
  PanelWindowSetup setup_;
  std::optional<OverflowViewModel> content_;
  OverflowViewActions actions_;
  PickerGeometry geometry_;
  std::function<void()> resignKeyHandler_;
  PanelAppearance appearance_ = PanelAppearance::system;
  Rect frame_;
  bool visible_ = false;
  bool key_ = false;
  std::vector<int> deliveredKeys_;
  int rebuilds_ = 0;
  int nextMonitor_ = 0;
  std::map<int, std::function<void()>> mouseMonitors_;
  std::map<int, std::function<bool(int)>> keyMonitors_;
};

}  // namespace kestrune::sim
