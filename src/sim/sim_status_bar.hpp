#pragma once

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "platform/status_bar.hpp"
#include "platform/user_defaults.hpp"
#include "sim/world.hpp"

namespace kestrune::sim {

// A menu the status item showed, and how the user left it.
struct ShownMenu {
  MenuDescription menu;          // the rows as drawn
  std::optional<size_t> chosen;  // the row picked; none: dismissed
};

class SimStatusBar;

// Kestrune's status item on the simulated bar: a real item of the world's
// bar, placed by the position AppKit remembers for its autosave name in the
// user defaults. The user's clicks and menu choices are scripted by the
// test or the command line. Main thread only.
class SimStatusItem final : public StatusItem {
 public:
  SimStatusItem(World& world, UserDefaults& defaults, double width, SimStatusBar& bar);
  ~SimStatusItem() override;
  SimStatusItem(const SimStatusItem&) = delete;
  SimStatusItem& operator=(const SimStatusItem&) = delete;

  void setAutosaveName(const std::string& name) override;
  void setImage(const Image& image) override { image_ = image; }
  void setToolTip(const std::string& toolTip) override { toolTip_ = toolTip; }
  void setAction(EventMask sendActionOn, Action action) override;
  [[nodiscard]] std::optional<Rect> buttonWindowFrame() override;
  void showMenu(std::function<MenuDescription()> menuNeedsUpdate,
                std::function<void(size_t row)> chosen) override;

  // The user clicks the item with the left or right button and lets go. An
  // item hidden behind the notch, under the menus or in the » overflow
  // cannot be clicked: false, and nothing happens. With a menu attached the
  // click opens that menu; otherwise the button sends its action if its
  // mask names the mouse-up.
  bool click(EventType mouseUp);
  // The button sends its action with this current event, as a performClick
  // or an Accessibility press would.
  void sendAction(std::optional<EventType> currentEvent);
  // How the user answers the next menus, oldest first: the title of the
  // row to pick, or none to dismiss. A menu without an answer is dismissed;
  // so is one whose row is missing, disabled, hidden or a separator.
  void answerMenu(std::optional<std::string> title) { answers_.push_back(std::move(title)); }

  // The process that made the item ended: the item leaves the bar, and the
  // object, should the app's remains still hold it, does nothing more.
  void detach();

  [[nodiscard]] const std::string& autosaveName() const { return autosaveName_; }
  [[nodiscard]] const Image& image() const { return image_; }
  [[nodiscard]] const std::string& toolTip() const { return toolTip_; }
  [[nodiscard]] EventMask sendActionOn() const { return mask_; }
  [[nodiscard]] bool hasMenu() const { return menuAttached_; }
  [[nodiscard]] const std::vector<ShownMenu>& shownMenus() const { return shown_; }
  // Actions the button sent, in order, each with its current event.
  [[nodiscard]] const std::vector<std::optional<EventType>>& sentActions() const {
    return sentActions_;
  }

 private:
  void place();
  void openAttachedMenu();
  [[nodiscard]] std::optional<size_t> answer(const MenuDescription& menu);

  World& world_;
  UserDefaults& defaults_;
  double width_;
  SimStatusBar& bar_;
  bool detached_ = false;
  std::string autosaveName_;
  Image image_;
  std::string toolTip_;
  EventMask mask_ = 0;
  Action action_;
  bool menuAttached_ = false;
  std::function<MenuDescription()> menuNeedsUpdate_;
  std::function<void(size_t)> chosen_;
  std::deque<std::optional<std::string>> answers_;
  std::vector<ShownMenu> shown_;
  std::vector<std::optional<EventType>> sentActions_;
};

// The simulated system status bar, for Kestrune's one status item. It must
// outlive the item.
class SimStatusBar final : public StatusBar {
 public:
  static constexpr const char* kPreferredPositionPrefix = "NSStatusItem Preferred Position ";
  // AppKit's name for an item before the app names it.
  static constexpr const char* kDefaultAutosaveName = "Item-0";

  SimStatusBar(World& world, UserDefaults& defaults) : world_(world), defaults_(defaults) {}

  // Throws std::logic_error while an item already exists: Kestrune makes one.
  [[nodiscard]] std::unique_ptr<StatusItem> statusItemWithSquareLength() override;

  // The live item, if any.
  [[nodiscard]] SimStatusItem* item() const { return item_; }
  // Kestrune's process ended: its item leaves the bar.
  void processEnded();

 private:
  friend class SimStatusItem;
  World& world_;
  UserDefaults& defaults_;
  SimStatusItem* item_ = nullptr;
};

}  // namespace kestrune::sim
