#include "sim/sim_ports.hpp"

#include <gtest/gtest.h>

#include "core/virtual_executors.hpp"
#include "discovery/ax_reads.hpp"
#include "sim/permissions_report.hpp"
#include "sim/sim_mac.hpp"
#include "sim/sim_screen_capture.hpp"
#include "support/scenarios.hpp"

namespace kestrune::sim {
namespace {

using testing::app;
using testing::item;

Scenario twoApps(int version = 15) {
  return testing::scenario(
      version, 1440, std::nullopt, 300,
      {app(401, "com.example.a", "A", {item("a1", 30), item("a2", 40)}),
       app(1000, "com.kestrune.Kestrune", "Kestrune", {item("kestrune", 30)})});
}

class SimPortsTest : public ::testing::Test {
 protected:
  void make(Scenario s) { mac_ = std::make_unique<SimMac>(std::move(s), executors_); }
  const Platform& platform() { return mac_->platform(); }
  World& world() { return mac_->world(); }
  StatusItemState itemNamed(const std::string& key) {
    for (const auto& i : world().statusItems()) {
      if (i.item.key == key) return i;
    }
    ADD_FAILURE() << "no item " << key;
    return {};
  }
  std::optional<std::string> nameOf(uint32_t windowID) {
    for (const auto& w : world().windowList(WindowListOption::all)) {
      if (w.number == windowID) return w.name;
    }
    return std::nullopt;
  }

  VirtualExecutors executors_;
  std::unique_ptr<SimMac> mac_;
};

TEST_F(SimPortsTest, OpenedURLsAreRecorded) {
  make(twoApps());
  EXPECT_TRUE(platform().workspace.openURL("x-apple.systempreferences:pane"));
  EXPECT_FALSE(platform().workspace.openURL("no scheme"));
  EXPECT_EQ(world().openedURLs(),
            (std::vector<std::string>{"x-apple.systempreferences:pane", "no scheme"}));
}

TEST_F(SimPortsTest, AnOpenedAppIsRecordedAndCompletesOffTheCallersTurn) {
  make(twoApps());
  std::vector<bool> results;
  platform().workspace.openApplication("/Applications/Kestrune.app", true,
                                       [&](bool ok) { results.push_back(ok); });
  platform().workspace.openApplication("/Applications/A.app", false,
                                       [&](bool ok) { results.push_back(ok); });
  platform().workspace.openApplication("/Applications/Missing.app", false,
                                       [&](bool ok) { results.push_back(ok); });
  EXPECT_TRUE(results.empty());
  executors_.runUntilIdle();
  EXPECT_EQ(results, (std::vector<bool>{true, true, false}));
  const auto opened = world().openedApplications();
  ASSERT_EQ(opened.size(), 3U);
  EXPECT_EQ(opened[0].bundlePath, "/Applications/Kestrune.app");
  EXPECT_TRUE(opened[0].createsNewInstance);
  EXPECT_FALSE(opened[1].createsNewInstance);
}

TEST_F(SimPortsTest, TheApplicationIsTheScenariosBundleAndTerminatesIntoTheWorld) {
  Scenario s = twoApps();
  s.bundlePath = "/Users/me/Applications/Kestrune.app";
  make(s);
  EXPECT_EQ(platform().application.bundlePath(), "/Users/me/Applications/Kestrune.app");
  std::optional<bool> reopened;
  platform().workspace.openApplication(platform().application.bundlePath(), true,
                                       [&](bool ok) { reopened = ok; });
  executors_.runUntilIdle();
  EXPECT_EQ(reopened, true);
  EXPECT_FALSE(world().terminated());
  platform().application.terminate();
  EXPECT_TRUE(world().terminated());
  EXPECT_EQ(world().terminateCount(), 1);
}

TEST_F(SimPortsTest, ScreenRecordingCanBeGrantedAndRevokedWhileRunning) {
  Scenario s = twoApps();
  s.permissions.screenRecording = false;
  make(s);
  auto& capture = platform().screenCapture;
  const uint32_t a1 = itemNamed("a1").windowID;
  EXPECT_FALSE(capture.preflightAccess());
  EXPECT_FALSE(capture.shareableContent(true, true));
  EXPECT_EQ(nameOf(a1), std::nullopt);

  world().grantScreenRecording();
  EXPECT_TRUE(capture.preflightAccess());
  EXPECT_TRUE(capture.requestAccess());
  EXPECT_TRUE(capture.shareableContent(true, true));
  EXPECT_EQ(nameOf(a1), "Item-0");

  world().revokeScreenRecording();
  EXPECT_FALSE(capture.preflightAccess());
  EXPECT_EQ(world().screenRecordingRequests(), 1);
}

TEST_F(SimPortsTest, TheUserGrantsScreenRecordingSomeSecondsAfterTheFirstRequest) {
  Scenario s = twoApps();
  s.permissions.screenRecording = false;
  s.permissions.screenRecordingGrantedAfterSeconds = 30;
  make(s);
  auto& capture = platform().screenCapture;
  executors_.advance(std::chrono::seconds(100));
  EXPECT_FALSE(capture.preflightAccess()) << "nothing was asked yet";
  EXPECT_FALSE(capture.requestAccess());
  executors_.advance(std::chrono::seconds(20));
  EXPECT_FALSE(capture.requestAccess());  // a later request does not restart the delay
  executors_.advance(std::chrono::seconds(9));
  EXPECT_FALSE(capture.preflightAccess());
  executors_.advance(std::chrono::seconds(1));
  EXPECT_TRUE(capture.preflightAccess());
  EXPECT_EQ(world().screenRecordingRequests(), 2);
}

TEST_F(SimPortsTest, ARebuiltItemHasANewWindowAndItsOldElementIsInvalid) {
  make(twoApps());
  Accessibility& ax = platform().accessibility;
  const auto bar = ax::attribute<AXElement>(ax, ax.createApplication(401), "AXExtrasMenuBar");
  const auto before = ax::attribute<std::vector<AXElement>>(ax, *bar, "AXChildren").value();
  const auto a2 = itemNamed("a2");
  const auto rebuilt = world().rebuildItem("a2");
  ASSERT_TRUE(rebuilt);
  EXPECT_NE(*rebuilt, a2.windowID);
  EXPECT_FALSE(world().statusItem(a2.windowID));
  const auto now = world().statusItem(*rebuilt);
  ASSERT_TRUE(now);
  EXPECT_EQ(now->placed.frame, a2.placed.frame);  // same place on the bar
  EXPECT_EQ(ax.performAction(before[1], "AXPress"), AXError::invalidUIElement);
  AXAnyValue value;
  EXPECT_EQ(ax.copyAttributeValue(before[1], "AXTitle", value), AXError::invalidUIElement);
  EXPECT_EQ(ax.performAction(before[0], "AXPress"), AXError::success);  // a1 is untouched
  EXPECT_FALSE(world().rebuildItem("nosuch"));

  const auto after = ax::attribute<std::vector<AXElement>>(ax, *bar, "AXChildren").value();
  EXPECT_EQ(ax.performAction(after[1], "AXPress"), AXError::success);
  ASSERT_TRUE(world().openMenu());
  EXPECT_EQ(world().openMenu()->windowID, *rebuilt);
  const auto windows = world().windowList(WindowListOption::all);
  EXPECT_TRUE(std::any_of(windows.begin(), windows.end(),
                          [&](const WindowInfo& w) { return w.number == *rebuilt; }));
}

TEST_F(SimPortsTest, APressOpensTheItemsMenuUntilItsAppQuits) {
  make(twoApps());
  Accessibility& ax = platform().accessibility;
  EXPECT_FALSE(world().openMenu());
  const auto bar = ax::attribute<AXElement>(ax, ax.createApplication(401), "AXExtrasMenuBar");
  const auto items = ax::attribute<std::vector<AXElement>>(ax, *bar, "AXChildren").value();
  ASSERT_EQ(ax.performAction(items[0], "AXPress"), AXError::success);
  ASSERT_TRUE(world().openMenu());
  EXPECT_EQ(world().openMenu()->key, "a1");
  world().quit(401);
  EXPECT_FALSE(world().openMenu());
  EXPECT_EQ(world().presses().size(), 1U);
}

TEST(PermissionsReport, TellsWhenKestruneRelaunchesOrGivesUp) {
  Scenario s = twoApps();
  s.permissions.screenRecording = false;
  s.permissions.screenRecordingGrantedAfterSeconds = 30;
  {
    VirtualExecutors executors;
    SimMac mac(s, executors);
    const auto report = runPermissions(mac, executors, std::chrono::seconds(120));
    EXPECT_FALSE(report.grantedAtStart);
    ASSERT_EQ(report.openedApplications.size(), 1U);
    EXPECT_EQ(report.openedApplications[0].atSeconds, 30);
    EXPECT_TRUE(report.openedApplications[0].application.createsNewInstance);
    EXPECT_EQ(report.terminatedAtSeconds, 30);
    EXPECT_EQ(report.gaveUpAtSeconds, std::nullopt);
    EXPECT_NE(toText(report).find("At 30.0 s: Kestrune quit"), std::string::npos);
  }
  {
    VirtualExecutors executors;
    SimMac mac(s, executors);
    const auto report = runPermissions(mac, executors, std::chrono::seconds(20));
    EXPECT_TRUE(report.openedApplications.empty());
    EXPECT_EQ(report.terminatedAtSeconds, std::nullopt);
    EXPECT_EQ(report.gaveUpAtSeconds, 21);  // the first check past the deadline
    EXPECT_EQ(toJson(report)["openedURLs"].size(), 1U);
  }
}

}  // namespace
}  // namespace kestrune::sim
