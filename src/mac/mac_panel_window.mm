#include "mac/mac_panel_window.hpp"

#import <AppKit/AppKit.h>

#include <memory>
#include <utility>

#include "mac/overflow_panel_window.hpp"
#include "mac/picker_views.hpp"
#include "mac/view_kit.hpp"

namespace kestrune {
namespace {

constexpr NSEventMask kMouseDownMask =
    NSEventMaskLeftMouseDown | NSEventMaskRightMouseDown | NSEventMaskOtherMouseDown;

NSRect toNSRect(const Rect& rect) {
  return NSMakeRect(rect.origin.x, rect.origin.y, rect.size.width, rect.size.height);
}

Rect toRect(NSRect rect) {
  return {rect.origin.x, rect.origin.y, rect.size.width, rect.size.height};
}

// nil lets the panel follow the system.
NSAppearance* nsAppearance(PanelAppearance appearance) {
  switch (appearance) {
    case PanelAppearance::system:
      return nil;
    case PanelAppearance::dark:
      return [NSAppearance appearanceNamed:NSAppearanceNameDarkAqua];
    case PanelAppearance::light:
      return [NSAppearance appearanceNamed:NSAppearanceNameAqua];
  }
  return nil;
}

// What a monitor's block holds. The handler may end its own monitor, and
// AppKit may then let go of the block: the block takes its own reference to
// the state before it calls the handler. `active` stops an event that was
// already on its way when the monitor was removed.
template <class Handler>
struct MonitorState {
  Handler handler;
  bool active = true;
};

template <class Handler>
std::shared_ptr<MonitorState<Handler>> monitorState(Handler handler) {
  return std::make_shared<MonitorState<Handler>>(MonitorState<Handler>{std::move(handler)});
}

// AppKit answers nil when it refuses a monitor: then there is nothing to end.
// removeMonitor: must run once only, which a Subscription guarantees.
template <class Handler>
std::optional<Subscription> monitorSubscription(id monitor,
                                                std::shared_ptr<MonitorState<Handler>> state) {
  if (!monitor) return std::nullopt;
  return Subscription([monitor, state] {
    state->active = false;
    [NSEvent removeMonitor:monitor];
  });
}

}  // namespace

struct MacPanelWindow::Objects {
  NSView* host = nil;
  KestruneOverflowPanel* panel = nil;
  // What the shown views act on; replaced with every view model.
  std::shared_ptr<PickerContent> content;
};

MacPanelWindow::MacPanelWindow(const PanelWindowSetup& setup)
    : objects_(std::make_unique<Objects>()) {
  objects_->host = [[NSView alloc] initWithFrame:NSZeroRect];
  objects_->panel = [[KestruneOverflowPanel alloc] initWithHostedView:objects_->host setup:setup];
}

// The handler goes first: ordering a key panel out makes it resign key.
MacPanelWindow::~MacPanelWindow() {
  objects_->panel.resignKeyHandler = nil;
  [objects_->panel orderOut:nil];
}

// Views that would look the same are kept, so that the pointer's highlight,
// tooltips and VoiceOver's focus survive the refreshes of an open panel;
// only what their clicks reach is brought up to date.
void MacPanelWindow::setContent(const OverflowViewModel& view, const OverflowViewActions& actions) {
  auto& live = objects_->content;
  const bool rebuild = !live || !looksTheSame(live->view, view);
  if (!live) live = std::make_shared<PickerContent>();
  live->view = view;
  live->actions = actions;
  if (!rebuild) return;
  NSView* host = objects_->host;
  NSView* content = makeOverflowView(live);
  host.subviews = @[ content ];
  pinEdges(content, host);
}

// The block keeps its own copy of the handler.
void MacPanelWindow::setResignKeyHandler(std::function<void()> handler) {
  if (!handler) {
    objects_->panel.resignKeyHandler = nil;
    return;
  }
  objects_->panel.resignKeyHandler = ^{
    handler();
  };
}

Size MacPanelWindow::fittingSize() {
  NSView* host = objects_->host;
  [host layoutSubtreeIfNeeded];
  const NSSize size = host.fittingSize;
  return {size.width, size.height};
}

void MacPanelWindow::setAppearance(PanelAppearance appearance) {
  objects_->panel.appearance = nsAppearance(appearance);
}

void MacPanelWindow::setFrame(const Rect& frame) {
  [objects_->panel setFrame:toNSRect(frame) display:YES];
}

Rect MacPanelWindow::frame() {
  return toRect(objects_->panel.frame);
}

void MacPanelWindow::showAndMakeKey() {
  [objects_->panel orderFrontRegardless];
  [objects_->panel makeKeyWindow];
}

void MacPanelWindow::orderOut() {
  [objects_->panel orderOut:nil];
}

bool MacPanelWindow::isVisible() {
  return objects_->panel.isVisible;
}

NSView* MacPanelWindow::contentView() const {
  return objects_->panel.contentView;
}

Point MacPanelWindow::mouseLocation() {
  const NSPoint location = NSEvent.mouseLocation;
  return {location.x, location.y};
}

std::optional<Subscription> MacPanelWindow::addGlobalMouseDownMonitor(
    std::function<void()> handler) {
  auto state = monitorState(std::move(handler));
  id monitor = [NSEvent addGlobalMonitorForEventsMatchingMask:kMouseDownMask
                                                      handler:^(NSEvent* event) {
                                                        (void)event;
                                                        const auto kept = state;
                                                        if (kept->active && kept->handler) {
                                                          kept->handler();
                                                        }
                                                      }];
  return monitorSubscription(monitor, std::move(state));
}

std::optional<Subscription> MacPanelWindow::addLocalKeyDownMonitor(
    std::function<bool(int keyCode)> handler) {
  auto state = monitorState(std::move(handler));
  id monitor = [NSEvent
      addLocalMonitorForEventsMatchingMask:NSEventMaskKeyDown
                                   handler:^NSEvent*(NSEvent* event) {
                                     const auto kept = state;
                                     if (!kept->active || !kept->handler) return event;
                                     return kept->handler(static_cast<int>(event.keyCode)) ? nil
                                                                                           : event;
                                   }];
  return monitorSubscription(monitor, std::move(state));
}

}  // namespace kestrune
