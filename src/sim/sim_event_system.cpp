#include "sim/sim_event_system.hpp"

namespace kestrune::sim {

SimEventSystem::SimEventSystem(World& world, Executors& executors)
    : world_(world), main_(executors.main()) {}

SimEventSystem::~SimEventSystem() {
  *alive_ = false;
}

bool SimEventSystem::postMouseEvent(EventType type, Point location, EventFlags flags,
                                    int64_t sourceUserData) {
  if (!isMouseEventType(type)) return false;
  deliver(TappedEvent{type, location, flags, sourceUserData});
  return true;
}

bool SimEventSystem::warpMouseCursorPosition(Point location) {
  world_.moveCursor(location);
  return true;
}

std::optional<Subscription> SimEventSystem::createSessionEventTap(EventMask mask,
                                                                  EventTapCallback callback) {
  if (!world_.accessibilityTrusted()) return std::nullopt;
  const uint64_t tap = world_.addSessionTap(mask, std::move(callback));
  return Subscription([world = &world_, alive = alive_, tap] {
    if (*alive) world->removeSessionTap(tap);
  });
}

void SimEventSystem::injectUserEvent(EventType type, Point location, EventFlags flags) {
  deliver(TappedEvent{type, location, flags, 0});
}

void SimEventSystem::disableTaps(EventType reason) {
  main_.post([world = &world_, alive = alive_, reason] {
    if (*alive) world->disableSessionTaps(reason);
  });
}

void SimEventSystem::deliver(const TappedEvent& event) {
  main_.post([world = &world_, alive = alive_, event] {
    if (*alive) world->dispatchEvent(event);
  });
}

}  // namespace kestrune::sim
