// The updater on the simulated Mac: whether Sparkle is started at all, and
// where "Check for Updates…" goes.
#include "app/updater_manager.hpp"

#include <gtest/gtest.h>

#include "core/virtual_executors.hpp"
#include "sim/sim_mac.hpp"
#include "sim/sim_ports.hpp"
#include "sim/sim_updater.hpp"
#include "support/scenarios.hpp"

namespace kestrune {
namespace {

using Entries = std::vector<std::string>;

constexpr const char* kFeed = "https://updates.example.com/kestrune/appcast.xml";

class UpdaterTest : public ::testing::Test {
 protected:
  // Kestrune run from `bundlePath`, with a feed in its information
  // dictionary or none.
  UpdaterManager& start(std::string bundlePath, std::optional<std::string> feed) {
    auto s = testing::scenario(15, 1440, std::nullopt, 300, {});
    s.bundlePath = std::move(bundlePath);
    if (feed) s.infoDictionary["SUFeedURL"] = *feed;
    return startScenario(std::move(s));
  }
  UpdaterManager& startScenario(sim::Scenario scenario) {
    manager_.reset();
    mac_ = std::make_unique<sim::SimMac>(std::move(scenario), ex_);
    manager_ = std::make_unique<UpdaterManager>(mac_->application(), [this] {
      ++made_;
      return std::make_unique<sim::SimUpdater>(mac_->application(), ex_.main(), log_);
    });
    return *manager_;
  }

  VirtualExecutors ex_;
  sim::SimUpdaterLog log_;
  int made_ = 0;
  std::unique_ptr<sim::SimMac> mac_;
  std::unique_ptr<UpdaterManager> manager_;
};

TEST_F(UpdaterTest, WithoutAFeedNoUpdaterIsStarted) {
  UpdaterManager& manager = start("/Applications/Kestrune.app", std::nullopt);
  EXPECT_FALSE(manager.isAvailable());
  manager.checkForUpdates();
  EXPECT_EQ(made_, 0);
  EXPECT_TRUE(log_.entries().empty());
}

TEST_F(UpdaterTest, OutsideAnAppBundleNoUpdaterIsStartedEvenWithAFeed) {
  for (const std::string path :
       {"/usr/local/bin", "/Users/dev/kestrune/build/src/sim", "/Applications/Kestrune.app.zip"}) {
    SCOPED_TRACE(path);
    UpdaterManager& manager = start(path, kFeed);
    EXPECT_FALSE(manager.isAvailable());
    manager.checkForUpdates();
  }
  EXPECT_EQ(made_, 0);
  EXPECT_TRUE(log_.entries().empty());
}

TEST_F(UpdaterTest, APackagedBuildWithAFeedStartsOneUpdater) {
  UpdaterManager& manager = start("/Applications/Kestrune.app", kFeed);
  EXPECT_TRUE(manager.isAvailable());
  EXPECT_EQ(made_, 1);
  EXPECT_EQ(log_.entries(), Entries{std::string("start ") + kFeed});
  EXPECT_EQ(log_.userChecks(), 0);  // Sparkle's own schedule is its business
}

TEST_F(UpdaterTest, AnyBundleFolderWillDo) {
  // Unlike the login item, the updater does not care where the bundle is.
  EXPECT_TRUE(start("/Users/someone/Downloads/Kestrune.app", kFeed).isAvailable());
  EXPECT_EQ(made_, 1);
}

TEST_F(UpdaterTest, AnyFeedValueCounts) {
  EXPECT_TRUE(start("/Applications/Kestrune.app", "").isAvailable());
  EXPECT_EQ(log_.starts(), 1);
}

TEST_F(UpdaterTest, EveryCheckForUpdatesReachesTheUpdater) {
  UpdaterManager& manager = start("/Applications/Kestrune.app", kFeed);
  EXPECT_TRUE(manager.canCheckForUpdates());
  manager.checkForUpdates();
  ex_.advance(std::chrono::hours(30));  // any time later
  manager.checkForUpdates();
  const std::string check = std::string("check ") + kFeed;
  EXPECT_EQ(log_.entries(), (Entries{std::string("start ") + kFeed, check, check}));
  EXPECT_EQ(log_.starts(), 1);
  EXPECT_EQ(log_.userChecks(), 2);
}

// The updater itself says when a check may start: not while one runs.
TEST_F(UpdaterTest, NoSecondCheckWhileOneIsUnderWay) {
  UpdaterManager& manager = start("/Applications/Kestrune.app", kFeed);
  manager.checkForUpdates();
  EXPECT_FALSE(manager.canCheckForUpdates());
  ex_.advance(sim::SimUpdater::kCheckDuration);
  EXPECT_TRUE(manager.canCheckForUpdates());
  EXPECT_FALSE(start("/Applications/Kestrune.app", std::nullopt).canCheckForUpdates());
}

TEST_F(UpdaterTest, ABuildWithoutSparkleHasNoUpdater) {
  mac_ = std::make_unique<sim::SimMac>(
      [] {
        auto s = testing::scenario(15, 1440, std::nullopt, 300, {});
        s.infoDictionary["SUFeedURL"] = kFeed;
        return s;
      }(),
      ex_);
  int asked = 0;
  UpdaterManager none(mac_->application(), [&asked]() -> std::unique_ptr<UpdaterService> {
    ++asked;
    return nullptr;
  });
  EXPECT_EQ(asked, 1);
  EXPECT_FALSE(none.isAvailable());
  none.checkForUpdates();
  UpdaterManager empty(mac_->application(), UpdaterManager::ServiceFactory());
  EXPECT_FALSE(empty.isAvailable());
  empty.checkForUpdates();
}

TEST_F(UpdaterTest, TheFeedComesFromTheScenariosInformationDictionary) {
  UpdaterManager& manager = startScenario(sim::parseScenario(R"({
    "name": "t", "screens": [{}], "bundlePath": "/Applications/Kestrune.app",
    "infoDictionary": {"CFBundleVersion": "7", "SUFeedURL": "https://example.org/feed.xml"}})"));
  ASSERT_TRUE(manager.isAvailable());
  manager.checkForUpdates();
  EXPECT_EQ(log_.entries(),
            (Entries{"start https://example.org/feed.xml", "check https://example.org/feed.xml"}));
}

TEST_F(UpdaterTest, TheDefaultScenarioHasNoFeed) {
  EXPECT_FALSE(
      startScenario(sim::parseScenario(R"({"name": "t", "screens": [{}]})")).isAvailable());
  EXPECT_EQ(made_, 0);
}

TEST(SimUpdater, StartedWithoutAFeedSaysSo) {
  VirtualExecutors ex;
  sim::SimMac mac(testing::scenario(15, 1440, std::nullopt, 300, {}), ex);
  sim::SimUpdaterLog log;
  sim::SimUpdater updater(mac.application(), ex.main(), log);
  updater.checkForUpdates();
  EXPECT_EQ(log.entries(), (Entries{"start (no feed)", "check (no feed)"}));
}

}  // namespace
}  // namespace kestrune
