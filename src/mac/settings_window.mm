#include "mac/settings_window.hpp"

#import <AppKit/AppKit.h>

#include <memory>
#include <utility>

#include "app/general_settings.hpp"
#include "app/settings_view.hpp"
#include "arrange/arrange_model.hpp"
#include "core/observable.hpp"
#include "mac/arrange_views.hpp"
#include "mac/ns_string.hpp"

namespace kestrune {
namespace {

constexpr double kTabViewInset = 12;

NSInteger indexOfTab(SettingsTab tab) {
  return tab == SettingsTab::general ? 0 : 1;
}

SettingsTab tabAtIndex(NSInteger index) {
  return index == 0 ? SettingsTab::general : SettingsTab::arrange;
}

NSTabViewItem* tabItem(const SettingsTabItem& tab, NSView* view) {
  NSTabViewItem* item = [[NSTabViewItem alloc] initWithIdentifier:@(indexOfTab(tab.tab))];
  item.label = nsText(tab.label);
  // Drawn only by tab view styles that show images.
  item.image = [NSImage imageWithSystemSymbolName:nsText(tab.symbol) accessibilityDescription:nil];
  item.view = view;
  return item;
}

void pinInside(NSView* view, NSView* container, double inset) {
  view.translatesAutoresizingMaskIntoConstraints = NO;
  [container addSubview:view];
  [NSLayoutConstraint activateConstraints:@[
    [view.leadingAnchor constraintEqualToAnchor:container.leadingAnchor constant:inset],
    [view.trailingAnchor constraintEqualToAnchor:container.trailingAnchor constant:-inset],
    [view.topAnchor constraintEqualToAnchor:container.topAnchor constant:inset],
    [view.bottomAnchor constraintEqualToAnchor:container.bottomAnchor constant:-inset],
  ]];
}

}  // namespace
}  // namespace kestrune

// The window's delegate and the tab view's: keeps the selection and the
// refresh in step with what the window does.
@interface KestruneSettingsController : NSObject <NSWindowDelegate, NSTabViewDelegate>
@property(readonly, strong) NSWindow* window;
- (instancetype)initWithTabs:(kestrune::SettingsTabSelection&)tabs
                     general:(std::shared_ptr<kestrune::GeneralSettingsModel>)general
                     arrange:(const std::shared_ptr<kestrune::ArrangeModel>&)arrange
    NS_DESIGNATED_INITIALIZER;
- (instancetype)init NS_UNAVAILABLE;
- (void)show;
- (BOOL)isVisible;
- (void)detach;
@end

@implementation KestruneSettingsController {
  kestrune::SettingsTabSelection* _tabs;
  std::shared_ptr<kestrune::GeneralSettingsModel> _general;
  NSTabView* _tabView;
  kestrune::Subscription _tabObserver;
  // Set while the tab view follows the selection: the selection is told of
  // a change before it stores it, so what the tab view then reports must
  // not be written back.
  BOOL _following;
}

- (instancetype)initWithTabs:(kestrune::SettingsTabSelection&)tabs
                     general:(std::shared_ptr<kestrune::GeneralSettingsModel>)general
                     arrange:(const std::shared_ptr<kestrune::ArrangeModel>&)arrange {
  self = [super init];
  if (!self) return nil;
  _tabs = &tabs;
  _general = std::move(general);
  const kestrune::SettingsViewModel view =
      kestrune::describeSettingsView(_tabs->tab.get(), *_general);
  [self makeWindow:view];
  [self makeTabView:view arrange:arrange];
  _tabView.delegate = self;
  __weak KestruneSettingsController* weakSelf = self;
  _tabObserver =
      _tabs->tab.sink([weakSelf](const kestrune::SettingsTab& tab) { [weakSelf selectTab:tab]; });
  [_window center];
  return self;
}

- (void)makeWindow:(const kestrune::SettingsViewModel&)view {
  const NSRect frame = NSMakeRect(0, 0, view.contentSize.width, view.contentSize.height);
  _window =
      [[NSWindow alloc] initWithContentRect:frame
                                  styleMask:NSWindowStyleMaskTitled | NSWindowStyleMaskClosable |
                                            NSWindowStyleMaskMiniaturizable
                                    backing:NSBackingStoreBuffered
                                      defer:YES];
  _window.title = kestrune::nsText(view.title);
  // Made once and shown again and again.
  _window.releasedWhenClosed = NO;
  _window.delegate = self;
}

- (void)makeTabView:(const kestrune::SettingsViewModel&)view
            arrange:(const std::shared_ptr<kestrune::ArrangeModel>&)arrange {
  _tabView = kestrune::makeSettingsTabView(view, kestrune::makeGeneralSettingsView(_general),
                                           kestrune::makeArrangeView(arrange));
  _window.contentView = kestrune::makeSettingsContent(_tabView);
}

- (void)selectTab:(kestrune::SettingsTab)tab {
  const NSInteger index = kestrune::indexOfTab(tab);
  NSTabViewItem* selected = _tabView.selectedTabViewItem;
  if (selected && [_tabView indexOfTabViewItem:selected] == index) return;
  _following = YES;
  [_tabView selectTabViewItemAtIndex:index];
  _following = NO;
}

- (void)show {
  if (@available(macOS 14.0, *)) {
    [NSApp activate];
  } else {
    [NSApp activateIgnoringOtherApps:YES];
  }
  [_window makeKeyAndOrderFront:nil];
  _general->start();
}

- (BOOL)isVisible {
  return _window.isVisible;
}

// The window outlives nothing of its owner's: no more selection or refresh.
- (void)detach {
  _tabObserver.reset();
  _general->stop();
  _tabView.delegate = nil;
  _window.delegate = nil;
  [_window orderOut:nil];
}

- (void)tabView:(NSTabView*)tabView didSelectTabViewItem:(NSTabViewItem*)tabViewItem {
  if (!tabViewItem || _following) return;
  const kestrune::SettingsTab tab = kestrune::tabAtIndex([tabView indexOfTabViewItem:tabViewItem]);
  if (_tabs->tab.get() != tab) _tabs->tab = tab;
}

- (void)windowWillClose:(NSNotification*)notification {
  (void)notification;
  _general->stop();
}

- (void)windowDidMiniaturize:(NSNotification*)notification {
  (void)notification;
  _general->stop();
}

- (void)windowDidDeminiaturize:(NSNotification*)notification {
  (void)notification;
  _general->start();
}

@end

namespace kestrune {

NSTabView* makeSettingsTabView(const SettingsViewModel& view, NSView* general, NSView* arrange) {
  NSTabView* tabView = [[NSTabView alloc] initWithFrame:NSZeroRect];
  for (const auto& tab : view.tabs) {
    NSView* content = [[NSView alloc] initWithFrame:NSZeroRect];
    // The tab view sizes its items' views by frame; the tabs' own views
    // fill them through constraints.
    pinInside(tab.tab == SettingsTab::general ? general : arrange, content, 0);
    [tabView addTabViewItem:tabItem(tab, content)];
  }
  [tabView selectTabViewItemAtIndex:indexOfTab(view.selected)];
  return tabView;
}

NSView* makeSettingsContent(NSTabView* tabView) {
  NSView* container = [[NSView alloc] initWithFrame:NSZeroRect];
  pinInside(tabView, container, kTabViewInset);
  return container;
}

struct MacSettingsWindow::Objects {
  KestruneSettingsController* controller = nil;
};

MacSettingsWindow::MacSettingsWindow(SettingsTabSelection& tabs,
                                     std::shared_ptr<GeneralSettingsModel> general,
                                     std::shared_ptr<ArrangeModel> arrange)
    : objects_(std::make_unique<Objects>()) {
  objects_->controller = [[KestruneSettingsController alloc] initWithTabs:tabs
                                                                  general:std::move(general)
                                                                  arrange:arrange];
}

MacSettingsWindow::~MacSettingsWindow() {
  [objects_->controller detach];
}

void MacSettingsWindow::show() {
  [objects_->controller show];
}

bool MacSettingsWindow::isVisible() {
  return [objects_->controller isVisible];
}

std::unique_ptr<SettingsWindow> MacSettingsWindows::make(
    SettingsTabSelection& tabs, std::shared_ptr<GeneralSettingsModel> general,
    std::shared_ptr<ArrangeModel> arrange) {
  return std::make_unique<MacSettingsWindow>(tabs, std::move(general), std::move(arrange));
}

}  // namespace kestrune
