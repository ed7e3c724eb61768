#include "discovery/menu_bar_layout.hpp"

#include <gtest/gtest.h>

#include "sim/sim_mac.hpp"
#include "support/fake_platform.hpp"
#include "support/scenarios.hpp"

namespace kestrune {
namespace {

using testing::FakeAccessibility;
using testing::FakePlatform;
using Host = MenuBarLayout::Host;

TEST(MenuBarLayout, VersionsAbove26AreModern) {
  EXPECT_TRUE(MenuBarLayout::isModernVersion(27));
  EXPECT_FALSE(MenuBarLayout::isModernVersion(26));
  EXPECT_FALSE(MenuBarLayout::isModernVersion(15));
  FakePlatform f;
  f.system.majorVersion = 27;
  const MenuBarLayout modern(f.platform());
  f.system.majorVersion = 26;
  const MenuBarLayout legacy(f.platform());
  EXPECT_TRUE(modern.isModern());
  EXPECT_FALSE(legacy.isModern());
}

TEST(MenuBarLayout, VersionIsReadOnceAtCreation) {
  FakePlatform f;
  f.system.majorVersion = 27;
  const MenuBarLayout layout(f.platform());
  f.system.majorVersion = 15;
  EXPECT_TRUE(layout.isModern());
}

WindowInfo windowServerWindow(std::string name, std::optional<double> y) {
  WindowInfo w;
  w.ownerName = "Window Server";
  w.name = std::move(name);
  w.bounds = WindowBounds{0, y, 1440, 24};
  return w;
}

TEST(MenuBarLayout, MenubarSlidAwayMeansTheBarIsHidden) {
  FakePlatform f;
  const MenuBarLayout layout(f.platform());
  f.windowServer.list = {windowServerWindow("Menubar", -24)};
  EXPECT_FALSE(layout.menuBarIsVisible());
}

TEST(MenuBarLayout, NoWindowServerWindowMeansVisible) {
  FakePlatform f;
  const MenuBarLayout layout(f.platform());
  WindowInfo app;
  app.ownerName = "Safari";
  app.name = "Menubar";
  f.windowServer.list = {app};
  EXPECT_TRUE(layout.menuBarIsVisible());
  f.windowServer.list = std::vector<WindowInfo>{};
  EXPECT_TRUE(layout.menuBarIsVisible());
  f.windowServer.list = std::nullopt;
  EXPECT_TRUE(layout.menuBarIsVisible());
}

TEST(MenuBarLayout, MenubarAtTopWinsAtOnceAndUnnamedWindowsDoNotCount) {
  FakePlatform f;
  const MenuBarLayout layout(f.platform());
  WindowInfo unnamed = windowServerWindow("", 0);
  unnamed.name.reset();
  f.windowServer.list = {unnamed, windowServerWindow("Menubar", 0),
                         windowServerWindow("Backstop", 0)};
  EXPECT_TRUE(layout.menuBarIsVisible());
  f.windowServer.list = {windowServerWindow("Backstop", 0), windowServerWindow("Menubar", 0)};
  EXPECT_TRUE(layout.menuBarIsVisible());
  f.windowServer.list = {windowServerWindow("Menubar", std::nullopt)};
  EXPECT_FALSE(layout.menuBarIsVisible());
}

// The agent's tree: extras bar with an optional button, and a bar window
// whose navigation children are `hosts` (frame, pid).
struct AgentTree {
  explicit AgentTree(FakePlatform& f, const std::vector<std::pair<Rect, pid_t>>& hosts,
                     std::optional<Rect> button = std::nullopt) {
    f.workspace.apps = {RunningApplication{77, "com.apple.MenuBarAgent", "MenuBarAgent", {}}};
    auto& ax = f.accessibility;
    agent = ax.node(77);
    ax.applications[77] = agent;
    auto bar = ax.node(77);
    auto group = ax.node(77);
    group->attributes["AXRole"] = AXAnyValue{std::string("AXGroup")};
    std::vector<std::shared_ptr<FakeAccessibility::Node>> barChildren;
    if (button) {
      auto b = ax.node(77);
      b->attributes["AXRole"] = AXAnyValue{std::string("AXButton")};
      FakeAccessibility::setFrame(*b, *button);
      barChildren.push_back(b);
    }
    barChildren.push_back(group);
    bar->attributes["AXChildren"] = FakeAccessibility::elements(barChildren);
    agent->attributes["AXExtrasMenuBar"] = AXAnyValue{FakeAccessibility::element(bar)};

    auto other = ax.node(77);  // a window elsewhere on screen
    other->attributes["AXRole"] = AXAnyValue{std::string("AXWindow")};
    FakeAccessibility::setFrame(*other, {200, 300, 400, 300});
    window = ax.node(77);
    window->attributes["AXRole"] = AXAnyValue{std::string("AXWindow")};
    FakeAccessibility::setFrame(*window, {0.5, -0.5, 1512, 37});
    agent->attributes["AXChildren"] = FakeAccessibility::elements({other, window});

    std::vector<std::shared_ptr<FakeAccessibility::Node>> hostNodes;
    for (const auto& [frame, pid] : hosts) {
      auto h = ax.node(pid);
      FakeAccessibility::setFrame(*h, frame);
      hostNodes.push_back(h);
    }
    window->attributes["AXChildrenInNavigationOrder"] = FakeAccessibility::elements(hostNodes);
  }
  std::shared_ptr<FakeAccessibility::Node> agent;
  std::shared_ptr<FakeAccessibility::Node> window;
};

TEST(MenuBarLayout, SnapshotSortsHostsByLeftEdgeAndSkipsZeroWidth) {
  FakePlatform f;
  AgentTree tree(
      f,
      {{{900, 0, 30, 37}, 5}, {{800, 0, 0, 37}, 6}, {{700, 0, 30, 37}, 7}, {{900, 0, 40, 37}, 8}});
  const MenuBarLayout layout(f.platform());
  const auto snapshot = layout.snapshot(seconds(0.5));
  ASSERT_TRUE(snapshot);
  EXPECT_EQ(
      snapshot->hosts,
      (std::vector<Host>{{{700, 0, 30, 37}, 7}, {{900, 0, 30, 37}, 5}, {{900, 0, 40, 37}, 8}}));
  EXPECT_EQ(snapshot->showHiddenButton, std::nullopt);
  EXPECT_EQ(snapshot->barHeight, 37);
  EXPECT_FLOAT_EQ(tree.agent->timeout, 0.5F);
  EXPECT_FLOAT_EQ(tree.window->timeout, 0.5F);
  // No element of the agent's tree is read with the system's default.
  EXPECT_EQ(f.accessibility.readsAtDefaultTimeout, 0);
}

// Hosts at the same left edge keep the agent's navigation order, although
// their process ids and widths sort the other way.
TEST(MenuBarLayout, HostsWithEqualLeftEdgesKeepNavigationOrder) {
  FakePlatform f;
  AgentTree tree(f, {{{900, 0, 40, 37}, 8}, {{900, 0, 30, 37}, 5}, {{700, 0, 30, 37}, 9}});
  const auto snapshot = MenuBarLayout(f.platform()).snapshot(seconds(0.5));
  ASSERT_TRUE(snapshot);
  EXPECT_EQ(
      snapshot->hosts,
      (std::vector<Host>{{{700, 0, 30, 37}, 9}, {{900, 0, 40, 37}, 8}, {{900, 0, 30, 37}, 5}}));
}

TEST(MenuBarLayout, SnapshotReadsTheShowHiddenButton) {
  FakePlatform f;
  AgentTree tree(f, {{{900, 0, 30, 37}, 5}}, Rect{870, 0, 24, 37});
  const auto snapshot = MenuBarLayout(f.platform()).snapshot(seconds(0.5));
  ASSERT_TRUE(snapshot);
  EXPECT_EQ(snapshot->showHiddenButton, (Rect{870, 0, 24, 37}));
}

TEST(MenuBarLayout, NoSnapshotWithoutAgentChildrenOrBarWindow) {
  FakePlatform f;
  EXPECT_EQ(MenuBarLayout(f.platform()).snapshot(seconds(0.5)), std::nullopt);  // no agent
  AgentTree tree(f, {{{900, 0, 30, 37}, 5}});
  FakeAccessibility::setFrame(*tree.window, {0, 40, 1512, 37});  // not at the origin
  EXPECT_EQ(MenuBarLayout(f.platform()).snapshot(seconds(0.5)), std::nullopt);
  tree.agent->errors["AXExtrasMenuBar"] = AXError::cannotComplete;
  EXPECT_EQ(MenuBarLayout(f.platform()).snapshot(seconds(0.5)), std::nullopt);
}

MenuBarLayout::Candidate candidate(uint32_t id, pid_t pid, double x, double w = 30) {
  return {id, pid, Rect{x, 0, w, 24}};
}

TEST(MatchHosts, CandidateOverItsHostMatchesAndUsesItUp) {
  MenuBarLayout::Snapshot s;
  s.hosts = {{{100, 0, 30, 24}, 1}, {{130, 0, 30, 24}, 1}};
  // 11's centre (116) is over host 0 too, but 10 took it.
  const auto m = MenuBarLayout::matchHosts(
      {candidate(10, 1, 100), candidate(11, 1, 101), candidate(12, 1, 130)}, s, 0);
  ASSERT_EQ(m.size(), 2U);
  EXPECT_EQ(m.at(10), s.hosts[0]);
  EXPECT_EQ(m.at(12), s.hosts[1]);
  EXPECT_FALSE(m.contains(11));
}

TEST(MatchHosts, MidpointOnAHostEdgeCounts) {
  MenuBarLayout::Snapshot s;
  s.hosts = {{{100, 0, 30, 24}, 1}};
  EXPECT_EQ(MenuBarLayout::matchHosts({candidate(10, 1, 115, 30)}, s, 0).size(), 1U);  // mid 130
  EXPECT_EQ(MenuBarLayout::matchHosts({candidate(10, 1, 116, 30)}, s, 0).size(), 0U);  // mid 131
}

TEST(MatchHosts, OnlyHostsOfTheSameProcessMatch) {
  MenuBarLayout::Snapshot s;
  s.hosts = {{{100, 0, 30, 24}, 2}};
  EXPECT_TRUE(MenuBarLayout::matchHosts({candidate(10, 1, 100)}, s, 50).empty());
}

TEST(MatchHosts, WindowOverOrBesideTheShowHiddenButtonIsNeverMatched) {
  MenuBarLayout::Snapshot s;
  s.hosts = {{{100, 0, 24, 24}, 1}, {{60, 0, 30, 24}, 1}, {{200, 0, 30, 24}, 1}};
  s.showHiddenButton = Rect{100, 0, 24, 24};
  const auto m = MenuBarLayout::matchHosts({candidate(10, 1, 100, 24), candidate(11, 1, 69, 30),
                                            candidate(12, 1, 125, 30), candidate(13, 1, 200, 30)},
                                           s, 1000);
  EXPECT_FALSE(m.contains(10));  // the button's own window
  EXPECT_FALSE(m.contains(11));  // ends 1 point left of the button
  EXPECT_FALSE(m.contains(12));  // starts 1 point right of it
  EXPECT_TRUE(m.contains(13));
}

TEST(MatchHosts, RemainingPairsAreTakenNearestFirstWithinProximity) {
  MenuBarLayout::Snapshot s;
  s.hosts = {{{300, 0, 30, 24}, 1}, {{400, 0, 30, 24}, 1}};
  // Neither candidate lies over a host. 21 is 40 from host 0 and 60 from
  // host 1; 20 is 60 from host 0 and 160 from host 1.
  const std::vector<MenuBarLayout::Candidate> candidates{candidate(20, 1, 240),
                                                         candidate(21, 1, 340)};
  const auto near = MenuBarLayout::matchHosts(candidates, s, 100);
  ASSERT_EQ(near.size(), 1U);
  EXPECT_EQ(near.at(21), s.hosts[0]);
  const auto far = MenuBarLayout::matchHosts(candidates, s, 200);
  ASSERT_EQ(far.size(), 2U);
  EXPECT_EQ(far.at(21), s.hosts[0]);
  EXPECT_EQ(far.at(20), s.hosts[1]);
}

TEST(MatchHosts, PairsBeyondProximityAreNotMatched) {
  MenuBarLayout::Snapshot s;
  s.hosts = {{{300, 0, 30, 24}, 1}};
  EXPECT_TRUE(MenuBarLayout::matchHosts({candidate(20, 1, 240)}, s, 59).empty());
  EXPECT_EQ(MenuBarLayout::matchHosts({candidate(20, 1, 240)}, s, 60).size(), 1U);
}

TEST(MatchHosts, EqualDistancesKeepCandidateOrder) {
  MenuBarLayout::Snapshot s;
  s.hosts = {{{300, 0, 30, 24}, 1}};
  const auto m = MenuBarLayout::matchHosts({candidate(20, 1, 350), candidate(21, 1, 250)}, s, 100);
  ASSERT_EQ(m.size(), 1U);
  EXPECT_TRUE(m.contains(20));
}

// The layout read from the simulated Mac.
TEST(MenuBarLayoutOnSim, ModernSnapshotListsTheDrawnItemsAndTheOverflowButton) {
  std::vector<sim::ScenarioApp> apps;
  apps.reserve(20);
  for (int i = 0; i < 20; ++i) {
    apps.push_back(testing::app(400 + i, "com.example.app" + std::to_string(i),
                                "App " + std::to_string(i),
                                {testing::item("item" + std::to_string(i), 40)}));
  }
  VirtualExecutors executors;
  sim::SimMac mac(testing::scenario(27, 1512, 190.0, 330, apps), executors);
  const MenuBarLayout layout(mac.platform());
  ASSERT_TRUE(layout.isModern());
  EXPECT_EQ(layout.agentPID(), mac.world().scenario().menuBar.agentPID);
  const auto snapshot = layout.snapshot(seconds(0.5));
  ASSERT_TRUE(snapshot);
  std::vector<Host> drawn;
  for (const auto& item : mac.world().statusItems()) {
    if (item.placed.isDrawn()) drawn.push_back({item.placed.frame, item.pid});
  }
  std::reverse(drawn.begin(), drawn.end());
  EXPECT_EQ(snapshot->hosts, drawn);
  EXPECT_LT(drawn.size(), 20U);
  EXPECT_EQ(snapshot->showHiddenButton, mac.world().overflowButton());
  EXPECT_EQ(snapshot->barHeight, 37);
}

TEST(MenuBarLayoutOnSim, SilentAgentGivesNoSnapshotAfterTheTimeOut) {
  auto agent = testing::app(88, "com.apple.MenuBarAgent", "MenuBarAgent", {});
  agent.accessibility = sim::AXMode::never;
  VirtualExecutors executors;
  sim::SimMac mac(testing::scenario(27, 1512, 190.0, 330, {agent}), executors);
  const TimePoint before = executors.now();
  EXPECT_EQ(MenuBarLayout(mac.platform()).snapshot(seconds(0.5)), std::nullopt);
  EXPECT_NEAR(toSeconds(executors.now() - before), 0.5, 1e-6);
}

TEST(MenuBarLayoutOnSim, LegacyMacHasNoAgent) {
  VirtualExecutors executors;
  sim::SimMac mac(testing::scenario(15, 1512, 190.0, 330, {}), executors);
  const MenuBarLayout layout(mac.platform());
  EXPECT_FALSE(layout.isModern());
  EXPECT_EQ(layout.agentPID(), std::nullopt);
  EXPECT_EQ(layout.snapshot(seconds(0.5)), std::nullopt);
  EXPECT_TRUE(layout.menuBarIsVisible());
}

}  // namespace
}  // namespace kestrune
