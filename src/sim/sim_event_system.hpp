#pragma once

#include <atomic>
#include <memory>

#include "core/executor.hpp"
#include "platform/event_system.hpp"
#include "sim/world.hpp"

namespace kestrune::sim {

// Quartz events on the simulated Mac. Posted and injected events reach the
// taps and the window server (World::dispatchEvent) on the main executor, in
// the order they were posted, as the taps' run loop sources would deliver
// them: the poster, a background task, never waits for them. A tap can be
// created only with Accessibility trust.
class SimEventSystem final : public EventSystem {
 public:
  SimEventSystem(World& world, Executors& executors);
  ~SimEventSystem() override;
  SimEventSystem(const SimEventSystem&) = delete;
  SimEventSystem& operator=(const SimEventSystem&) = delete;

  // Only mouse event types can be created; a scroll or key type is refused.
  bool postMouseEvent(EventType type, Point location, EventFlags flags,
                      int64_t sourceUserData) override;
  [[nodiscard]] std::optional<Point> cursorLocation() override { return world_.cursor(); }
  bool warpMouseCursorPosition(Point location) override;
  [[nodiscard]] std::optional<Subscription> createSessionEventTap(
      EventMask mask, EventTapCallback callback) override;

  // The user's own hand: an event from the HID system, without any source
  // user data, through the same taps. Any event type, scrolls included.
  void injectUserEvent(EventType type, Point location, EventFlags flags = 0);
  // The system switches the taps off, telling their callbacks `reason`.
  void disableTaps(EventType reason);

 private:
  void deliver(const TappedEvent& event);

  World& world_;
  MainExecutor& main_;
  // Deliveries already queued do nothing once the event system is gone.
  std::shared_ptr<std::atomic<bool>> alive_ = std::make_shared<std::atomic<bool>>(true);
};

}  // namespace kestrune::sim
