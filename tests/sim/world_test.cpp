#include "sim/world.hpp"

#include <gtest/gtest.h>

#include <cerrno>

#include "core/virtual_executors.hpp"
#include "sim/sim_mac.hpp"
#include "support/scenarios.hpp"

namespace kestrune::sim {
namespace {

using testing::app;
using testing::item;

Scenario threeApps(int version = 15, std::optional<double> notch = std::nullopt) {
  return testing::scenario(version, 1440, notch, 300,
                           {app(401, "com.example.a", "A", {item("a1", 30), item("a2", 40)}),
                            app(402, "com.example.b", "B", {item("b1", 50)}),
                            app(403, "com.example.c", "C", {item("c1", 20)})});
}

std::vector<uint32_t> statusWindowIDs(const std::vector<WindowInfo>& list) {
  std::vector<uint32_t> ids;
  for (const auto& w : list) {
    if (w.layer == 25) ids.push_back(*w.number);
  }
  return ids;
}

TEST(World, WindowListHasTheMenubarThenStatusWindowsInAppOrder) {
  Scenario s = threeApps();
  s.order = {"c1", "b1"};  // c1 rightmost, then b1, then a1, a2
  World world(s);
  const auto list = world.windowList(WindowListOption::all);
  ASSERT_GE(list.size(), 5U);
  EXPECT_EQ(list[0].ownerName, "Window Server");
  EXPECT_EQ(list[0].name, "Menubar");
  EXPECT_EQ(list[0].bounds->y, 0);
  EXPECT_EQ(statusWindowIDs(list), (std::vector<uint32_t>{200, 201, 202, 203}));
  const auto items = world.statusItems();  // right to left
  ASSERT_EQ(items.size(), 4U);
  EXPECT_EQ(items[0].item.key, "c1");
  EXPECT_EQ(items[1].item.key, "b1");
  EXPECT_EQ(items[2].item.key, "a1");
  EXPECT_EQ(items[0].placed.frame, (Rect{1440 - 8 - 20, 0, 20, 24}));
  const WindowInfo& a1 = list[1];
  EXPECT_EQ(a1.ownerPID, 401);
  EXPECT_EQ(a1.ownerName, "A");
  EXPECT_EQ(a1.name, "Item-0");
  EXPECT_EQ(a1.alpha, 1);
  EXPECT_EQ(a1.isOnscreen, true);
}

TEST(World, HiddenItemsAreOffScreenAndLeftOutOfTheOnScreenList) {
  Scenario s = threeApps();
  s.screens[0].frame = Rect{0, 0, 400, 300};  // room right of the menus: 92 points
  World world(s);
  const auto all = world.windowList(WindowListOption::all);
  const auto onScreen = world.windowList(WindowListOption::onScreenOnly);
  EXPECT_EQ(statusWindowIDs(all).size(), 4U);
  const auto visible = statusWindowIDs(onScreen);
  for (const auto& item : world.statusItems()) {
    const bool listed = std::find(visible.begin(), visible.end(), item.windowID) != visible.end();
    EXPECT_EQ(listed, item.placed.isDrawn()) << item.item.key;
  }
  EXPECT_LT(visible.size(), 4U);
  EXPECT_FALSE(visible.empty());
}

TEST(World, AutoHiddenMenuBarSlidesAway) {
  Scenario s = threeApps();
  s.menuBar.autoHidden = true;
  World world(s);
  const auto list = world.windowList(WindowListOption::onScreenOnly);
  EXPECT_EQ(list[0].name, "Menubar");
  EXPECT_EQ(list[0].bounds->y, -24);
}

TEST(World, ModernBarListsTheOverflowButtonWindowOfTheAgent) {
  Scenario s = threeApps(27, 190.0);
  s.screens[0].frame = Rect{0, 0, 1512, 982};
  for (int i = 0; i < 20; ++i) {
    s.apps.push_back(app(500 + i, "com.example.x" + std::to_string(i), "X",
                         {item("x" + std::to_string(i), 40)}));
  }
  World world(s);
  ASSERT_TRUE(world.overflowButton());
  const auto list = world.windowList(WindowListOption::all);
  const auto button = std::find_if(list.begin(), list.end(), [&](const WindowInfo& w) {
    return w.ownerPID == s.menuBar.agentPID && w.layer == 25;
  });
  ASSERT_NE(button, list.end());
  EXPECT_EQ(button->bounds->x, world.overflowButton()->minX());
  // The agent is a running application of its own.
  const auto apps = world.runningApplications();
  EXPECT_TRUE(std::any_of(apps.begin(), apps.end(), [](const RunningApplication& a) {
    return a.bundleIdentifier == "com.apple.MenuBarAgent";
  }));
}

TEST(World, QuittingAnAppRemovesItsItemsAndTheRestMoveRight) {
  World world(threeApps());
  const Rect b1Before = world.statusItem(202)->placed.frame;
  world.quit(401);  // a1 and a2 were at the right end
  EXPECT_FALSE(world.statusItem(200));
  EXPECT_FALSE(world.statusItem(201));
  EXPECT_EQ(world.statusItem(202)->placed.frame.minX(), b1Before.minX() + 70);
  EXPECT_FALSE(world.app(401));
}

TEST(World, LaunchedAppsAppearAtTheLeftEndWithFreshWindowIDs) {
  World world(threeApps());
  world.launch(app(404, "com.example.d", "D", {item("d1", 25)}));
  const auto items = world.statusItems();
  EXPECT_EQ(items.back().item.key, "d1");
  EXPECT_EQ(items.back().windowID, 204U);
}

// An app that quits leaves the bar's order: started again, its items are
// on the bar once, at the left end.
TEST(World, AnAppQuitAndRelaunchedIsOnTheBarOnce) {
  World world(threeApps());
  const auto a = world.app(401);
  ASSERT_TRUE(a);
  const size_t before = world.statusItems().size();
  world.quit(401);
  world.launch(*a);
  const auto items = world.statusItems();
  ASSERT_EQ(items.size(), before);
  EXPECT_EQ(std::count_if(items.begin(), items.end(), [](auto& i) { return i.item.key == "a1"; }),
            1);
  EXPECT_EQ(items.back().item.key, a->items.back().key);
}

TEST(World, ExplicitWindowIDsAreKeptAndAutomaticOnesAvoidThem) {
  Scenario s = threeApps();
  s.apps[1].items[0].windowID = 200;
  World world(s);
  EXPECT_EQ(world.statusItem(200)->item.key, "b1");
  for (const auto& i : world.statusItems()) {
    if (i.item.key != "b1") {
      EXPECT_GT(i.windowID, 200U);
    }
  }
}

TEST(SimMac, WorkspaceNotificationsArriveOnMainWhileSubscribed) {
  VirtualExecutors ex;
  SimMac mac(threeApps(), ex);
  std::vector<pid_t> quit;
  std::vector<pid_t> launched;
  auto q =
      mac.platform().workspace.observe(WorkspaceEvent::didTerminateApplication,
                                       [&](const RunningApplication& a) { quit.push_back(a.pid); });
  auto l = mac.platform().workspace.observe(
      WorkspaceEvent::didLaunchApplication,
      [&](const RunningApplication& a) { launched.push_back(a.pid); });
  mac.world().quit(401);
  EXPECT_TRUE(quit.empty());  // delivered on the main executor, not inline
  ex.runUntilIdle();
  EXPECT_EQ(quit, (std::vector<pid_t>{401}));
  EXPECT_TRUE(launched.empty());
  mac.world().quit(402);
  q.reset();  // ends before delivery: nothing arrives
  ex.runUntilIdle();
  EXPECT_EQ(quit, (std::vector<pid_t>{401}));
}

TEST(SimMac, ProcessProbeAnswersLikeKill) {
  Scenario s = threeApps();
  s.apps[2].processProbe = ProcessProbe::permissionDenied;
  VirtualExecutors ex;
  SimMac mac(s, ex);
  auto& system = mac.platform().system;
  EXPECT_EQ(system.signalProbe(401), 0);
  EXPECT_EQ(system.signalProbe(403), EPERM);
  EXPECT_EQ(system.signalProbe(999), ESRCH);
  EXPECT_EQ(system.processIdentifier(), 1000);
  EXPECT_EQ(system.environment("KESTRUNE_DEBUG"), std::nullopt);
}

TEST(SimMac, ScreensAreInAppKitSpaceWithNotchAreas) {
  Scenario s = threeApps(15, 190.0);
  s.screens[0].frame = Rect{0, 0, 1512, 982};
  s.screens[0].menuBarHeight = 37;
  s.screens[0].dockHeight = 70;
  ScenarioScreen second;
  second.frame = Rect{1512, -200, 2560, 1440};
  second.scale = 1;
  s.screens.push_back(second);
  VirtualExecutors ex;
  SimMac mac(s, ex);
  const auto screens = mac.platform().screens.screens();
  ASSERT_EQ(screens.size(), 2U);
  const ScreenInfo& laptop = screens[0];
  EXPECT_EQ(laptop.frame, (Rect{0, 0, 1512, 982}));
  EXPECT_EQ(laptop.visibleFrame, (Rect{0, 70, 1512, 982 - 37 - 70}));
  EXPECT_EQ(laptop.safeAreaInsets.top, 37);
  EXPECT_EQ(laptop.auxiliaryTopLeftArea, (Rect{0, 945, 661, 37}));
  EXPECT_EQ(laptop.auxiliaryTopRightArea, (Rect{851, 945, 661, 37}));
  EXPECT_EQ(laptop.backingScaleFactor, 2);
  // 200 points above the laptop's top edge: its AppKit top is 982 + 200.
  EXPECT_EQ(screens[1].frame, (Rect{1512, 982 + 200 - 1440, 2560, 1440}));
  EXPECT_EQ(screens[1].auxiliaryTopRightArea, std::nullopt);
  EXPECT_EQ(screens[1].safeAreaInsets.top, 0);
  EXPECT_EQ(mac.platform().screens.statusBarThickness(), 24);
}

}  // namespace
}  // namespace kestrune::sim

namespace kestrune::sim {
namespace {

TEST(World, WithoutScreenRecordingOtherAppsWindowTitlesAreWithheld) {
  Scenario s = threeApps();
  s.apps.push_back(app(1000, "com.kestrune.Kestrune", "Kestrune", {item("own", 30)}));
  s.permissions.screenRecording = false;
  World world(s);
  for (const auto& w : world.windowList(WindowListOption::all)) {
    if (w.ownerPID == 1000 || w.ownerPID == World::kWindowServerPID) {
      EXPECT_TRUE(w.name.has_value());
    } else {
      EXPECT_FALSE(w.name.has_value()) << *w.number;
    }
  }
}

TEST(World, OverflowButtonBelongsToTheListedAgent) {
  Scenario s = threeApps(27);
  s.screens[0].frame = Rect{0, 0, 400, 300};
  s.apps.push_back(app(500, "com.apple.MenuBarAgent", "MenuBarAgent", {}));
  World world(s);
  EXPECT_EQ(world.agentPID(), 500);
  ASSERT_TRUE(world.overflowButton());
  const auto list = world.windowList(WindowListOption::all);
  const auto button = std::find_if(list.begin(), list.end(), [](const WindowInfo& w) {
    return w.number == World::kOverflowButtonWindowID;
  });
  ASSERT_NE(button, list.end());
  EXPECT_EQ(button->ownerPID, 500);
}

TEST(World, AutomaticWindowIDsAvoidExtraWindows) {
  Scenario s = threeApps();
  WindowInfo extra;
  extra.number = 200;
  s.extraWindows.push_back(extra);
  World world(s);
  for (const auto& i : world.statusItems()) EXPECT_GT(i.windowID, 200U);
}

}  // namespace
}  // namespace kestrune::sim
