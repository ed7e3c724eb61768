#include "sim/sim_panel_window.hpp"

namespace kestrune::sim {

SimPanelWindow::SimPanelWindow(World& world, PanelWindowSetup setup)
    : world_(world), setup_(setup), frame_(setup.contentRect) {}

void SimPanelWindow::setContent(const OverflowViewModel& view, const OverflowViewActions& actions) {
  const bool rebuild = !content_ || !looksTheSame(*content_, view);
  content_ = view;
  actions_ = actions;
  if (!rebuild) return;
  ++rebuilds_;
  geometry_ = layoutPicker(view);
}

void SimPanelWindow::setResignKeyHandler(std::function<void()> handler) {
  resignKeyHandler_ = std::move(handler);
}

void SimPanelWindow::showAndMakeKey() {
  visible_ = true;
  key_ = true;
}

void SimPanelWindow::orderOut() {
  visible_ = false;
  // An ordered-out window gives up key status.
  if (key_) resignKey();
}

void SimPanelWindow::processEnded() {
  visible_ = false;
  key_ = false;
  content_.reset();
  actions_ = {};
  geometry_ = {};
  resignKeyHandler_ = nullptr;
  appearance_ = PanelAppearance::system;
  mouseMonitors_.clear();
  keyMonitors_.clear();
}

Point SimPanelWindow::mouseLocation() {
  const Point global = world_.cursor();
  return {global.x, world_.mainDisplay().frame.height() - global.y};
}

void SimPanelWindow::movePointer(Point location) {
  world_.moveCursor({location.x, world_.mainDisplay().frame.height() - location.y});
}

std::optional<Subscription> SimPanelWindow::addGlobalMouseDownMonitor(
    std::function<void()> handler) {
  const int id = nextMonitor_++;
  mouseMonitors_[id] = std::move(handler);
  return Subscription([this, id] { mouseMonitors_.erase(id); });
}

std::optional<Subscription> SimPanelWindow::addLocalKeyDownMonitor(
    std::function<bool(int keyCode)> handler) {
  const int id = nextMonitor_++;
  keyMonitors_[id] = std::move(handler);
  return Subscription([this, id] { keyMonitors_.erase(id); });
}

std::optional<Point> SimPanelWindow::pointInPanel(Point location) const {
  if (!visible_ || !frame_.contains(location)) return std::nullopt;
  return Point{location.x - frame_.minX(), frame_.maxY() - location.y};
}

void SimPanelWindow::click(Point location) {
  movePointer(location);
  if (const auto inside = pointInPanel(location)) {
    const auto hit = geometry_.hitTest(*inside);
    switch (hit.kind) {
      case PickerGeometry::Hit::Kind::cell:
        if (content_ && content_->grid) clickCell(content_->grid->cells[hit.cell], actions_);
        break;
      case PickerGeometry::Hit::Kind::hint:
        if (actions_.onRequestScreenRecording) actions_.onRequestScreenRecording();
        break;
      case PickerGeometry::Hit::Kind::footer:
        if (actions_.onOpenSettings) actions_.onOpenSettings();
        break;
      case PickerGeometry::Hit::Kind::none:
        break;
    }
    return;
  }
  // Copies: a monitor may remove itself, or every monitor, when it runs.
  const auto monitors = mouseMonitors_;
  for (const auto& [id, monitor] : monitors) {
    if (mouseMonitors_.count(id) != 0) monitor();
  }
  if (key_) resignKey();
}

void SimPanelWindow::pressKey(int keyCode) {
  if (!key_) return;
  const auto monitors = keyMonitors_;
  for (const auto& [id, monitor] : monitors) {
    if (keyMonitors_.count(id) != 0 && monitor(keyCode)) return;
  }
  deliveredKeys_.push_back(keyCode);
}

void SimPanelWindow::resignKey() {
  key_ = false;
  if (resignKeyHandler_) resignKeyHandler_();
}

std::optional<size_t> SimPanelWindow::hoveredCell() {
  const auto inside = pointInPanel(mouseLocation());
  if (!inside) return std::nullopt;
  const auto hit = geometry_.hitTest(*inside);
  if (hit.kind != PickerGeometry::Hit::Kind::cell) return std::nullopt;
  return hit.cell;
}

bool SimPanelWindow::hoversFooter() {
  const auto inside = pointInPanel(mouseLocation());
  return inside && geometry_.hitTest(*inside).kind == PickerGeometry::Hit::Kind::footer;
}

}  // namespace kestrune::sim
