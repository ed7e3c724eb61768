#pragma once

#include "platform/event_system.hpp"

namespace kestrune {

// Quartz events through CoreGraphics: events are posted at the HID event
// tap, and taps are attached to the main run loop.
class MacEventSystem final : public EventSystem {
 public:
  bool postMouseEvent(EventType type, Point location, EventFlags flags,
                      int64_t sourceUserData) override;
  [[nodiscard]] std::optional<Point> cursorLocation() override;
  bool warpMouseCursorPosition(Point location) override;
  [[nodiscard]] std::optional<Subscription> createSessionEventTap(
      EventMask mask, EventTapCallback callback) override;
};

}  // namespace kestrune
