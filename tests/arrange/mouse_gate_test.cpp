#include "arrange/mouse_gate.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "core/virtual_executors.hpp"
#include "sim/sim_event_system.hpp"
#include "sim/sim_mac.hpp"
#include "support/fake_event_system.hpp"
#include "support/scenarios.hpp"
#include "support/temp_home.hpp"

namespace kestrune {
namespace {

using testing::app;
using testing::item;

constexpr int64_t kUser = 0;  // what the user's own events carry

bool reached(const std::vector<TappedEvent>& received, EventType type) {
  return std::any_of(received.begin(), received.end(),
                     [&](const TappedEvent& e) { return e.type == type; });
}

TEST(MouseGateFilter, MaskHoldsTheElevenMouseAndScrollTypesAndNoKeys) {
  EXPECT_EQ(MouseGate::kGatedTypes.size(), 11U);
  // 1–7 (buttons, moves, drags), 22 (scroll), 25–27 (other buttons).
  EXPECT_EQ(MouseGate::kMask, EventMask{0x0E4000FE});
  for (const EventType key : {EventType::keyDown, EventType::keyUp, EventType::flagsChanged}) {
    EXPECT_EQ(MouseGate::kMask & eventMaskBit(key), 0U) << static_cast<uint32_t>(key);
  }
  EXPECT_NE(MouseGate::kMask & eventMaskBit(EventType::scrollWheel), 0U);
}

TEST(MouseGateFilter, TheMarkerIsKestInFieldFortyTwo) {
  EXPECT_EQ(MouseGate::kMarker, 0x4B455354);
  EXPECT_EQ(MouseGate::kMarkerField, 42U);
}

TEST(MouseGateFilter, OnlyMarkedEventsAndTapNotificationsPass) {
  EXPECT_EQ(MouseGate::filter(EventType::scrollWheel, kUser), TapDecision::swallow);
  EXPECT_EQ(MouseGate::filter(EventType::leftMouseDown, kUser), TapDecision::swallow);
  EXPECT_EQ(MouseGate::filter(EventType::mouseMoved, MouseGate::kMarker + 1), TapDecision::swallow);
  EXPECT_EQ(MouseGate::filter(EventType::leftMouseDragged, MouseGate::kMarker), TapDecision::pass);
  EXPECT_EQ(MouseGate::filter(EventType::scrollWheel, MouseGate::kMarker), TapDecision::pass);
  EXPECT_EQ(MouseGate::filter(EventType::tapDisabledByTimeout, kUser), TapDecision::pass);
  EXPECT_EQ(MouseGate::filter(EventType::tapDisabledByUserInput, kUser), TapDecision::pass);
}

// A gate over a simulated Mac's events, or over canned ones; its log goes
// to the simulated home folder.
class MouseGateTest : public ::testing::Test {
 protected:
  explicit MouseGateTest(bool trusted = true) {
    auto s = testing::scenario(15, 1440, std::nullopt, 300,
                               {app(401, "com.example.a", "A", {item("a1", 30), item("a2", 40)})});
    s.permissions.accessibility = trusted;
    mac_ = std::make_unique<sim::SimMac>(s, ex_, home_.path());
    diag_ = std::make_unique<Diag>(mac_->platform().fileSystem, mac_->platform().system, ex_);
  }

  std::string log() {
    ex_.runUntilIdle();
    return home_.read("Library/Logs/Kestrune.log");
  }
  sim::World& world() { return mac_->world(); }
  EventSystem& events() { return mac_->platform().events; }
  void postMarked(EventType type, Point at, EventFlags flags = 0) {
    ASSERT_TRUE(events().postMouseEvent(type, at, flags, MouseGate::kMarker));
  }

  testing::TempHome home_;
  VirtualExecutors ex_;
  std::unique_ptr<sim::SimMac> mac_;
  std::unique_ptr<Diag> diag_;
  testing::FakeEventSystem fake_;
};

TEST_F(MouseGateTest, EngagingTwiceCreatesOneTap) {
  MouseGate gate(fake_, *diag_);
  gate.engage();
  gate.engage();
  EXPECT_TRUE(gate.isEngaged());
  EXPECT_EQ(fake_.tapRequests, 1);
  ASSERT_EQ(fake_.liveTaps(), 1);
  EXPECT_EQ(fake_.taps[0]->mask, MouseGate::kMask);

  MouseGate simGate(events(), *diag_);
  simGate.engage();
  simGate.engage();
  EXPECT_EQ(world().sessionTapCount(), 1U);
}

TEST_F(MouseGateTest, ReleaseEndsTheTapAndALaterEngageMakesANewOne) {
  MouseGate gate(fake_, *diag_);
  gate.release();  // never engaged
  EXPECT_TRUE(fake_.warps.empty());
  EXPECT_FALSE(gate.isEngaged());

  gate.engage();
  gate.release();
  EXPECT_FALSE(gate.isEngaged());
  EXPECT_EQ(fake_.liveTaps(), 0);
  gate.release();  // twice: the cursor is put back once only
  EXPECT_EQ(fake_.warps.size(), 1U);

  gate.engage();
  EXPECT_EQ(fake_.tapRequests, 2);
  EXPECT_EQ(fake_.liveTaps(), 1);
}

TEST_F(MouseGateTest, TheInstalledCallbackIsTheFilter) {
  MouseGate gate(fake_, *diag_);
  gate.engage();
  EXPECT_EQ(fake_.deliver({EventType::scrollWheel, {5, 5}, 0, kUser}), TapDecision::swallow);
  EXPECT_EQ(
      fake_.deliver({EventType::leftMouseUp, {5, 5}, kEventFlagMaskCommand, MouseGate::kMarker}),
      TapDecision::pass);
  EXPECT_EQ(fake_.deliver({EventType::tapDisabledByTimeout, {}, 0, kUser}), TapDecision::pass);
}

TEST_F(MouseGateTest, UserScrollIsSwallowedWhileAMarkedEventPasses) {
  auto& simEvents = mac_->events();
  MouseGate gate(events(), *diag_);
  gate.engage();
  const Point start = world().cursor();
  simEvents.injectUserEvent(EventType::scrollWheel, start);
  simEvents.injectUserEvent(EventType::mouseMoved, {10, 10});
  postMarked(EventType::mouseMoved, {1000, 12});
  ex_.runUntilIdle();

  const auto received = world().receivedEvents();
  ASSERT_EQ(received.size(), 1U);  // the marked move only
  EXPECT_EQ(received[0].sourceUserData, MouseGate::kMarker);
  EXPECT_EQ(world().cursor(), (Point{1000, 12}));

  gate.release();
  simEvents.injectUserEvent(EventType::scrollWheel, {1000, 12});
  ex_.runUntilIdle();
  EXPECT_TRUE(reached(world().receivedEvents(), EventType::scrollWheel));
}

TEST_F(MouseGateTest, ReleasePutsTheCursorBackAfterTheDragsMovedIt) {
  world().moveCursor({300, 400});  // where the user left it
  MouseGate gate(events(), *diag_);
  gate.engage();
  const Point item = world().statusItems().front().placed.frame.mid();
  postMarked(EventType::mouseMoved, item);
  postMarked(EventType::leftMouseDown, item, kEventFlagMaskCommand);
  postMarked(EventType::leftMouseDragged, {item.x - 50, item.y}, kEventFlagMaskCommand);
  postMarked(EventType::leftMouseUp, {item.x - 50, item.y}, kEventFlagMaskCommand);
  ex_.runUntilIdle();
  EXPECT_EQ(world().cursor(), (Point{item.x - 50, item.y}));

  gate.release();
  EXPECT_EQ(world().cursor(), (Point{300, 400}));
  EXPECT_EQ(world().sessionTapCount(), 0U);
}

TEST_F(MouseGateTest, WhenTheCursorCannotBeReadReleaseDoesNotMoveIt) {
  fake_.cursor.reset();  // CGEventCreate fails
  MouseGate gate(fake_, *diag_);
  gate.engage();
  EXPECT_TRUE(gate.isEngaged());
  gate.release();
  EXPECT_TRUE(fake_.warps.empty());
  EXPECT_EQ(fake_.liveTaps(), 0);
}

TEST_F(MouseGateTest, FailedTapIsLoggedAndReleaseIsSafeAndStillRestores) {
  fake_.tapsSucceed = false;
  fake_.cursor = Point{321, 123};
  MouseGate gate(fake_, *diag_);
  gate.engage();
  EXPECT_FALSE(gate.isEngaged());
  EXPECT_NE(log().find("mousegate: tap creation failed\n"), std::string::npos);
  fake_.cursor = Point{900, 10};  // the ungated drags moved it
  gate.release();
  EXPECT_EQ(fake_.warps, (std::vector<Point>{{321, 123}}));
  gate.release();
  EXPECT_EQ(fake_.warps.size(), 1U);
}

TEST_F(MouseGateTest, ATapTheSystemSwitchedOffStaysOff) {
  MouseGate gate(events(), *diag_);
  gate.engage();
  mac_->events().disableTaps(EventType::tapDisabledByTimeout);
  ex_.runUntilIdle();
  EXPECT_EQ(world().sessionTapCount(), 0U);  // not re-enabled by the gate
  EXPECT_TRUE(gate.isEngaged());             // still held until release
  mac_->events().injectUserEvent(EventType::scrollWheel, {5, 5});
  ex_.runUntilIdle();
  EXPECT_TRUE(reached(world().receivedEvents(), EventType::scrollWheel));
  gate.release();
  EXPECT_NE(log().find("mousegate: tap disabled by timeout\n"), std::string::npos);
}

TEST_F(MouseGateTest, ATapSwitchedOffByUserInputIsLogged) {
  MouseGate gate(fake_, *diag_);
  gate.engage();
  EXPECT_EQ(fake_.deliver({EventType::tapDisabledByUserInput, {}, 0, kUser}), TapDecision::pass);
  EXPECT_NE(log().find("mousegate: tap disabled by user input\n"), std::string::npos);
  EXPECT_EQ(log().find("by timeout"), std::string::npos);
}

class UntrustedMouseGateTest : public MouseGateTest {
 protected:
  UntrustedMouseGateTest() : MouseGateTest(false) {}
};

TEST_F(UntrustedMouseGateTest, WithoutTrustTheSimulatedMacRefusesTheTap) {
  world().moveCursor({50, 60});
  MouseGate gate(events(), *diag_);
  gate.engage();
  EXPECT_FALSE(gate.isEngaged());
  EXPECT_NE(log().find("mousegate: tap creation failed\n"), std::string::npos);
  mac_->events().injectUserEvent(EventType::scrollWheel, {5, 5});
  ex_.runUntilIdle();
  EXPECT_TRUE(reached(world().receivedEvents(), EventType::scrollWheel));
  gate.release();
  EXPECT_EQ(world().cursor(), (Point{50, 60}));
}

}  // namespace
}  // namespace kestrune
