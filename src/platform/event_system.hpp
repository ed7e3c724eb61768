#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "core/geometry.hpp"
#include "core/observable.hpp"

namespace kestrune {

// CGEventType, with the platform's values, as far as the product posts or
// filters events. Values outside the list may still reach a tap.
enum class EventType : uint32_t {
  null = 0,
  leftMouseDown = 1,
  leftMouseUp = 2,
  rightMouseDown = 3,
  rightMouseUp = 4,
  mouseMoved = 5,
  leftMouseDragged = 6,
  rightMouseDragged = 7,
  keyDown = 10,
  keyUp = 11,
  flagsChanged = 12,
  scrollWheel = 22,
  otherMouseDown = 25,
  otherMouseUp = 26,
  otherMouseDragged = 27,
  // What a tap's callback is told when the system switched the tap off. They
  // reach the callback whatever its mask.
  tapDisabledByTimeout = 0xFFFFFFFE,
  tapDisabledByUserInput = 0xFFFFFFFF,
};

using EventMask = uint64_t;   // CGEventMask
using EventFlags = uint64_t;  // CGEventFlags

inline constexpr EventFlags kEventFlagMaskCommand = 0x100000;  // kCGEventFlagMaskCommand
// kCGEventSourceUserData: 64 bits that the poster of an event may fill in.
inline constexpr uint32_t kEventSourceUserDataField = 42;

// CGEventMaskBit: the mask bit of one event type (none for the
// notifications, which no mask can name).
[[nodiscard]] constexpr EventMask eventMaskBit(EventType type) {
  const auto value = static_cast<uint32_t>(type);
  return value < 64 ? EventMask{1} << value : 0;
}

// The types CGEventCreateMouseEvent makes: buttons, moves and drags.
[[nodiscard]] constexpr bool isMouseEventType(EventType type) {
  switch (type) {
    case EventType::leftMouseDown:
    case EventType::leftMouseUp:
    case EventType::rightMouseDown:
    case EventType::rightMouseUp:
    case EventType::mouseMoved:
    case EventType::leftMouseDragged:
    case EventType::rightMouseDragged:
    case EventType::otherMouseDown:
    case EventType::otherMouseUp:
    case EventType::otherMouseDragged:
      return true;
    default:
      return false;
  }
}

// What a tap's callback sees of one event.
struct TappedEvent {
  EventType type = EventType::null;
  Point location;  // global, top-left origin
  EventFlags flags = 0;
  int64_t sourceUserData = 0;  // the kCGEventSourceUserData field
};

// An active filter's answer: the event goes on unchanged, or nobody sees it.
enum class TapDecision { pass, swallow };

using EventTapCallback = std::function<TapDecision(const TappedEvent&)>;

// Quartz events: posting synthetic mouse events, the cursor, and event taps.
class EventSystem {
 public:
  virtual ~EventSystem() = default;
  // CGEventCreateMouseEvent (no source, left button), CGEventSetFlags and
  // CGEventSetIntegerValueField(kCGEventSourceUserData), then CGEventPost at
  // the HID event tap. False when the event could not be created. Any thread.
  virtual bool postMouseEvent(EventType type, Point location, EventFlags flags,
                              int64_t sourceUserData) = 0;
  // CGEventCreate(NULL) and CGEventGetLocation: where the cursor is now;
  // none when the event could not be created.
  [[nodiscard]] virtual std::optional<Point> cursorLocation() = 0;
  // CGWarpMouseCursorPosition: moves the cursor without an event. False
  // when the platform reports an error.
  virtual bool warpMouseCursorPosition(Point location) = 0;
  // CGEventTapCreate at the session event tap, inserted at the head, as an
  // active filter (kCGEventTapOptionDefault) for the events in `mask`; its
  // run loop source added to the main run loop in the common modes, and the
  // tap enabled. `callback` runs on the main thread for every event of the
  // mask and for the tap-disabled notifications. Ending the subscription
  // disables the tap and removes its source. None when the tap cannot be
  // created (no Accessibility or Input Monitoring trust). Main thread.
  [[nodiscard]] virtual std::optional<Subscription> createSessionEventTap(
      EventMask mask, EventTapCallback callback) = 0;
};

}  // namespace kestrune
