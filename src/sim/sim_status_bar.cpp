#include "sim/sim_status_bar.hpp"

#include <stdexcept>

namespace kestrune::sim {

SimStatusItem::SimStatusItem(World& world, UserDefaults& defaults, double width, SimStatusBar& bar)
    : world_(world),
      defaults_(defaults),
      width_(width),
      bar_(bar),
      autosaveName_(SimStatusBar::kDefaultAutosaveName) {
  place();
}

SimStatusItem::~SimStatusItem() {
  detach();
}

void SimStatusItem::detach() {
  if (detached_) return;
  detached_ = true;
  world_.removeOwnStatusItem();
  bar_.item_ = nullptr;
}

// AppKit places the item again by what it remembers for the new name.
void SimStatusItem::setAutosaveName(const std::string& name) {
  autosaveName_ = name;
  if (!detached_) place();
}

void SimStatusItem::place() {
  const auto position =
      defaults_.integerForKey(std::string(SimStatusBar::kPreferredPositionPrefix) + autosaveName_);
  world_.placeOwnStatusItem(position, width_);
}

void SimStatusItem::setAction(EventMask sendActionOn, Action action) {
  mask_ = sendActionOn;
  action_ = std::move(action);
}

std::optional<Rect> SimStatusItem::buttonWindowFrame() {
  const auto item = detached_ ? std::nullopt : world_.ownStatusItem();
  if (!item) return std::nullopt;
  return flipVertically(item->placed.frame, world_.mainDisplay().frame.height());
}

void SimStatusItem::showMenu(std::function<MenuDescription()> menuNeedsUpdate,
                             std::function<void(size_t row)> chosen) {
  menuNeedsUpdate_ = std::move(menuNeedsUpdate);
  chosen_ = std::move(chosen);
  menuAttached_ = true;
  // performClick opens the attached menu wherever the item is, drawn or not.
  openAttachedMenu();
  menuAttached_ = false;
}

void SimStatusItem::openAttachedMenu() {
  ShownMenu shown;
  shown.menu = menuNeedsUpdate_ ? menuNeedsUpdate_() : MenuDescription{};
  shown.chosen = answer(shown.menu);
  shown_.push_back(shown);
  // The row's action arrives as tracking ends, before the click returns.
  if (shown.chosen && chosen_) chosen_(*shown.chosen);
}

bool SimStatusItem::click(EventType mouseUp) {
  const auto item = detached_ ? std::nullopt : world_.ownStatusItem();
  if (!item || !item->placed.isDrawn()) return false;
  world_.moveCursor(item->placed.frame.mid());
  if (menuAttached_) {
    openAttachedMenu();
  } else if ((mask_ & eventMaskBit(mouseUp)) != 0) {
    sendAction(mouseUp);
  }
  return true;
}

void SimStatusItem::sendAction(std::optional<EventType> currentEvent) {
  sentActions_.push_back(currentEvent);
  // A copy: the action may replace itself.
  if (auto action = action_) action(currentEvent);
}

std::optional<size_t> SimStatusItem::answer(const MenuDescription& menu) {
  if (answers_.empty()) return std::nullopt;
  const auto title = answers_.front();
  answers_.pop_front();
  if (!title) return std::nullopt;
  for (size_t i = 0; i < menu.rows.size(); ++i) {
    const MenuRow& row = menu.rows[i];
    if (row.isSeparator || row.title != *title) continue;
    if (!row.enabled || row.hidden) return std::nullopt;
    return i;
  }
  return std::nullopt;
}

void SimStatusBar::processEnded() {
  if (item_) item_->detach();
}

std::unique_ptr<StatusItem> SimStatusBar::statusItemWithSquareLength() {
  if (item_) throw std::logic_error("Kestrune already has its status item");
  // Square: as wide as the bar is thick.
  auto item = std::make_unique<SimStatusItem>(world_, defaults_,
                                              world_.scenario().menuBar.statusBarThickness, *this);
  item_ = item.get();
  return item;
}

}  // namespace kestrune::sim
