// Kestrune's process on the simulated Mac: quitting ends the instance and
// everything it made, and a relaunch starts afresh on the same home folder.
#include <gtest/gtest.h>

#include <filesystem>

#include "app/hotkey_manager.hpp"
#include "sim/builtin_scenarios.hpp"
#include "sim/instance_executors.hpp"
#include "sim/sim_app.hpp"
#include "sim/sim_ports.hpp"
#include "support/temp_home.hpp"

namespace kestrune {
namespace {

using std::chrono::milliseconds;
using std::chrono::minutes;

sim::Scenario crowdedLaptop() {
  return sim::parseScenario(sim::builtinScenario("laptop14-macos15")->json);
}

class AppLifecycleTest : public ::testing::Test {
 protected:
  void make(sim::Scenario scenario) {
    sim_ = std::make_unique<sim::SimApp>(std::move(scenario), ex_, home_.path());
  }
  // Launches and lets the first scan finish.
  void launch() {
    sim_->launch();
    ex_.advance(std::chrono::seconds(10));
  }
  bool pressShortcut() {
    return sim_->hotKeys().press(HotkeyManager::kKeyCode, HotkeyManager::kModifiers);
  }
  std::uintmax_t logSize() {
    ex_.runUntilIdle();
    return std::filesystem::file_size(sim_->logPath());
  }

  testing::TempHome home_;
  VirtualExecutors ex_;
  std::unique_ptr<sim::SimApp> sim_;
};

TEST_F(AppLifecycleTest, QuitFromItsMenuEndsTheAppAndARelaunchKeepsItsSettings) {
  make(crowdedLaptop());
  launch();
  sim_->app().store().set(&Settings::onlyHiddenItems, true);
  ASSERT_TRUE(pressShortcut());
  ex_.runUntilIdle();
  ASSERT_TRUE(sim_->panelWindow().isVisible());
  const std::weak_ptr<OverflowModel> model = sim_->app().model();
  const std::weak_ptr<StatusBarController> controller = sim_->app().statusBar();
  const auto logBefore = logSize();
  ASSERT_GT(logBefore, 0U);

  sim_->statusItem().answerMenu(StatusBarController::kQuitTitle);
  ASSERT_TRUE(sim_->statusItem().click(EventType::rightMouseUp));
  ex_.runUntilIdle();

  EXPECT_FALSE(sim_->isRunning());
  EXPECT_EQ(sim_->world().terminateCount(), 1);
  EXPECT_FALSE(sim_->world().ownStatusItem()) << "its item left the bar";
  EXPECT_EQ(sim_->statusBar().item(), nullptr);
  EXPECT_TRUE(sim_->hotKeys().registered().empty());
  EXPECT_FALSE(pressShortcut());
  EXPECT_FALSE(sim_->panelWindow().isVisible());
  EXPECT_TRUE(model.expired() && controller.expired()) << "its objects went with it";
  // Its timers and queued work are gone, and the log stays as it was.
  ex_.advance(minutes(5));
  EXPECT_EQ(ex_.pendingCount(), 0U);
  EXPECT_EQ(logSize(), logBefore);

  launch();
  ASSERT_TRUE(sim_->isRunning());
  EXPECT_EQ(sim_->launchCount(), 2);
  EXPECT_TRUE(sim_->app().store().settings().onlyHiddenItems) << "settings carry over";
  EXPECT_TRUE(sim_->world().ownStatusItem());
  EXPECT_TRUE(pressShortcut());
  EXPECT_GT(logSize(), logBefore) << "the new instance logs its launch";
}

TEST_F(AppLifecycleTest, AQuitFromOutsideStopsEveryTimerAndTheShortcut) {
  make(crowdedLaptop());
  launch();
  ASSERT_FALSE(sim_->hotKeys().registered().empty());
  ASSERT_GT(ex_.pendingCount(), 0U) << "a running app has timers";
  sim_->quit();
  EXPECT_TRUE(sim_->hotKeys().registered().empty());
  EXPECT_EQ(sim_->hotKeys().handlerCount(), 0U);
  ex_.advance(minutes(5));
  EXPECT_EQ(ex_.pendingCount(), 0U);
  EXPECT_EQ(sim_->takeOutcomes().back(), "Kestrune quit");
}

TEST_F(AppLifecycleTest, AScreenRecordingGrantRelaunchesIntoAFreshInstance) {
  auto scenario = crowdedLaptop();
  scenario.permissions.screenRecording = false;
  scenario.permissions.screenRecordingGrantedAfterSeconds = 5;
  make(std::move(scenario));
  sim_->alerts().answerNext(AppDelegate::kAllowScreenRecording);
  sim_->launch();
  ex_.advance(std::chrono::seconds(10));

  EXPECT_EQ(sim_->world().terminateCount(), 1);
  ASSERT_TRUE(sim_->isRunning()) << "the new instance runs";
  EXPECT_EQ(sim_->launchCount(), 2);
  EXPECT_TRUE(sim_->world().ownStatusItem());
  EXPECT_EQ(sim_->hotKeys().registered().size(), 1U) << "one instance holds the shortcut";
  const auto outcomes = sim_->takeOutcomes();
  const auto at = [&](const std::string& line) {
    return std::find(outcomes.begin(), outcomes.end(), line) - outcomes.begin();
  };
  EXPECT_LT(at("opened System Settings › Privacy & Security › Screen Recording"),
            at("opened a new instance of /Applications/Kestrune.app"));
  EXPECT_LT(at("opened a new instance of /Applications/Kestrune.app"), at("Kestrune quit"));
  EXPECT_LT(at("Kestrune quit"), at("Kestrune launched again"));
  EXPECT_LT(at("Kestrune launched again"), static_cast<std::ptrdiff_t>(outcomes.size()));
}

TEST(InstanceExecutorsTest, NothingQueuedRunsAfterTheProcessEnds) {
  VirtualExecutors base;
  sim::InstanceExecutors run(base);
  int ran = 0;
  run.main().post([&] { ++ran; });
  run.main().postAfter(milliseconds(50), [&] { ++ran; });
  run.background().post([&] { ++ran; });
  run.makeSerialQueue("q", QualityOfService::utility)->post([&] { ++ran; });
  Timer timer = run.main().scheduleRepeating(milliseconds(10), [&] { ++ran; });
  run.end();
  base.advance(milliseconds(100));
  EXPECT_EQ(ran, 0);
  EXPECT_EQ(base.pendingCount(), 0U);
}

TEST(InstanceExecutorsTest, AQueueThatOutlivesTheProcessRunsNothing) {
  VirtualExecutors base;
  std::shared_ptr<TaskQueue> queue;
  {
    sim::InstanceExecutors run(base);
    queue = run.makeSerialQueue("log", QualityOfService::utility);
  }
  int ran = 0;
  queue->post([&] { ++ran; });
  base.runUntilIdle();
  EXPECT_EQ(ran, 0);
}

TEST(InstanceExecutorsTest, ARunningInstancesTimerTicksUntilItIsInvalidated) {
  VirtualExecutors base;
  sim::InstanceExecutors run(base);
  int ticks = 0;
  Timer timer = run.main().scheduleRepeating(milliseconds(10), [&] { ++ticks; });
  base.advance(milliseconds(35));
  EXPECT_EQ(ticks, 3);
  timer.invalidate();
  base.advance(milliseconds(50));
  EXPECT_EQ(ticks, 3);
  EXPECT_EQ(base.pendingCount(), 0U);
}

}  // namespace
}  // namespace kestrune
