#include "discovery/item_scanner.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <map>

#include "core/unicode.hpp"
#include "core/virtual_executors.hpp"
#include "settings/diag.hpp"
#include "sim/sim_accessibility.hpp"
#include "sim/sim_mac.hpp"
#include "support/fake_platform.hpp"
#include "support/scenarios.hpp"
#include "support/temp_home.hpp"

namespace kestrune {
namespace {

using testing::app;
using testing::item;
using Owned = ItemScanner::OwnedElement;

// Scanner over canned window lists.
class StatusWindows : public ::testing::Test {
 protected:
  StatusWindows()
      : platform_(f_.platform()),
        layout_(platform_),
        diag_(f_.fileSystem, f_.system, f_.executors),
        scanner_(platform_, layout_, diag_) {}
  ~StatusWindows() override { ItemScanner::setOwnFrames(nullptr); }

  static WindowInfo window(uint32_t number, Rect frame) {
    WindowInfo w;
    w.layer = 25;
    w.number = number;
    w.bounds = WindowBounds{frame.minX(), frame.minY(), frame.width(), frame.height()};
    w.ownerPID = 400;
    w.ownerName = "Tool";
    return w;
  }
  std::vector<uint32_t> ids() {
    std::vector<uint32_t> result;
    for (const auto& i : scanner_.statusWindows()) result.push_back(i.windowID);
    return result;
  }

  testing::FakePlatform f_;
  Platform platform_;
  MenuBarLayout layout_;
  Diag diag_;
  ItemScanner scanner_;
};

TEST_F(StatusWindows, NarrowTallOrTransparentWindowsAreNotItems) {
  auto transparent = window(3, {100, 0, 30, 24});
  transparent.alpha = 0;
  auto opaque = window(4, {200, 0, 30, 24});
  opaque.alpha = 0.5;
  f_.windowServer.list = {window(1, {10, 0, 6, 24}),
                          window(2, {20, 0, 30, 50}),
                          transparent,
                          opaque,
                          window(5, {300, 0, 8, 48}),
                          window(6, {400, 0, 400, 24}),
                          window(7, {900, 0, 401, 24})};
  EXPECT_EQ(ids(), (std::vector<uint32_t>{4, 5, 6}));
}

TEST_F(StatusWindows, TopEdgeMustBeWithinTwoPointsOfTheTop) {
  f_.windowServer.list = {window(1, {10, 1.5, 30, 24}), window(2, {50, 2, 30, 24}),
                          window(3, {90, -1.9, 30, 24}), window(4, {130, -2, 30, 24})};
  EXPECT_EQ(ids(), (std::vector<uint32_t>{1, 3}));
}

TEST_F(StatusWindows, EveryFieldMustBePresentAndTheLayerRight) {
  auto noNumber = window(1, {10, 0, 30, 24});
  noNumber.number.reset();
  auto noHeight = window(2, {50, 0, 30, 24});
  noHeight.bounds->height.reset();
  auto noBounds = window(3, {90, 0, 30, 24});
  noBounds.bounds.reset();
  auto otherLayer = window(4, {130, 0, 30, 24});
  otherLayer.layer = 24;
  auto noLayer = window(5, {170, 0, 30, 24});
  noLayer.layer.reset();
  auto own = window(6, {210, 0, 30, 24});
  own.ownerPID = f_.system.pid;
  auto bare = window(7, {250, 0, 30, 24});
  bare.name.reset();
  bare.ownerName.reset();
  bare.ownerPID.reset();
  f_.windowServer.list = {noNumber, noHeight, noBounds, otherLayer, noLayer, own, bare};
  const auto items = scanner_.statusWindows();
  ASSERT_EQ(items.size(), 1U);
  EXPECT_EQ(items[0].windowID, 7U);
  EXPECT_FALSE(items[0].isOnScreen);  // a missing on-screen flag counts as false
  EXPECT_EQ(items[0].windowName, "");
  EXPECT_EQ(items[0].windowOwnerName, "");
}

TEST_F(StatusWindows, WindowsOverTheAppsOwnFramesAreSkipped) {
  f_.windowServer.list = {window(1, {100, 0, 30, 24}), window(2, {201.5, 0, 31.5, 24}),
                          window(3, {302, 0, 30, 24}), window(4, {400, 0, 32, 24})};
  ItemScanner::setOwnFrames([] {
    return std::vector<Rect>{{200, 0, 30, 24}, {300, 0, 30, 24}, {400, 0, 30, 24}};
  });
  EXPECT_EQ(ids(), (std::vector<uint32_t>{1, 3, 4}));
}

TEST_F(StatusWindows, ScanWindowsSortsByLeftEdgeKeepingTies) {
  f_.windowServer.list = {window(1, {300, 0, 30, 24}), window(2, {100, 0, 30, 24}),
                          window(3, {300, 0, 40, 24}), window(4, {200, 0, 30, 24})};
  std::vector<uint32_t> sorted;
  for (const auto& i : scanner_.scanWindows()) sorted.push_back(i.windowID);
  EXPECT_EQ(sorted, (std::vector<uint32_t>{2, 4, 1, 3}));
  f_.windowServer.list = std::nullopt;
  EXPECT_TRUE(scanner_.scanWindows().empty());
}

Owned owned(std::string name, pid_t pid, int ordinal, Rect frame = {}) {
  Owned e;
  e.frame = frame;
  e.owner.name = std::move(name);
  e.owner.pid = pid;
  e.owner.ordinal = ordinal;
  return e;
}

TEST(ItemScannerMatch, FirstElementWhoseCentreIsInTheWindowWins) {
  MenuBarItem a;
  a.windowID = 1;
  a.frame = {100, 0, 40, 24};
  MenuBarItem b;
  b.windowID = 2;
  b.frame = {200, 0, 30, 24};
  const auto owners = ItemScanner::match(
      {a, b}, {owned("first", 1, 0, {105, 0, 20, 24}), owned("second", 2, 0, {110, 0, 20, 24}),
               owned("elsewhere", 3, 0, {500, 0, 20, 24})});
  ASSERT_EQ(owners.size(), 1U);
  EXPECT_EQ(owners.at(1).name, "first");
}

TEST(ItemScannerMatch, OneElementMayServeTwoWindows) {
  MenuBarItem a;
  a.windowID = 1;
  a.frame = {100, 0, 40, 24};
  MenuBarItem b = a;
  b.windowID = 2;
  const auto owners = ItemScanner::match({a, b}, {owned("only", 1, 0, {110, 0, 20, 24})});
  EXPECT_EQ(owners.size(), 2U);
}

// Two elements drawn at the same left edge keep the order they came in,
// although their names, process ids and host widths all sort the other way.
TEST(ItemScannerOrder, EqualHostEdgesKeepThePriorOrderWhateverElseSays) {
  const std::map<uint32_t, Rect> hosts{{ItemScanner::hostKey(20, 0), {500, 0, 40, 24}},
                                       {ItemScanner::hostKey(10, 0), {500, 0, 20, 24}},
                                       {ItemScanner::hostKey(30, 0), {300, 0, 30, 24}}};
  const auto ordered = ItemScanner::orderModern(
      {owned("zulu", 20, 0), owned("alpha", 10, 0), owned("mike", 30, 0)}, hosts);
  std::vector<std::string> names;
  for (const auto& e : ordered) names.push_back(e.owner.name);
  EXPECT_EQ(names, (std::vector<std::string>{"mike", "zulu", "alpha"}));
}

TEST(ItemScannerOrder, EqualHostEdgesKeepOrderAndCaseOnlyNamesGoByProcess) {
  std::map<uint32_t, Rect> hosts{{ItemScanner::hostKey(10, 0), {500, 0, 30, 24}},
                                 {ItemScanner::hostKey(11, 0), {500, 0, 30, 24}},
                                 {ItemScanner::hostKey(12, 0), {400, 0, 30, 24}}};
  const auto ordered = ItemScanner::orderModern(
      {owned("zeta", 30, 0), owned("B", 10, 0), owned("Tool", 21, 0), owned("c", 11, 0),
       owned("tool", 20, 1), owned("tool", 20, 0), owned("a", 12, 0)},
      hosts);
  std::vector<std::pair<std::string, int>> got;
  for (const auto& e : ordered) got.emplace_back(e.owner.name, e.owner.ordinal);
  EXPECT_EQ(got,
            (std::vector<std::pair<std::string, int>>{
                {"a", 0}, {"B", 0}, {"c", 0}, {"tool", 0}, {"tool", 1}, {"Tool", 0}, {"zeta", 0}}));
}

// Names are lowercased as Unicode text and compared by code point, as
// Foundation compares them: "zed", then "éclair", then "Élan".
TEST(ItemScannerOrder, UnhostedNamesCompareLowercasedAsUnicode) {
  const auto ordered =
      ItemScanner::orderModern({owned("zed", 30, 0), owned("\u00C9lan", 31, 0),
                                owned("\u00E9clair", 32, 0), owned("E\u0301LAN", 29, 0)},
                               {});
  std::vector<pid_t> pids;
  for (const auto& e : ordered) pids.push_back(e.owner.pid);
  // The two spellings of "Élan" are the same name: process ids decide.
  EXPECT_EQ(pids, (std::vector<pid_t>{30, 32, 29, 31}));
}

TEST(ItemScannerOrder, HostKeyClampsTheOrdinal) {
  EXPECT_EQ(ItemScanner::hostKey(3, 2), (3U << 8) | 2U);
  EXPECT_EQ(ItemScanner::hostKey(3, 300), (3U << 8) | 255U);
  EXPECT_EQ(ItemScanner::hostKey(3, -1), 3U << 8);
}

TEST(ItemScannerBackOff, DoublesFromFifteenSecondsUpToTenMinutes) {
  std::vector<long> got;
  for (int n = 1; n <= 9; ++n) {
    got.push_back(
        std::chrono::duration_cast<std::chrono::seconds>(ItemScanner::backOffDelay(n)).count());
  }
  EXPECT_EQ(got, (std::vector<long>{15, 30, 60, 120, 240, 480, 600, 600, 600}));
}

// Scans of a simulated Mac.
class ScannerOnSim : public ::testing::Test {
 protected:
  void make(sim::Scenario scenario) {
    mac_ = std::make_unique<sim::SimMac>(std::move(scenario), ex_, home_.path());
    layout_ = std::make_unique<MenuBarLayout>(mac_->platform());
    diag_ = std::make_unique<Diag>(mac_->platform().fileSystem, mac_->platform().system, ex_);
    scanner_ = std::make_unique<ItemScanner>(mac_->platform(), *layout_, *diag_);
  }
  std::string log() {
    ex_.runUntilIdle();
    return home_.read("Library/Logs/Kestrune.log");
  }
  sim::World& world() { return mac_->world(); }
  // Scans at the time of the next whole second, for readable time arithmetic.
  std::vector<MenuBarItem> scanAt(TimePoint when) {
    ex_.advanceTo(when);
    return scanner_->scan();
  }

  testing::TempHome home_;
  VirtualExecutors ex_;
  std::unique_ptr<sim::SimMac> mac_;
  std::unique_ptr<MenuBarLayout> layout_;
  std::unique_ptr<Diag> diag_;
  std::unique_ptr<ItemScanner> scanner_;
};

sim::ScenarioApp slowApp(pid_t pid, std::string key, sim::AXMode mode, double latencyMs) {
  auto a = app(pid, "com.example." + key, key, {item(key, 30)});
  a.accessibility = mode;
  a.latencyMs = latencyMs;
  return a;
}

TEST_F(ScannerOnSim, LegacyScanListsEveryItemLeftToRightWithOwners) {
  auto cc = app(301, "com.apple.controlcenter", "Control Center",
                {item("clock", 100, "Clock"), item("wifi", 30, "Wi\u2011Fi")});
  cc.items[0].identifier = "com.apple.menuextra.clock";
  make(
      testing::scenario(15, 1440, std::nullopt, 300,
                        {cc, app(400, "com.example.tool", "Tool", {item("t1", 30), item("t2", 40)}),
                         app(401, "com.example.empty", "Empty", {})}));
  const auto items = scanner_->scan();
  ASSERT_EQ(items.size(), 4U);
  std::vector<std::string> names;
  for (const auto& i : items) names.push_back(i.displayName(false));
  EXPECT_EQ(names, (std::vector<std::string>{"Tool", "Tool", "Wi\u2011Fi", "Clock"}));
  EXPECT_EQ(items[0].owner->ordinal, 1);  // t2 is the leftmost
  EXPECT_EQ(items[1].owner->ordinal, 0);
  EXPECT_EQ(items[3].owner->axIdentifier, "com.apple.menuextra.clock");
  EXPECT_EQ(items[3].systemKind(), MenuBarItem::SystemKind::clock);
  for (size_t i = 1; i < items.size(); ++i) {
    EXPECT_LT(items[i - 1].frame.minX(), items[i].frame.minX());
  }
  EXPECT_NE(log().find("sweep: apps=3 owners=4 silent=0 windows=4 matched=4\n"), std::string::npos);
}

TEST_F(ScannerOnSim, SlowAppIsFoundInTheSecondPass) {
  make(testing::scenario(15, 1440, std::nullopt, 300,
                         {slowApp(400, "fast", sim::AXMode::normal, 20),
                          slowApp(401, "slow", sim::AXMode::normal, 450)}));
  const TimePoint start = ex_.now();
  const auto items = scanner_->scan();
  ASSERT_EQ(items.size(), 2U);
  EXPECT_TRUE(items[0].owner && items[1].owner);
  EXPECT_EQ(scanner_->failureCount(401), 0);
  EXPECT_EQ(scanner_->quietUntil(401), std::nullopt);
  // Pass 1 waits 0.4 s for the slow app; pass 2 gives it 1.0 s per read.
  EXPECT_GT(ex_.now() - start, seconds(0.4 + 0.45));
  EXPECT_NE(log().find("silent=0 windows=2 matched=2"), std::string::npos);
}

TEST_F(ScannerOnSim, SilentAppBacksOffFrom15SecondsTo600) {
  make(testing::scenario(15, 1440, std::nullopt, 300,
                         {slowApp(401, "mute", sim::AXMode::never, 0)}));
  std::vector<long> delays;
  TimePoint next = ex_.now();
  for (int scan = 0; scan < 8; ++scan) {
    const TimePoint start = next;
    const auto items = scanAt(start);
    ASSERT_EQ(items.size(), 1U);
    EXPECT_FALSE(items[0].owner);
    const auto until = scanner_->quietUntil(401);
    ASSERT_TRUE(until);
    delays.push_back(std::chrono::duration_cast<std::chrono::seconds>(*until - start).count());
    // Asked again only once the back-off is over.
    const int reads = world().readCount(401);
    ex_.advanceTo(*until);
    (void)scanner_->scan();
    EXPECT_EQ(world().readCount(401), reads) << "asked during its back-off";
    next = *until + seconds(0.001);
  }
  EXPECT_EQ(delays, (std::vector<long>{15, 30, 60, 120, 240, 480, 600, 600}));
  EXPECT_NE(log().find("silent=1 windows=1 matched=0"), std::string::npos);
}

TEST_F(ScannerOnSim, SilentAppIsNotBackedOffWhenEveryWindowWasMatched) {
  auto mute = slowApp(401, "mute", sim::AXMode::never, 0);
  mute.items.clear();  // no window to find: the second pass is skipped
  make(testing::scenario(15, 1440, std::nullopt, 300,
                         {slowApp(400, "fast", sim::AXMode::normal, 5), mute}));
  (void)scanner_->scan();
  EXPECT_EQ(scanner_->failureCount(401), 0);
  EXPECT_EQ(scanner_->quietUntil(401), std::nullopt);
  EXPECT_NE(log().find("silent=1 windows=1 matched=1"), std::string::npos);
}

TEST_F(ScannerOnSim, AppWithoutExtrasMenuBarRestsFor60SecondsUnlessForgotten) {
  auto none = slowApp(401, "none", sim::AXMode::noExtrasMenuBar, 0);
  make(testing::scenario(15, 1440, std::nullopt, 300,
                         {slowApp(400, "fast", sim::AXMode::normal, 5), none}));
  const TimePoint start = ex_.now();
  (void)scanner_->scan();
  EXPECT_EQ(scanner_->quietUntil(401), start + seconds(60));
  const int reads = world().readCount(401);
  (void)scanAt(start + seconds(59));
  EXPECT_EQ(world().readCount(401), reads);
  scanner_->forgetEmptyApps();
  (void)scanner_->scan();
  EXPECT_EQ(world().readCount(401), reads + 1);
  // After 60 s it is asked again without help.
  (void)scanAt(start + seconds(120));
  EXPECT_EQ(world().readCount(401), reads + 2);
}

TEST_F(ScannerOnSim, ForgettingEmptyAppsKeepsBackOffs) {
  make(
      testing::scenario(15, 1440, std::nullopt, 300,
                        {slowApp(401, "mute", sim::AXMode::never, 0), app(402, "com.x", "X", {})}));
  (void)scanner_->scan();
  ASSERT_TRUE(scanner_->quietUntil(401));
  ASSERT_TRUE(scanner_->quietUntil(402));
  scanner_->forgetEmptyApps();
  EXPECT_TRUE(scanner_->quietUntil(401));
  EXPECT_FALSE(scanner_->quietUntil(402));
}

TEST_F(ScannerOnSim, AppThatAnswersAgainStartsItsBackOffAfresh) {
  make(testing::scenario(15, 1440, std::nullopt, 300,
                         {slowApp(401, "flaky", sim::AXMode::never, 0)}));
  (void)scanner_->scan();
  EXPECT_EQ(scanner_->failureCount(401), 1);
  world().setAccessibility(401, sim::AXMode::normal, 5);
  (void)scanAt(*scanner_->quietUntil(401) + seconds(1));
  EXPECT_EQ(scanner_->failureCount(401), 0);
}

TEST_F(ScannerOnSim, AppsThatKeepFailingAreAskedLast) {
  // Two silent apps and one fast one: after a failure the silent ones sort
  // after the fast one, which shows in the order the pass asks them.
  make(testing::scenario(
      15, 1440, std::nullopt, 300,
      {slowApp(401, "mute", sim::AXMode::never, 0), slowApp(402, "fast", sim::AXMode::normal, 5)}));
  (void)scanner_->scan();
  world().setAccessibility(401, sim::AXMode::normal, 5);
  ex_.advanceTo(*scanner_->quietUntil(401) + seconds(1));
  // With one worker the asking order decides who answers first; both answer.
  const auto items = scanner_->scan();
  EXPECT_EQ(items.size(), 2U);
  EXPECT_EQ(scanner_->failureCount(401), 0);
}

TEST_F(ScannerOnSim, WrongTypedElementsAreSkippedAndStringsFallBackToEmpty) {
  make(testing::scenario(15, 1440, std::nullopt, 300,
                         {slowApp(401, "odd", sim::AXMode::wrongTypes, 0)}));
  const auto items = scanner_->scan();
  ASSERT_EQ(items.size(), 1U);
  EXPECT_FALSE(items[0].owner);  // its element has no readable frame
}

TEST_F(ScannerOnSim, AppQuittingBetweenPassesLeavesItsWindowWithoutOwner) {
  auto leaving = slowApp(401, "leaving", sim::AXMode::normal, 650);
  leaving.quitAfterReads = 1;
  make(testing::scenario(15, 1440, std::nullopt, 300,
                         {leaving, slowApp(402, "stays", sim::AXMode::normal, 5)}));
  const auto items = scanner_->scan();
  EXPECT_FALSE(world().app(401));
  ASSERT_EQ(items.size(), 2U);
  const auto owned = std::count_if(items.begin(), items.end(), [](auto& i) { return i.owner; });
  EXPECT_EQ(owned, 1);
}

sim::Scenario crowdedModern(int apps, double width = 40) {
  std::vector<sim::ScenarioApp> list;
  for (int i = 0; i < apps; ++i) {
    list.push_back(app(400 + i, "com.example.app" + std::to_string(i), "App " + std::to_string(i),
                       {item("item" + std::to_string(i), width)}));
  }
  return testing::scenario(27, 1512, 190.0, 330, list);
}

TEST_F(ScannerOnSim, ModernScanOrdersDrawnItemsByHostThenHiddenOnesByName) {
  make(crowdedModern(20));
  const auto items = scanner_->scan();
  ASSERT_EQ(items.size(), 20U);
  size_t drawn = 0;
  for (const auto& s : world().statusItems()) drawn += s.placed.isDrawn() ? 1 : 0;
  ASSERT_LT(drawn, 20U);
  for (size_t i = 0; i < items.size(); ++i) {
    EXPECT_EQ(items[i].isOnScreen, i < drawn) << i;
    const auto state = world().statusItem(items[i].windowID);
    ASSERT_TRUE(state) << "every item is on its status window";
    EXPECT_EQ(state->pid, items[i].owner->pid);
    EXPECT_EQ(state->placed.isDrawn(), items[i].isOnScreen);
  }
  for (size_t i = 1; i < drawn; ++i) EXPECT_LT(items[i - 1].frame.minX(), items[i].frame.minX());
  for (size_t i = drawn + 1; i < items.size(); ++i) {
    EXPECT_LE(unicode::lowercased(items[i - 1].owner->name),
              unicode::lowercased(items[i].owner->name));
  }
  const auto cached = scanner_->withModernState([](auto& s) {
    return std::pair{s.cache.size(), s.snapshot.has_value()};
  });
  EXPECT_EQ(cached, (std::pair<size_t, bool>{20, true}));
  EXPECT_NE(log().find("sweep(27): apps=21 items=20 kept=0 silent=0 hosts=" +
                       std::to_string(drawn) + " drawn=" + std::to_string(drawn) + "\n"),
            std::string::npos);
}

TEST_F(ScannerOnSim, ModernScanFlattensGroups) {
  auto grouped =
      app(400, "com.example.g", "Grouped", {item("g1", 30), item("g2", 30), item("g3", 30)});
  grouped.items[0].group = "pair";
  grouped.items[1].group = "pair";
  make(testing::scenario(27, 1512, 190.0, 330, {grouped}));
  const auto items = scanner_->scan();
  ASSERT_EQ(items.size(), 3U);
  std::set<int> ordinals;
  for (const auto& i : items) ordinals.insert(i.owner->ordinal);
  EXPECT_EQ(ordinals, (std::set<int>{0, 1, 2}));
}

TEST_F(ScannerOnSim, ModernSecondPassAsksAtMostTwelveApps) {
  std::vector<sim::ScenarioApp> apps;
  for (int i = 0; i < 14; ++i) {
    apps.push_back(slowApp(400 + i, "mute" + std::to_string(i), sim::AXMode::never, 0));
  }
  make(testing::scenario(27, 1512, 190.0, 330, apps));
  (void)scanner_->scan();
  int backedOff = 0;
  for (int i = 0; i < 14; ++i) backedOff += scanner_->failureCount(400 + i);
  EXPECT_EQ(backedOff, 12);
  EXPECT_NE(log().find("silent=14"), std::string::npos);
}

TEST_F(ScannerOnSim, SlowAppsItemsAreKeptWhileItsProcessLives) {
  auto slow = slowApp(401, "slow", sim::AXMode::normal, 5);
  slow.processProbe = sim::ProcessProbe::permissionDenied;  // alive, not ours
  make(testing::scenario(27, 1512, 190.0, 330,
                         {slowApp(400, "fast", sim::AXMode::normal, 5), slow,
                          slowApp(402, "other", sim::AXMode::normal, 5)}));
  ASSERT_EQ(scanner_->scan().size(), 3U);
  world().setAccessibility(401, sim::AXMode::never, 0);
  world().setAccessibility(402, sim::AXMode::never, 0);
  auto items = scanner_->scan();
  EXPECT_EQ(items.size(), 3U);  // both carried over
  EXPECT_NE(log().find("kept=2 silent=2"), std::string::npos);
  world().quit(402);
  items = scanner_->scan();
  ASSERT_EQ(items.size(), 2U);  // the process of 402 is gone
  EXPECT_TRUE(std::none_of(items.begin(), items.end(),
                           [](const MenuBarItem& i) { return i.owner->pid == 402; }));
}

TEST_F(ScannerOnSim, ModernRefreshRereadsTheCacheAndFlagsLostElements) {
  make(crowdedModern(5));
  const auto scanned = scanner_->scan();
  const int reads = world().readCount(401);
  const auto refreshed = scanner_->modernRefresh();
  ASSERT_EQ(refreshed.size(), scanned.size());
  for (size_t i = 0; i < scanned.size(); ++i) {
    EXPECT_EQ(refreshed[i].windowID, scanned[i].windowID);
  }
  EXPECT_EQ(world().readCount(401), reads + 2);  // position and size only
  EXPECT_FALSE(scanner_->withModernState([](auto& s) { return s.invalidated; }));
  world().quit(401);
  EXPECT_EQ(scanner_->modernRefresh().size(), 4U);
  EXPECT_TRUE(scanner_->withModernState([](auto& s) { return s.invalidated; }));
}

TEST_F(ScannerOnSim, ModernRefreshKeepsASlowAppsItemWithoutAskingForAScan) {
  make(testing::scenario(27, 1512, 190.0, 330,
                         {slowApp(400, "fast", sim::AXMode::normal, 5),
                          slowApp(401, "slow", sim::AXMode::normal, 5)}));
  const auto scanned = scanner_->scan();
  ASSERT_EQ(scanned.size(), 2U);
  // The app slows down: its elements' reads (given 0.5 s) time out.
  world().setAccessibility(401, sim::AXMode::normal, 650);
  const auto refreshed = scanner_->modernRefresh();
  EXPECT_EQ(refreshed.size(), 2U);
  EXPECT_FALSE(scanner_->withModernState([](auto& s) { return s.invalidated; }));
}

TEST_F(ScannerOnSim, ElementsWithoutAWindowGetAStableWindowIDOfTheirOwn) {
  make(crowdedModern(3));
  const auto first = scanner_->scan();
  const auto again = scanner_->scan();
  ASSERT_EQ(first.size(), again.size());
  for (size_t i = 0; i < first.size(); ++i) EXPECT_EQ(first[i].windowID, again[i].windowID);
}

// An app may answer for its application element and then hang on every
// other element. Each read of its tree waits at most the time-out its pass
// or its item gave the element, never the system's default.
TEST_F(ScannerOnSim, AppThatHangsAfterItsExtrasBarCostsNoMoreThanThePassTimeOut) {
  for (const int version : {15, 27}) {
    SCOPED_TRACE(version);
    auto hangs = slowApp(401, "hangs", sim::AXMode::hangsAfterExtrasBar, 5);
    hangs.items.push_back(item("hangs2", 30));
    hangs.items[1].group = "pair";
    make(testing::scenario(version, 1512, 190.0, 330,
                           {slowApp(400, "fast", sim::AXMode::normal, 5), hangs}));
    const TimePoint start = ex_.now();
    const auto items = scanner_->scan();
    const Duration took = ex_.now() - start;
    EXPECT_LT(took, seconds(1.0)) << "one pass: the extras bar's children waited 0.4 s";
    EXPECT_GT(took, seconds(0.4));
    ASSERT_EQ(items.size(), 3U);
    EXPECT_EQ(std::count_if(items.begin(), items.end(), [](auto& i) { return !i.owner; }), 2);
    EXPECT_EQ(mac_->accessibility().callsAtDefaultTimeout(), 0);
  }
}

// The second pass gives the app's extras bar 1.0 s, but each of its status
// items gets half a second before its frame is read: an app that needs 0.7 s
// per answer has its bar read and its items skipped.
TEST_F(ScannerOnSim, ItemsGetHalfASecondBeforeTheirFrameIsRead) {
  make(testing::scenario(15, 1440, std::nullopt, 300,
                         {slowApp(400, "fast", sim::AXMode::normal, 5),
                          slowApp(401, "slow", sim::AXMode::normal, 700)}));
  const TimePoint start = ex_.now();
  const auto items = scanner_->scan();
  ASSERT_EQ(items.size(), 2U);
  EXPECT_EQ(std::count_if(items.begin(), items.end(), [](auto& i) { return i.owner; }), 1);
  // 0.4 s in the first pass, then the bar and its children at 0.7 s each and
  // the position's half second.
  EXPECT_LT(ex_.now() - start, seconds(0.4 + 0.7 + 0.7 + 0.5 + 0.01));
}

TEST_F(ScannerOnSim, NoReadOfAScanOrRefreshWaitsForTheDefaultTimeOut) {
  for (const int version : {15, 27}) {
    SCOPED_TRACE(version);
    auto scenario = crowdedModern(16);
    scenario.osMajorVersion = version;
    scenario.apps[0].items.push_back(item("grouped", 30));
    scenario.apps[0].items[0].group = "pair";
    scenario.apps[0].items[1].group = "pair";
    scenario.apps.push_back(slowApp(450, "slow", sim::AXMode::normal, 450));
    scenario.apps.push_back(slowApp(451, "mute", sim::AXMode::never, 0));
    make(scenario);
    (void)scanner_->scan();
    if (version == 27) (void)scanner_->modernRefresh();
    (void)layout_->snapshot(ItemScanner::kSnapshotTimeout);
    EXPECT_GT(world().readCount(450), 0);
    EXPECT_EQ(mac_->accessibility().callsAtDefaultTimeout(), 0);
  }
}

// On the modern bar a status window that no element stands on is an item
// all the same, without owner: drawn ones in their place among the drawn
// items, hidden ones after every other item.
TEST_F(ScannerOnSim, ModernScanListsWindowsOfSilentAppsWithoutOwner) {
  auto scenario = crowdedModern(18);
  // One silent app at the right end (drawn) and one at the left (hidden).
  scenario.apps.insert(scenario.apps.begin(), slowApp(450, "mute", sim::AXMode::never, 0));
  auto bare = slowApp(451, "bare", sim::AXMode::noExtrasMenuBar, 0);
  scenario.apps.push_back(bare);
  make(scenario);
  const auto items = scanner_->scan();
  ASSERT_EQ(items.size(), 20U);
  std::map<pid_t, const MenuBarItem*> orphans;
  for (const auto& i : items) {
    const auto state = world().statusItem(i.windowID);
    ASSERT_TRUE(state) << "every item is a status window, and the » button is none";
    EXPECT_EQ(state->placed.isDrawn(), i.isOnScreen) << state->item.key;
    if (!i.owner) orphans[state->pid] = &i;
  }
  ASSERT_EQ(orphans.size(), 2U);
  ASSERT_TRUE(orphans.contains(450) && orphans.contains(451));
  EXPECT_TRUE(orphans[450]->isOnScreen);
  EXPECT_FALSE(orphans[451]->isOnScreen);
  EXPECT_EQ(&items.back(), orphans[451]) << "hidden and without owner: last";
  // The drawn ones, owners or not, run left to right.
  size_t drawn = 0;
  while (drawn < items.size() && items[drawn].isOnScreen) ++drawn;
  for (size_t i = drawn; i < items.size(); ++i) EXPECT_FALSE(items[i].isOnScreen);
  for (size_t i = 1; i < drawn; ++i) EXPECT_LT(items[i - 1].frame.minX(), items[i].frame.minX());
  EXPECT_NE(log().find("items=20 "), std::string::npos);
}

TEST(ItemScannerOwnFrames, SupplierIsReplaceableAndEmptyByDefault) {
  EXPECT_TRUE(ItemScanner::ownFrames().empty());
  ItemScanner::setOwnFrames([] { return std::vector<Rect>{{1, 0, 30, 24}}; });
  EXPECT_EQ(ItemScanner::ownFrames().size(), 1U);
  ItemScanner::setOwnFrames(nullptr);
  EXPECT_TRUE(ItemScanner::ownFrames().empty());
}

}  // namespace
}  // namespace kestrune
