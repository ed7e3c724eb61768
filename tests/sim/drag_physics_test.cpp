#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "core/thread_executors.hpp"
#include "core/virtual_executors.hpp"
#include "sim/scenario.hpp"
#include "sim/sim_event_system.hpp"
#include "sim/sim_mac.hpp"
#include "support/scenarios.hpp"

namespace kestrune::sim {
namespace {

using testing::app;
using testing::item;

constexpr int64_t kMarker = 0x4B455354;
constexpr EventMask kMouseMask =
    eventMaskBit(EventType::mouseMoved) | eventMaskBit(EventType::leftMouseDown) |
    eventMaskBit(EventType::leftMouseUp) | eventMaskBit(EventType::leftMouseDragged);

// Right to left on a 1440-point bar: a1 1402–1432, a2 1362–1402,
// b1 1312–1362, c1 1292–1312.
Scenario fourItems(int version = 15) {
  return testing::scenario(version, 1440, std::nullopt, 300,
                           {app(401, "com.example.a", "A", {item("a1", 30), item("a2", 40)}),
                            app(402, "com.example.b", "B", {item("b1", 50)}),
                            app(403, "com.example.c", "C", {item("c1", 20)})});
}

// The ⌘-drag a person makes: move, press, twenty steps, release. Each
// event goes through `post`; the world acts on them once main runs.
using Post = std::function<void(EventType, Point, EventFlags)>;
void gesture(const Post& post, Point start, double endX, EventFlags flags) {
  post(EventType::mouseMoved, start, 0);
  post(EventType::leftMouseDown, start, flags);
  for (int i = 1; i <= 20; ++i) {
    post(EventType::leftMouseDragged, {start.x + (endX - start.x) * i / 20, start.y}, flags);
  }
  post(EventType::leftMouseUp, {endX, start.y}, flags);
}

class DragPhysics : public ::testing::Test {
 protected:
  void make(Scenario s) { mac_ = std::make_unique<SimMac>(std::move(s), ex_); }

  World& world() { return mac_->world(); }
  SimEventSystem& events() { return mac_->events(); }

  StatusItemState state(const std::string& key) {
    for (auto& s : world().statusItems()) {
      if (s.item.key == key) return s;
    }
    ADD_FAILURE() << "no item " << key;
    return {};
  }
  // Every item on the bar, left to right.
  std::vector<std::string> leftToRight() {
    std::vector<std::string> keys;
    for (const auto& s : world().statusItems()) keys.insert(keys.begin(), s.item.key);
    return keys;
  }

  void markedDrag(const std::string& key, double endX, EventFlags flags = kEventFlagMaskCommand) {
    gesture(
        [&](EventType type, Point at, EventFlags f) {
          EXPECT_TRUE(mac_->platform().events.postMouseEvent(type, at, f, kMarker));
        },
        state(key).placed.frame.mid(), endX, flags);
    ex_.runUntilIdle();
  }
  void userDrag(const std::string& key, double endX) {
    gesture([&](EventType type, Point at, EventFlags f) { events().injectUserEvent(type, at, f); },
            state(key).placed.frame.mid(), endX, kEventFlagMaskCommand);
    ex_.runUntilIdle();
  }

  VirtualExecutors ex_;
  std::unique_ptr<SimMac> mac_;
};

TEST_F(DragPhysics, CommandDragDropsTheItemExactlyLeftOfTheTargetAndTheBarRepacks) {
  make(fourItems());
  ASSERT_EQ(leftToRight(), (std::vector<std::string>{"c1", "b1", "a2", "a1"}));
  const Rect target = state("a1").placed.frame;
  markedDrag("c1", target.minX() - 3);

  EXPECT_EQ(leftToRight(), (std::vector<std::string>{"b1", "a2", "c1", "a1"}));
  EXPECT_EQ(state("a1").placed.frame, target);
  EXPECT_EQ(state("c1").placed.frame, (Rect{1382, 0, 20, 24}));
  EXPECT_EQ(state("a2").placed.frame, (Rect{1342, 0, 40, 24}));
  EXPECT_EQ(state("b1").placed.frame, (Rect{1292, 0, 50, 24}));
  EXPECT_EQ(world().cursor(), (Point{target.minX() - 3, 12}));
  EXPECT_EQ(world().grabbedItem(), std::nullopt);
  EXPECT_EQ(world().dropCount(), 1);
  // The window list follows.
  const auto list = world().windowList(WindowListOption::all);
  const auto c1 = std::find_if(list.begin(), list.end(), [&](const WindowInfo& w) {
    return w.number == state("c1").windowID;
  });
  ASSERT_NE(c1, list.end());
  EXPECT_EQ(c1->bounds->x, 1382);
}

TEST_F(DragPhysics, DropsRightOfEveryItemOrLeftOfEveryItemGoToTheEnds) {
  make(fourItems());
  markedDrag("b1", 1438);
  EXPECT_EQ(leftToRight(), (std::vector<std::string>{"c1", "a2", "a1", "b1"}));
  markedDrag("a1", 2);
  EXPECT_EQ(leftToRight(), (std::vector<std::string>{"a1", "c1", "a2", "b1"}));
  EXPECT_EQ(state("b1").placed.frame.maxX(), 1432);
}

TEST_F(DragPhysics, AnItemDroppedOverItsOwnPlaceStaysThere) {
  make(fourItems());
  markedDrag("b1", state("b1").placed.frame.midX() + 1);
  EXPECT_EQ(leftToRight(), (std::vector<std::string>{"c1", "b1", "a2", "a1"}));
  EXPECT_EQ(world().dropCount(), 1);
}

TEST_F(DragPhysics, HiddenItemsCannotBeGrabbed) {
  for (const int version : {15, 27}) {
    auto s = fourItems(version);
    s.screens[0].frame = Rect{0, 0, 420, 300};  // 112 points right of the app menus
    make(s);
    const auto before = leftToRight();
    const auto items = world().statusItems();
    const auto hidden = std::find_if(items.begin(), items.end(),
                                     [](const StatusItemState& i) { return !i.placed.isDrawn(); });
    ASSERT_NE(hidden, items.end()) << version;
    markedDrag(hidden->item.key, 415);
    EXPECT_EQ(leftToRight(), before) << version;
    EXPECT_EQ(world().dropCount(), 0) << version;
    EXPECT_EQ(world().cursor(), (Point{415, hidden->placed.frame.midY()})) << version;
  }
}

TEST_F(DragPhysics, ADragWithoutTheCommandKeyMovesNothing) {
  make(fourItems());
  markedDrag("c1", state("a1").placed.frame.minX() - 3, 0);
  EXPECT_EQ(leftToRight(), (std::vector<std::string>{"c1", "b1", "a2", "a1"}));
  EXPECT_EQ(world().dropCount(), 0);
  // The pointer moved all the same.
  EXPECT_EQ(world().cursor().x, state("a1").placed.frame.minX() - 3);
}

TEST_F(DragPhysics, AnItemThatRefusesDragsStaysPut) {
  auto s = fourItems();
  s.apps[2].items[0].drag = DragMode::refuse;
  make(s);
  for (int attempt = 1; attempt <= 3; ++attempt) {
    markedDrag("c1", state("a1").placed.frame.minX() - 3);
    EXPECT_EQ(leftToRight(), (std::vector<std::string>{"c1", "b1", "a2", "a1"})) << attempt;
  }
  EXPECT_EQ(world().dropCount(), 3);
  // Others still move.
  markedDrag("b1", 1438);
  EXPECT_EQ(leftToRight(), (std::vector<std::string>{"c1", "a2", "a1", "b1"}));
}

TEST_F(DragPhysics, AnItemThatTakesTwoTriesMovesOnTheSecondDrop) {
  auto s = fourItems();
  s.apps[2].items[0].drag = DragMode::secondTry;
  make(s);
  const double endX = state("a1").placed.frame.minX() - 3;
  markedDrag("c1", endX);
  EXPECT_EQ(leftToRight(), (std::vector<std::string>{"c1", "b1", "a2", "a1"}));
  markedDrag("c1", endX);
  EXPECT_EQ(leftToRight(), (std::vector<std::string>{"b1", "a2", "c1", "a1"}));
  markedDrag("c1", 2);  // and from then on at the first try
  EXPECT_EQ(leftToRight(), (std::vector<std::string>{"c1", "b1", "a2", "a1"}));
}

TEST_F(DragPhysics, AnAppQuitsAfterItsNumberOfDrops) {
  auto s = fourItems();
  s.apps[1].quitAfterDrops = 2;  // B, with b1
  make(s);
  const uint32_t b1 = state("b1").windowID;
  std::vector<pid_t> quit;
  auto watch = world().observeWorkspace([&](WorkspaceEvent e, const RunningApplication& a) {
    if (e == WorkspaceEvent::didTerminateApplication) quit.push_back(a.pid);
  });
  markedDrag("c1", 1438);
  EXPECT_TRUE(world().statusItem(b1).has_value());
  markedDrag("a2", 1438);
  EXPECT_EQ(world().statusItem(b1), std::nullopt);
  EXPECT_EQ(quit, (std::vector<pid_t>{402}));
  EXPECT_EQ(leftToRight(), (std::vector<std::string>{"a1", "c1", "a2"}));
  EXPECT_EQ(state("a2").placed.frame.maxX(), 1432);
}

TEST_F(DragPhysics, AnItemWhoseAppQuitsWhileInHandIsNotDropped) {
  make(fourItems());
  const Point start = state("c1").placed.frame.mid();
  auto& post = mac_->platform().events;
  post.postMouseEvent(EventType::leftMouseDown, start, kEventFlagMaskCommand, kMarker);
  ex_.runUntilIdle();
  EXPECT_EQ(world().grabbedItem(), state("c1").windowID);
  world().quit(403);
  post.postMouseEvent(EventType::leftMouseUp, {1438, start.y}, kEventFlagMaskCommand, kMarker);
  ex_.runUntilIdle();
  EXPECT_EQ(world().dropCount(), 0);
  EXPECT_EQ(leftToRight(), (std::vector<std::string>{"b1", "a2", "a1"}));
}

TEST_F(DragPhysics, PostedEventsActWhenMainRunsThemInOrder) {
  make(fourItems());
  const Point before = world().cursor();
  auto& post = mac_->platform().events;
  EXPECT_TRUE(post.postMouseEvent(EventType::mouseMoved, {10, 10}, 0, kMarker));
  EXPECT_TRUE(post.postMouseEvent(EventType::mouseMoved, {20, 20}, 0, kMarker));
  EXPECT_EQ(world().cursor(), before);
  ex_.runUntilIdle();
  EXPECT_EQ(world().cursor(), (Point{20, 20}));
  const auto received = world().receivedEvents();
  ASSERT_EQ(received.size(), 2U);
  EXPECT_EQ(received[0].location, (Point{10, 10}));
  EXPECT_EQ(received[1].sourceUserData, kMarker);
}

TEST_F(DragPhysics, OnlyMouseEventsCanBeCreated) {
  make(fourItems());
  auto& post = mac_->platform().events;
  EXPECT_FALSE(post.postMouseEvent(EventType::scrollWheel, {1, 1}, 0, kMarker));
  EXPECT_FALSE(post.postMouseEvent(EventType::keyDown, {1, 1}, 0, kMarker));
  EXPECT_TRUE(post.postMouseEvent(EventType::otherMouseDragged, {1, 1}, 0, kMarker));
  ex_.runUntilIdle();
  EXPECT_EQ(world().receivedEvents().size(), 1U);
}

TEST_F(DragPhysics, WarpMovesTheCursorWithoutAnEvent) {
  make(fourItems());
  EXPECT_TRUE(mac_->platform().events.warpMouseCursorPosition({7, 8}));
  EXPECT_EQ(mac_->platform().events.cursorLocation(), (Point{7, 8}));
  ex_.runUntilIdle();
  EXPECT_TRUE(world().receivedEvents().empty());
}

TEST_F(DragPhysics, UserEventsSwallowedByATapDoNotAct) {
  make(fourItems());
  auto tap = mac_->platform().events.createSessionEventTap(kMouseMask, [](const TappedEvent& e) {
    return e.sourceUserData == kMarker ? TapDecision::pass : TapDecision::swallow;
  });
  ASSERT_TRUE(tap.has_value());
  const Point before = world().cursor();
  userDrag("c1", state("a1").placed.frame.minX() - 3);
  EXPECT_EQ(leftToRight(), (std::vector<std::string>{"c1", "b1", "a2", "a1"}));
  EXPECT_EQ(world().cursor(), before);
  EXPECT_TRUE(world().receivedEvents().empty());

  tap->reset();
  EXPECT_EQ(world().sessionTapCount(), 0U);
  userDrag("c1", state("a1").placed.frame.minX() - 3);
  EXPECT_EQ(leftToRight(), (std::vector<std::string>{"b1", "a2", "c1", "a1"}));
}

TEST_F(DragPhysics, EventsOutsideATapsMaskPassItUnseen) {
  make(fourItems());
  int seen = 0;
  auto tap = mac_->platform().events.createSessionEventTap(eventMaskBit(EventType::scrollWheel),
                                                           [&](const TappedEvent&) {
                                                             ++seen;
                                                             return TapDecision::swallow;
                                                           });
  ASSERT_TRUE(tap.has_value());
  userDrag("c1", 1438);  // mouse events: not the tap's business
  events().injectUserEvent(EventType::scrollWheel, world().cursor());
  ex_.runUntilIdle();
  EXPECT_EQ(seen, 1);
  EXPECT_EQ(leftToRight(), (std::vector<std::string>{"b1", "a2", "a1", "c1"}));
  const auto received = world().receivedEvents();
  EXPECT_EQ(received.size(), 23U);
  EXPECT_TRUE(std::none_of(received.begin(), received.end(),
                           [](const TappedEvent& e) { return e.type == EventType::scrollWheel; }));
}

TEST_F(DragPhysics, TheTapInsertedLastSeesEventsFirst) {
  make(fourItems());
  std::vector<std::string> order;
  auto first = mac_->platform().events.createSessionEventTap(kMouseMask, [&](const TappedEvent&) {
    order.push_back("first");
    return TapDecision::pass;
  });
  auto second = mac_->platform().events.createSessionEventTap(kMouseMask, [&](const TappedEvent&) {
    order.push_back("second");
    return TapDecision::swallow;
  });
  events().injectUserEvent(EventType::mouseMoved, {3, 3});
  ex_.runUntilIdle();
  EXPECT_EQ(order, (std::vector<std::string>{"second"}));  // swallowed before the first tap
  second.reset();
  events().injectUserEvent(EventType::mouseMoved, {4, 4});
  ex_.runUntilIdle();
  EXPECT_EQ(order, (std::vector<std::string>{"second", "first"}));
  EXPECT_EQ(world().cursor(), (Point{4, 4}));
}

TEST_F(DragPhysics, SwitchedOffTapsAreToldWhyAndSeeNothingMore) {
  make(fourItems());
  std::vector<EventType> told;
  auto tap = mac_->platform().events.createSessionEventTap(kMouseMask, [&](const TappedEvent& e) {
    told.push_back(e.type);
    return TapDecision::swallow;
  });
  events().disableTaps(EventType::tapDisabledByUserInput);
  events().injectUserEvent(EventType::mouseMoved, {4, 4});
  ex_.runUntilIdle();
  EXPECT_EQ(told, (std::vector<EventType>{EventType::tapDisabledByUserInput}));
  EXPECT_EQ(world().cursor(), (Point{4, 4}));
}

TEST_F(DragPhysics, TapsNeedAccessibilityTrust) {
  auto s = fourItems();
  s.permissions.accessibility = false;
  make(s);
  EXPECT_FALSE(mac_->platform()
                   .events
                   .createSessionEventTap(kMouseMask,
                                          [](const TappedEvent&) { return TapDecision::swallow; })
                   .has_value());
}

TEST(DragPhysicsOnThreads, AGestureFromABackgroundTaskWhileTheMainThreadReadsTheBar) {
  ThreadExecutors threads(2);
  SimMac mac(fourItems(), threads);
  auto& events = mac.platform().events;
  const Rect target = mac.world().statusItems().front().placed.frame;       // a1
  const Point start = mac.world().statusItems().back().placed.frame.mid();  // c1
  std::vector<std::string> after;
  // The main thread reads the bar between deliveries; the background task
  // reads it while it posts.
  Timer poll = threads.main().scheduleRepeating(std::chrono::microseconds(50), [&] {
    (void)mac.platform().windowServer.copyWindowInfo(WindowListOption::all, 0);
  });
  threads.background().post([&] {
    gesture(
        [&](EventType type, Point at, EventFlags f) {
          EXPECT_TRUE(events.postMouseEvent(type, at, f, kMarker));
          (void)mac.world().statusItems();
        },
        start, target.minX() - 3, kEventFlagMaskCommand);
    // Deliveries are queued on main in order: this one runs after them.
    threads.main().post([&] {
      for (const auto& s : mac.world().statusItems()) after.insert(after.begin(), s.item.key);
      threads.stop();
    });
  });
  threads.run();
  poll.invalidate();
  EXPECT_EQ(after, (std::vector<std::string>{"b1", "a2", "c1", "a1"}));
  EXPECT_EQ(mac.world().cursor(), (Point{target.minX() - 3, 12}));
}

// The scenario fields of the drag physics.
TEST(DragScenario, ParsesTheDragModesAndQuitAfterDrops) {
  const Scenario s = parseScenario(R"({
    "name": "d", "screens": [{}],
    "apps": [{"pid": 9, "quitAfterDrops": 3, "items": [
      {"key": "x"}, {"key": "y", "drag": "refuse"}, {"key": "z", "drag": "secondTry"},
      {"key": "w", "drag": "normal"}]}]
  })");
  ASSERT_EQ(s.apps.size(), 1U);
  EXPECT_EQ(s.apps[0].quitAfterDrops, 3);
  EXPECT_EQ(s.apps[0].items[0].drag, DragMode::normal);
  EXPECT_EQ(s.apps[0].items[1].drag, DragMode::refuse);
  EXPECT_EQ(s.apps[0].items[2].drag, DragMode::secondTry);
  EXPECT_EQ(s.apps[0].items[3].drag, DragMode::normal);
  EXPECT_EQ(parseScenario(R"({"name": "d", "screens": [{}], "apps": [{"pid": 9}]})")
                .apps[0]
                .quitAfterDrops,
            std::nullopt);
}

std::string errorOf(const std::string& json) {
  try {
    (void)parseScenario(json);
  } catch (const ScenarioError& e) {
    return e.what();
  }
  return "";
}

TEST(DragScenario, RejectsUnknownModesAndCountsOutOfRange) {
  EXPECT_EQ(errorOf(R"({"name": "d", "screens": [{}],
                      "apps": [{"pid": 9, "items": [{"key": "x", "drag": "never"}]}]})"),
            "scenario.apps[0].items[0].drag: expected one of normal, refuse, secondTry");
  EXPECT_EQ(errorOf(R"({"name": "d", "screens": [{}],
                      "apps": [{"pid": 9, "items": [{"key": "x", "drag": true}]}]})"),
            "scenario.apps[0].items[0].drag: expected a string");
  EXPECT_EQ(errorOf(R"({"name": "d", "screens": [{}], "apps": [{"pid": 9, "quitAfterDrops": 0}]})"),
            "scenario.apps[0].quitAfterDrops: must be from 1 to 1000000");
  EXPECT_EQ(
      errorOf(R"({"name": "d", "screens": [{}], "apps": [{"pid": 9, "quitAfterDrops": 1.5}]})"),
      "scenario.apps[0].quitAfterDrops: expected an integer");
}

}  // namespace
}  // namespace kestrune::sim
