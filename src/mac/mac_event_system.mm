#include "mac/mac_event_system.hpp"

#include <CoreGraphics/CoreGraphics.h>

#include <memory>
#include <utility>

#include "mac/cf_ref.hpp"

namespace kestrune {
namespace {

static_assert(static_cast<uint32_t>(kCGEventSourceUserData) == kEventSourceUserDataField);
static_assert(static_cast<uint64_t>(kCGEventFlagMaskCommand) == kEventFlagMaskCommand);
static_assert(static_cast<uint32_t>(kCGEventTapDisabledByTimeout) ==
              static_cast<uint32_t>(EventType::tapDisabledByTimeout));
static_assert(static_cast<uint32_t>(kCGEventTapDisabledByUserInput) ==
              static_cast<uint32_t>(EventType::tapDisabledByUserInput));
static_assert(static_cast<uint32_t>(kCGEventScrollWheel) ==
              static_cast<uint32_t>(EventType::scrollWheel));

// What one tap owns. Its address is the tap's user info, so it lives until
// the tap is torn down, on the main thread where the callback also runs.
struct TapState {
  EventTapCallback callback;
  CFRef<CFMachPortRef> port;
  CFRef<CFRunLoopSourceRef> source;
};

CGEventRef tapCallback(CGEventTapProxy /*proxy*/, CGEventType type, CGEventRef event,
                       void* userInfo) {
  const auto* state = static_cast<const TapState*>(userInfo);
  TappedEvent tapped;
  tapped.type = static_cast<EventType>(type);
  if (event) {
    const CGPoint location = CGEventGetLocation(event);
    tapped.location = Point{location.x, location.y};
    tapped.flags = static_cast<EventFlags>(CGEventGetFlags(event));
    tapped.sourceUserData = CGEventGetIntegerValueField(event, kCGEventSourceUserData);
  }
  if (!state || !state->callback) return event;
  return state->callback(tapped) == TapDecision::pass ? event : nullptr;
}

void tearDown(TapState& state) {
  CGEventTapEnable(state.port.get(), false);
  CFRunLoopRemoveSource(CFRunLoopGetMain(), state.source.get(), kCFRunLoopCommonModes);
  // The port is invalidated before its source is released, as CFMachPort
  // asks: the tap is then gone even while something still holds the port.
  CFMachPortInvalidate(state.port.get());
  state.source.reset();
  state.port.reset();
}

}  // namespace

bool MacEventSystem::postMouseEvent(EventType type, Point location, EventFlags flags,
                                    int64_t sourceUserData) {
  const CFRef<CGEventRef> event(CGEventCreateMouseEvent(nullptr, static_cast<CGEventType>(type),
                                                        CGPointMake(location.x, location.y),
                                                        kCGMouseButtonLeft));
  if (!event) return false;
  CGEventSetFlags(event.get(), static_cast<CGEventFlags>(flags));
  CGEventSetIntegerValueField(event.get(), kCGEventSourceUserData, sourceUserData);
  CGEventPost(kCGHIDEventTap, event.get());
  return true;
}

std::optional<Point> MacEventSystem::cursorLocation() {
  const CFRef<CGEventRef> event(CGEventCreate(nullptr));
  if (!event) return std::nullopt;
  const CGPoint location = CGEventGetLocation(event.get());
  return Point{location.x, location.y};
}

bool MacEventSystem::warpMouseCursorPosition(Point location) {
  return CGWarpMouseCursorPosition(CGPointMake(location.x, location.y)) == kCGErrorSuccess;
}

std::optional<Subscription> MacEventSystem::createSessionEventTap(EventMask mask,
                                                                  EventTapCallback callback) {
  auto state = std::make_shared<TapState>();
  state->callback = std::move(callback);
  state->port.reset(CGEventTapCreate(kCGSessionEventTap, kCGHeadInsertEventTap,
                                     kCGEventTapOptionDefault, static_cast<CGEventMask>(mask),
                                     tapCallback, state.get()));
  if (!state->port) return std::nullopt;
  state->source.reset(CFMachPortCreateRunLoopSource(kCFAllocatorDefault, state->port.get(), 0));
  if (!state->source) {
    CFMachPortInvalidate(state->port.get());
    return std::nullopt;
  }
  CFRunLoopAddSource(CFRunLoopGetMain(), state->source.get(), kCFRunLoopCommonModes);
  CGEventTapEnable(state->port.get(), true);
  return Subscription([state] { tearDown(*state); });
}

}  // namespace kestrune
