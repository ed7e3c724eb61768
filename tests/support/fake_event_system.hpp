#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "platform/event_system.hpp"

namespace kestrune::testing {

// Quartz events with canned answers: what was posted and warped is kept,
// and at most one tap at a time is expected to be live.
struct FakeEventSystem final : EventSystem {
  struct Posted {
    EventType type = EventType::null;
    Point location;
    EventFlags flags = 0;
    int64_t sourceUserData = 0;
  };
  struct Tap {
    EventMask mask = 0;
    EventTapCallback callback;
    bool live = true;
  };

  bool postSucceeds = true;
  std::vector<Posted> posted;
  std::optional<Point> cursor = Point{700, 450};  // none: CGEventCreate fails
  std::vector<Point> warps;
  bool tapsSucceed = true;
  int tapRequests = 0;
  std::vector<std::shared_ptr<Tap>> taps;  // every tap created, in order

  bool postMouseEvent(EventType type, Point location, EventFlags flags,
                      int64_t sourceUserData) override {
    if (!postSucceeds) return false;
    posted.push_back({type, location, flags, sourceUserData});
    return true;
  }
  std::optional<Point> cursorLocation() override { return cursor; }
  bool warpMouseCursorPosition(Point location) override {
    warps.push_back(location);
    cursor = location;
    return true;
  }
  std::optional<Subscription> createSessionEventTap(EventMask mask,
                                                    EventTapCallback callback) override {
    ++tapRequests;
    if (!tapsSucceed) return std::nullopt;
    auto tap = std::make_shared<Tap>(Tap{mask, std::move(callback), true});
    taps.push_back(tap);
    return Subscription([tap] { tap->live = false; });
  }

  [[nodiscard]] int liveTaps() const {
    int n = 0;
    for (const auto& t : taps) n += t->live ? 1 : 0;
    return n;
  }
  // What the live tap decides about `event`; none without a live tap.
  std::optional<TapDecision> deliver(const TappedEvent& event) {
    for (const auto& t : taps) {
      if (t->live) return t->callback(event);
    }
    return std::nullopt;
  }
};

}  // namespace kestrune::testing
