#include "arrange/drag_gesture.hpp"

#include <gtest/gtest.h>

#include "arrange/mouse_gate.hpp"
#include "core/virtual_executors.hpp"

namespace kestrune {
namespace {

// Posted events with the virtual time at which each was posted.
struct TimedEvents final : EventSystem {
  struct Posted {
    EventType type;
    Point location;
    EventFlags flags;
    int64_t marker;
    double at;  // seconds since the gesture began
  };
  explicit TimedEvents(VirtualExecutors& ex) : ex(ex), start(ex.now()) {}
  bool postMouseEvent(EventType type, Point location, EventFlags flags, int64_t data) override {
    posted.push_back({type, location, flags, data, toSeconds(ex.now() - start)});
    return true;
  }
  std::optional<Point> cursorLocation() override { return std::nullopt; }
  bool warpMouseCursorPosition(Point) override { return true; }
  std::optional<Subscription> createSessionEventTap(EventMask, EventTapCallback) override {
    return std::nullopt;
  }
  VirtualExecutors& ex;
  TimePoint start;
  std::vector<Posted> posted;
};

TEST(DragGestureTest, AMoveAPressTwentyDragsAndARelease) {
  VirtualExecutors ex;
  TimedEvents events(ex);
  postDragGesture(events, ex, {{300, 12}, {102, 12}});
  ASSERT_EQ(events.posted.size(), 23U);
  const auto& p = events.posted;
  EXPECT_EQ(p[0].type, EventType::mouseMoved);
  EXPECT_EQ(p[0].flags, 0U);
  EXPECT_DOUBLE_EQ(p[0].at, 0);
  EXPECT_EQ(p[1].type, EventType::leftMouseDown);
  EXPECT_EQ(p[1].location, (Point{300, 12}));
  EXPECT_NEAR(p[1].at, 0.080, 1e-9);
  for (int step = 1; step <= 20; ++step) {
    const auto& drag = p[static_cast<size_t>(step) + 1];
    EXPECT_EQ(drag.type, EventType::leftMouseDragged);
    EXPECT_DOUBLE_EQ(drag.location.x, 300 + (102 - 300) * step / 20.0);
    EXPECT_DOUBLE_EQ(drag.location.y, 12);  // horizontal throughout
    EXPECT_NEAR(drag.at, 0.080 + 0.150 + 0.022 * (step - 1), 1e-9);
  }
  EXPECT_EQ(p[22].type, EventType::leftMouseUp);
  EXPECT_EQ(p[22].location, (Point{102, 12}));
  EXPECT_NEAR(p[22].at, 0.080 + 0.150 + 0.022 * 20 + 0.150, 1e-9);
  for (size_t i = 1; i < p.size(); ++i) EXPECT_EQ(p[i].flags, kEventFlagMaskCommand);
  for (const auto& event : p) EXPECT_EQ(event.marker, MouseGate::kMarker);
}

}  // namespace
}  // namespace kestrune
