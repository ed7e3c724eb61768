#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/geometry.hpp"
#include "core/image.hpp"
#include "platform/event_system.hpp"

namespace kestrune {

// One row of a menu, as the core describes it; the platform turns the rows
// into menu items (NSMenuItem) in order.
struct MenuRow {
  bool isSeparator = false;
  std::string title;
  std::string keyEquivalent;  // with ⌘; empty: none
  bool enabled = true;
  bool checked = false;  // a check mark (NSControlStateValueOn)
  bool hidden = false;
  std::string toolTip;  // empty: none

  [[nodiscard]] static MenuRow separator() {
    MenuRow row;
    row.isSeparator = true;
    return row;
  }
  friend bool operator==(const MenuRow&, const MenuRow&) = default;
};

struct MenuDescription {
  std::vector<MenuRow> rows;
  friend bool operator==(const MenuDescription&, const MenuDescription&) = default;
};

// The app's own item in the system status bar (NSStatusItem) and its button.
// Destroying it takes the item off the bar. Main thread only; frames in
// AppKit's screen space.
class StatusItem {
 public:
  // What the action is told: the type of the application's current event
  // (NSApp.currentEvent) when the action was sent; none without one.
  using Action = std::function<void(std::optional<EventType> currentEvent)>;

  virtual ~StatusItem() = default;
  // autosaveName: ties the item to the user-defaults keys
  // "NSStatusItem Preferred Position <name>" and "NSStatusItem Visible <name>".
  virtual void setAutosaveName(const std::string& name) = 0;
  // The button's image; a template image follows the menu bar's appearance.
  virtual void setImage(const Image& image) = 0;
  virtual void setToolTip(const std::string& toolTip) = 0;
  // The button's target and action, sent on the mouse events of
  // `sendActionOn` (an NSEventMask: eventMaskBit of each type).
  virtual void setAction(EventMask sendActionOn, Action action) = 0;
  // The frame of the button's window; none without a button or window.
  [[nodiscard]] virtual std::optional<Rect> buttonWindowFrame() = 0;
  // Attaches a menu to the item, performs a click on the button, which opens
  // the menu in the standard place and returns once it has closed, and
  // detaches the menu again, so that later clicks reach the action. Before
  // the menu is drawn (the menu delegate's menuNeedsUpdate:) `menuNeedsUpdate`
  // gives the rows to show. `chosen` is told the index of the row the user
  // picks, if any; a platform may tell it after the call has returned.
  virtual void showMenu(std::function<MenuDescription()> menuNeedsUpdate,
                        std::function<void(size_t row)> chosen) = 0;
};

// The system status bar (NSStatusBar systemStatusBar).
class StatusBar {
 public:
  virtual ~StatusBar() = default;
  // statusItemWithLength:NSSquareStatusItemLength: a new item as wide as the
  // bar is thick, placed where AppKit remembers the item (by its autosave
  // name) or, for a new one, at the left end of the status items.
  [[nodiscard]] virtual std::unique_ptr<StatusItem> statusItemWithSquareLength() = 0;
};

}  // namespace kestrune
