#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "core/geometry.hpp"
#include "core/observable.hpp"
#include "platform/event_system.hpp"
#include "settings/diag.hpp"

namespace kestrune {

// Keeps the user's mouse out of the arrangement's synthetic ⌘-drags: while
// engaged, a session event tap swallows every mouse and scroll event that
// does not carry the app's marker, and on release the cursor goes back to
// where the user left it. Main thread only; the tap runs on the main run
// loop, so the main thread must not block while the gate is engaged.
class MouseGate {
 public:
  // "KEST", stamped on every event the arrangement posts.
  static constexpr int64_t kMarker = 0x4B455354;
  // The event field that carries the marker: kCGEventSourceUserData.
  static constexpr uint32_t kMarkerField = kEventSourceUserDataField;
  // Every mouse and scroll event; key events are not gated.
  static constexpr std::array<EventType, 11> kGatedTypes{
      EventType::mouseMoved,        EventType::leftMouseDown,  EventType::leftMouseUp,
      EventType::leftMouseDragged,  EventType::rightMouseDown, EventType::rightMouseUp,
      EventType::rightMouseDragged, EventType::otherMouseDown, EventType::otherMouseUp,
      EventType::otherMouseDragged, EventType::scrollWheel,
  };
  static constexpr EventMask kMask = [] {
    EventMask mask = 0;
    for (const EventType type : kGatedTypes) mask |= eventMaskBit(type);
    return mask;
  }();

  MouseGate(EventSystem& events, Diag& diag) : events_(events), diag_(diag) {}
  MouseGate(const MouseGate&) = delete;
  MouseGate& operator=(const MouseGate&) = delete;

  // Remembers the cursor and installs the tap; does nothing while a tap is
  // installed. Without a tap (no trust) the arrangement runs ungated.
  void engage();
  // Removes the tap and puts the cursor back. Safe when never engaged, or
  // when engaging failed.
  void release();
  [[nodiscard]] bool isEngaged() const { return tap_.has_value(); }

  // The tap's decision. The tap-disabled notifications pass and the tap is
  // left off: a gate the system switched off should stay off rather than
  // fight the system (or the user) for the mouse.
  [[nodiscard]] static TapDecision filter(EventType type, int64_t sourceUserData);

 private:
  EventSystem& events_;
  Diag& diag_;
  std::optional<Subscription> tap_;  // the tap with its run loop source
  std::optional<Point> restoreTo_;
};

}  // namespace kestrune
