#include "mac/mac_status_bar.hpp"

#import <AppKit/AppKit.h>

#include <utility>

#include "mac/image_renderer.hpp"
#include "mac/ns_string.hpp"

// The button's target and the menu's delegate: hands AppKit's calls over to
// the C++ side.
@interface KestruneStatusItemTarget : NSObject <NSMenuDelegate>
- (void)setAction:(kestrune::StatusItem::Action)action;
- (void)setMenuNeedsUpdate:(std::function<kestrune::MenuDescription()>)menuNeedsUpdate
                    chosen:(std::function<void(size_t)>)chosen;
- (void)clicked:(id)sender;
- (void)choose:(NSMenuItem*)sender;
@end

namespace {

NSMenuItem* menuItem(const kestrune::MenuRow& row, NSInteger tag, id target) {
  if (row.isSeparator) return [NSMenuItem separatorItem];
  NSMenuItem* item = [[NSMenuItem alloc] initWithTitle:kestrune::nsText(row.title)
                                                action:@selector(choose:)
                                         keyEquivalent:kestrune::nsText(row.keyEquivalent)];
  item.target = target;
  item.tag = tag;
  // The menu does not auto-enable: each row says.
  item.enabled = row.enabled;
  item.state = row.checked ? NSControlStateValueOn : NSControlStateValueOff;
  item.hidden = row.hidden;
  item.toolTip = row.toolTip.empty() ? nil : kestrune::toNSString(row.toolTip);
  return item;
}

}  // namespace

@implementation KestruneStatusItemTarget {
  kestrune::StatusItem::Action _action;
  std::function<kestrune::MenuDescription()> _menuNeedsUpdate;
  std::function<void(size_t)> _chosen;
}

- (void)setAction:(kestrune::StatusItem::Action)action {
  _action = std::move(action);
}

- (void)setMenuNeedsUpdate:(std::function<kestrune::MenuDescription()>)menuNeedsUpdate
                    chosen:(std::function<void(size_t)>)chosen {
  _menuNeedsUpdate = std::move(menuNeedsUpdate);
  _chosen = std::move(chosen);
}

- (void)clicked:(id)sender {
  (void)sender;
  NSEvent* event = NSApplication.sharedApplication.currentEvent;
  std::optional<kestrune::EventType> type;
  // NSEventType numbers mouse events as Quartz does (NSEventTypeRightMouseUp
  // is kCGEventRightMouseUp).
  if (event != nil) type = static_cast<kestrune::EventType>(event.type);
  // A copy: the action may replace itself.
  if (auto action = _action) action(type);
}

// Rows are rebuilt each time the menu opens, from what the core says now.
- (void)menuNeedsUpdate:(NSMenu*)menu {
  if (!_menuNeedsUpdate) return;
  const kestrune::MenuDescription description = _menuNeedsUpdate();
  [menu removeAllItems];
  for (size_t i = 0; i < description.rows.size(); ++i) {
    [menu addItem:menuItem(description.rows[i], static_cast<NSInteger>(i), self)];
  }
}

- (void)choose:(NSMenuItem*)sender {
  if (auto chosen = _chosen) chosen(static_cast<size_t>(sender.tag));
}

@end

namespace kestrune {
namespace {

class MacStatusItem final : public StatusItem {
 public:
  MacStatusItem()
      : item_([NSStatusBar.systemStatusBar statusItemWithLength:NSSquareStatusItemLength]),
        target_([[KestruneStatusItemTarget alloc] init]),
        menu_([[NSMenu alloc] initWithTitle:@""]) {
    menu_.autoenablesItems = NO;
    menu_.delegate = target_;
  }
  ~MacStatusItem() override { [NSStatusBar.systemStatusBar removeStatusItem:item_]; }
  MacStatusItem(const MacStatusItem&) = delete;
  MacStatusItem& operator=(const MacStatusItem&) = delete;

  void setAutosaveName(const std::string& name) override { item_.autosaveName = toNSString(name); }
  void setImage(const Image& image) override { item_.button.image = toNSImage(image); }
  void setToolTip(const std::string& toolTip) override {
    item_.button.toolTip = toNSString(toolTip);
  }
  void setAction(EventMask sendActionOn, Action action) override;
  [[nodiscard]] std::optional<Rect> buttonWindowFrame() override;
  void showMenu(std::function<MenuDescription()> menuNeedsUpdate,
                std::function<void(size_t row)> chosen) override;

 private:
  NSStatusItem* item_;
  // The button's target and the menu's delegate are weak references: kept
  // here.
  KestruneStatusItemTarget* target_;
  NSMenu* menu_;
};

void MacStatusItem::setAction(EventMask sendActionOn, Action action) {
  [target_ setAction:std::move(action)];
  NSStatusBarButton* button = item_.button;
  button.target = target_;
  button.action = @selector(clicked:);
  (void)[button sendActionOn:static_cast<NSEventMask>(sendActionOn)];
}

std::optional<Rect> MacStatusItem::buttonWindowFrame() {
  NSWindow* window = item_.button.window;
  if (window == nil) return std::nullopt;
  const NSRect frame = window.frame;
  return Rect{frame.origin.x, frame.origin.y, frame.size.width, frame.size.height};
}

void MacStatusItem::showMenu(std::function<MenuDescription()> menuNeedsUpdate,
                             std::function<void(size_t row)> chosen) {
  NSStatusBarButton* button = item_.button;
  if (button == nil) return;
  [target_ setMenuNeedsUpdate:std::move(menuNeedsUpdate) chosen:std::move(chosen)];
  item_.menu = menu_;
  // Opens the menu under the item and returns once it has closed.
  [button performClick:nil];
  // Detached, later clicks reach the action again.
  item_.menu = nil;
}

}  // namespace

std::unique_ptr<StatusItem> MacStatusBar::statusItemWithSquareLength() {
  return std::make_unique<MacStatusItem>();
}

}  // namespace kestrune
