#include "sim/sim_accessibility.hpp"

#include <gtest/gtest.h>

#include "core/virtual_executors.hpp"
#include "discovery/ax_reads.hpp"
#include "sim/sim_mac.hpp"
#include "support/scenarios.hpp"

namespace kestrune::sim {
namespace {

using testing::app;
using testing::item;

class SimAccessibilityTest : public ::testing::Test {
 protected:
  void make(int version, std::vector<ScenarioApp> apps) {
    mac_ = std::make_unique<SimMac>(testing::scenario(version, 1512, 190.0, 330, std::move(apps)),
                                    executors_);
  }
  Accessibility& ax() { return mac_->platform().accessibility; }
  std::vector<AXElement> barChildren(pid_t pid) {
    const auto bar = ax::attribute<AXElement>(ax(), ax().createApplication(pid), "AXExtrasMenuBar");
    return ax::attribute<std::vector<AXElement>>(ax(), *bar, "AXChildren").value();
  }
  std::string role(const AXElement& e) { return ax::stringOrEmpty(ax(), e, "AXRole"); }

  VirtualExecutors executors_;
  std::unique_ptr<SimMac> mac_;
};

ScenarioApp grouped() {
  auto a = app(401, "com.example.a", "A", {item("a1", 30), item("a2", 30), item("a3", 30)});
  a.items[0].group = "g";
  a.items[1].group = "g";
  a.items[0].title = "first";
  return a;
}

TEST_F(SimAccessibilityTest, LegacyExtrasBarListsItemsFlatInTheAppsOrder) {
  make(15, {grouped()});
  const auto children = barChildren(401);
  ASSERT_EQ(children.size(), 3U);
  for (const auto& c : children) EXPECT_EQ(role(c), "AXMenuBarItem");
  EXPECT_EQ(ax::stringOrEmpty(ax(), children[0], "AXTitle"), "first");
}

TEST_F(SimAccessibilityTest, ModernExtrasBarGroupsItems) {
  make(27, {grouped()});
  const auto children = barChildren(401);
  ASSERT_EQ(children.size(), 2U);
  EXPECT_EQ(role(children[0]), "AXGroup");
  EXPECT_EQ(role(children[1]), "AXMenuBarItem");
  const auto inGroup = ax::attribute<std::vector<AXElement>>(ax(), children[0], "AXChildren");
  ASSERT_EQ(inGroup->size(), 2U);
  EXPECT_EQ(ax::stringOrEmpty(ax(), (*inGroup)[0], "AXTitle"), "first");
}

TEST_F(SimAccessibilityTest, AppWithoutExtrasMenuBarAnswersNoValue) {
  auto a = app(401, "com.example.a", "A", {});
  a.accessibility = AXMode::noExtrasMenuBar;
  make(15, {a});
  AXAnyValue value;
  EXPECT_EQ(ax().copyAttributeValue(ax().createApplication(401), "AXExtrasMenuBar", value),
            AXError::noValue);
}

TEST_F(SimAccessibilityTest, SilentAppTimesOutAfterTheDefaultWhenNoneWasSet) {
  auto a = app(401, "com.example.a", "A", {});
  a.accessibility = AXMode::never;
  make(15, {a});
  AXAnyValue value;
  const TimePoint before = executors_.now();
  EXPECT_EQ(ax().copyAttributeValue(ax().createApplication(401), "AXRole", value),
            AXError::cannotComplete);
  EXPECT_NEAR(toSeconds(executors_.now() - before), SimAccessibility::kDefaultTimeout, 1e-6);
}

TEST_F(SimAccessibilityTest, TimeOutBelongsToTheElementItWasSetOn) {
  auto a = app(401, "com.example.a", "A", {item("a1", 30)});
  a.latencyMs = 300;
  make(15, {a});
  const AXElement application = ax().createApplication(401);
  ax().setMessagingTimeout(application, 0.2F);
  AXAnyValue value;
  EXPECT_EQ(ax().copyAttributeValue(application, "AXRole", value), AXError::cannotComplete);
  // Another reference to the same app has its own (default) time-out.
  EXPECT_EQ(ax().copyAttributeValue(ax().createApplication(401), "AXRole", value),
            AXError::success);
  const AXElement copy = application;  // NOLINT(performance-unnecessary-copy-initialization)
  EXPECT_EQ(ax().copyAttributeValue(copy, "AXRole", value), AXError::cannotComplete);
}

TEST_F(SimAccessibilityTest, ElementsOfAQuitAppAreInvalid) {
  make(15, {app(401, "com.example.a", "A", {item("a1", 30)})});
  const AXElement element = barChildren(401).front();
  mac_->world().quit(401);
  AXAnyValue value;
  EXPECT_EQ(ax().copyAttributeValue(element, "AXTitle", value), AXError::invalidUIElement);
  EXPECT_EQ(ax().performAction(element, "AXPress"), AXError::invalidUIElement);
}

TEST_F(SimAccessibilityTest, PressingAStatusItemOpensItsMenu) {
  make(15, {app(401, "com.example.a", "A", {item("a1", 30), item("a2", 30)})});
  const auto children = barChildren(401);
  EXPECT_EQ(ax().performAction(children[1], "AXPress"), AXError::success);
  EXPECT_EQ(ax().performAction(children[1], "AXShowMenu"), AXError::actionUnsupported);
  EXPECT_EQ(ax().performAction(ax().createApplication(401), "AXPress"), AXError::actionUnsupported);
  const auto presses = mac_->world().presses();
  ASSERT_EQ(presses.size(), 1U);
  EXPECT_EQ(presses[0].key, "a2");
  EXPECT_EQ(presses[0].pid, 401);
}

TEST_F(SimAccessibilityTest, HostsOfTheAgentAnswerWithTheirAppsProcess) {
  make(27, {app(401, "com.example.a", "A", {item("a1", 30)}),
            app(402, "com.example.b", "B", {item("b1", 30)})});
  const pid_t agent = mac_->world().scenario().menuBar.agentPID;
  const auto windows =
      ax::attribute<std::vector<AXElement>>(ax(), ax().createApplication(agent), "AXChildren");
  ASSERT_EQ(windows->size(), 1U);
  EXPECT_EQ(role(windows->front()), "AXWindow");
  const auto hosts =
      ax::attribute<std::vector<AXElement>>(ax(), windows->front(), "AXChildrenInNavigationOrder");
  ASSERT_EQ(hosts->size(), 2U);
  std::vector<pid_t> pids;
  for (const auto& h : *hosts) {
    pid_t pid = 0;
    EXPECT_EQ(ax().getPid(h, pid), AXError::success);
    pids.push_back(pid);
  }
  EXPECT_EQ(pids, (std::vector<pid_t>{401, 402}));
  // Nothing is hidden: the agent's extras bar holds only its empty group.
  const auto agentBar = barChildren(agent);
  ASSERT_EQ(agentBar.size(), 1U);
  EXPECT_EQ(role(agentBar[0]), "AXGroup");
}

TEST_F(SimAccessibilityTest, TrustFollowsTheScenario) {
  Scenario s = testing::scenario(15, 1440, std::nullopt, 300, {});
  s.permissions.accessibility = false;
  SimMac mac(s, executors_);
  EXPECT_FALSE(mac.platform().accessibility.isProcessTrusted());
  EXPECT_FALSE(mac.platform().accessibility.isProcessTrustedWithOptions(false));
}

}  // namespace
}  // namespace kestrune::sim

namespace kestrune::sim {
namespace {

TEST(SimAccessibilityTrust, UntrustedProcessGetsAPIDisabled) {
  Scenario s =
      testing::scenario(15, 1440, std::nullopt, 300,
                        {testing::app(401, "com.example.a", "A", {testing::item("a", 30)})});
  s.permissions.accessibility = false;
  VirtualExecutors executors;
  SimMac mac(s, executors);
  auto& ax = mac.platform().accessibility;
  AXAnyValue value;
  EXPECT_EQ(ax.copyAttributeValue(ax.createApplication(401), "AXExtrasMenuBar", value),
            AXError::apiDisabled);
  EXPECT_EQ(ax.performAction(ax.createApplication(401), "AXPress"), AXError::apiDisabled);
}

}  // namespace
}  // namespace kestrune::sim
