#include "app/permissions.hpp"

#include <gtest/gtest.h>

#include <atomic>

#include "core/thread_executors.hpp"
#include "core/virtual_executors.hpp"
#include "sim/sim_mac.hpp"
#include "support/fake_platform.hpp"
#include "support/scenarios.hpp"

namespace kestrune {
namespace {

constexpr Duration kTwoMinutes = std::chrono::seconds(120);
const std::string kPane =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_ScreenCapture";

// Kestrune on a simulated Mac whose user has not granted Screen Recording.
class PermissionsTest : public ::testing::Test {
 protected:
  explicit PermissionsTest(bool granted = false, std::string bundlePath = {}) {
    auto s = testing::scenario(
        15, 1440, std::nullopt, 300,
        {testing::app(1000, "com.kestrune.Kestrune", "Kestrune", {testing::item("kestrune", 30)})});
    s.permissions.screenRecording = granted;
    if (!bundlePath.empty()) s.bundlePath = std::move(bundlePath);
    mac_ = std::make_unique<sim::SimMac>(std::move(s), executors_);
    permissions_ = std::make_unique<Permissions>(mac_->platform());
  }
  sim::World& world() { return mac_->world(); }
  void advance(double s) { executors_.advance(seconds(s)); }
  [[nodiscard]] bool relaunched() const {
    const auto opened = mac_->world().openedApplications();
    return opened.size() == 1 && opened[0].bundlePath == "/Applications/Kestrune.app" &&
           opened[0].createsNewInstance;
  }

  VirtualExecutors executors_;
  std::unique_ptr<sim::SimMac> mac_;
  std::unique_ptr<Permissions> permissions_;
};

TEST_F(PermissionsTest, GrantedThirtySecondsLaterRelaunchesWithinASecond) {
  permissions_->requestScreenRecordingAndRelaunch(kTwoMinutes);
  EXPECT_EQ(world().screenRecordingRequests(), 1);
  EXPECT_EQ(world().openedURLs(), std::vector<std::string>{kPane});
  advance(30);
  world().grantScreenRecording();
  EXPECT_TRUE(world().openedApplications().empty());
  advance(1);
  EXPECT_TRUE(relaunched());
  EXPECT_EQ(world().terminateCount(), 1);
  // Once relaunched the request is over.
  EXPECT_EQ(permissions_->pendingRequests(), 0U);
  advance(300);
  EXPECT_EQ(world().openedApplications().size(), 1U);
  EXPECT_EQ(world().terminateCount(), 1);
}

TEST_F(PermissionsTest, AUserWhoGrantsAfterADelayIsNoticedAtTheNextCheck) {
  auto s = world().scenario();
  s.permissions.screenRecordingGrantedAfterSeconds = 30.5;
  mac_.reset();
  mac_ = std::make_unique<sim::SimMac>(std::move(s), executors_);
  permissions_ = std::make_unique<Permissions>(mac_->platform());
  permissions_->requestScreenRecordingAndRelaunch(kTwoMinutes);
  advance(30.9);
  EXPECT_TRUE(world().screenRecordingGranted());
  EXPECT_FALSE(world().terminated());
  advance(0.2);  // the check at 31 s
  EXPECT_TRUE(relaunched());
  EXPECT_TRUE(world().terminated());
}

TEST_F(PermissionsTest, NotGrantedWithinTheTimeOutNeverRelaunches) {
  permissions_->requestScreenRecordingAndRelaunch(kTwoMinutes);
  advance(125);
  EXPECT_EQ(permissions_->pendingRequests(), 0U);
  world().grantScreenRecording();
  advance(600);
  EXPECT_TRUE(world().openedApplications().empty());
  EXPECT_FALSE(world().terminated());
}

TEST_F(PermissionsTest, ChecksUntilTheDeadlineHasPassed) {
  permissions_->requestScreenRecordingAndRelaunch(kTwoMinutes);
  advance(120);  // the check at 120 s is not later than the deadline
  EXPECT_EQ(permissions_->pendingRequests(), 1U);
  world().grantScreenRecording();
  advance(1);  // the grant is seen before the deadline is
  EXPECT_TRUE(relaunched());
}

TEST_F(PermissionsTest, ARequestThatOutlivedItsDeadlineStopsAtItsNextCheck) {
  permissions_->requestScreenRecordingAndRelaunch(seconds(2.5));
  advance(2);
  EXPECT_EQ(permissions_->pendingRequests(), 1U);
  advance(1);
  EXPECT_EQ(permissions_->pendingRequests(), 0U);
  advance(1);  // the timer's last armed tick is dropped, not run and re-armed
  EXPECT_EQ(executors_.pendingCount(), 0U) << "the timer still ticks";
}

TEST_F(PermissionsTest, TwoRequestsWaitIndependently) {
  permissions_->requestScreenRecordingAndRelaunch(kTwoMinutes);
  advance(60);
  permissions_->requestScreenRecordingAndRelaunch(seconds(10));
  EXPECT_EQ(world().openedURLs().size(), 2U);
  EXPECT_EQ(permissions_->pendingRequests(), 2U);
  advance(15);  // the second has given up; the first still waits
  EXPECT_EQ(permissions_->pendingRequests(), 1U);
  world().grantScreenRecording();
  advance(1);
  EXPECT_TRUE(relaunched());
  EXPECT_EQ(world().terminateCount(), 1);
}

TEST_F(PermissionsTest, TwoPendingRequestsEachSeeTheGrant) {
  permissions_->requestScreenRecordingAndRelaunch(kTwoMinutes);
  advance(0.5);
  permissions_->requestScreenRecordingAndRelaunch(kTwoMinutes);
  advance(10);
  world().grantScreenRecording();
  advance(1);
  EXPECT_EQ(world().openedApplications().size(), 2U);
  EXPECT_EQ(permissions_->pendingRequests(), 0U);
}

class AlreadyGranted : public PermissionsTest {
 protected:
  AlreadyGranted() : PermissionsTest(true) {}
};

TEST_F(AlreadyGranted, RequestReturnsAtOnceAndOpensNothing) {
  permissions_->requestScreenRecordingAndRelaunch(kTwoMinutes);
  EXPECT_EQ(world().screenRecordingRequests(), 1);
  EXPECT_EQ(executors_.pendingCount(), 0U);
  advance(600);
  EXPECT_TRUE(world().openedURLs().empty());
  EXPECT_TRUE(world().openedApplications().empty());
  EXPECT_FALSE(world().terminated());
}

class OutsideABundle : public PermissionsTest {
 protected:
  OutsideABundle() : PermissionsTest(false, "/usr/local/bin") {}
};

TEST_F(OutsideABundle, RelaunchDoesNothing) {
  permissions_->relaunch();
  executors_.runUntilIdle();
  EXPECT_TRUE(world().openedApplications().empty());
  EXPECT_FALSE(world().terminated());
}

TEST_F(OutsideABundle, AGrantDoesNotQuitTheApp) {
  permissions_->requestScreenRecordingAndRelaunch(kTwoMinutes);
  world().grantScreenRecording();
  advance(5);
  EXPECT_TRUE(world().openedApplications().empty());
  EXPECT_FALSE(world().terminated());
  EXPECT_EQ(permissions_->pendingRequests(), 0U);
}

// Exact replies from the workspace.
class RelaunchTest : public ::testing::Test {
 protected:
  testing::FakePlatform f_;
  Platform platform_ = f_.platform();
  Permissions permissions_{platform_};
};

TEST_F(RelaunchTest, OpensANewInstanceOfTheBundleThenQuitsOnTheMainThread) {
  f_.workspace.completesAtOnce = false;
  permissions_.relaunch();
  ASSERT_EQ(f_.workspace.openedApplications.size(), 1U);
  EXPECT_EQ(f_.workspace.openedApplications[0].bundlePath, "/Applications/Kestrune.app");
  EXPECT_TRUE(f_.workspace.openedApplications[0].createsNewInstance);
  f_.executors.runUntilIdle();
  EXPECT_EQ(f_.application.terminations, 0) << "not before the open completes";
  ASSERT_EQ(f_.workspace.heldCompletions.size(), 1U);
  f_.workspace.heldCompletions[0](true);
  EXPECT_EQ(f_.application.terminations, 0) << "only from the main executor";
  f_.executors.runUntilIdle();
  EXPECT_EQ(f_.application.terminations, 1);
}

TEST_F(RelaunchTest, AFailedOpenStillQuits) {
  f_.workspace.openSucceeds = false;
  permissions_.relaunch();
  f_.executors.runUntilIdle();
  EXPECT_EQ(f_.workspace.openedApplications.size(), 1U);
  EXPECT_EQ(f_.application.terminations, 1);
}

TEST_F(RelaunchTest, ABundlePathWithATrailingSlashIsStillTheApp) {
  f_.application.path = "/Applications/Kestrune.app/";
  permissions_.relaunch();
  f_.executors.runUntilIdle();
  EXPECT_EQ(f_.application.terminations, 1);
}

TEST_F(RelaunchTest, OnlyAnAppBundleIsOpened) {
  for (const char* path : {"/Applications/Kestrune", "/opt/kestrune/build/src",
                           "/Applications/Kestrune.application", "/tmp/.app", ""}) {
    f_.application.path = path;
    permissions_.relaunch();
    f_.executors.runUntilIdle();
    EXPECT_TRUE(f_.workspace.openedApplications.empty()) << path;
    EXPECT_EQ(f_.application.terminations, 0) << path;
  }
}

TEST_F(RelaunchTest, AlreadyGrantedNeedsNoRelaunch) {
  f_.screenCapture.granted = true;
  permissions_.requestScreenRecordingAndRelaunch(kTwoMinutes);
  f_.executors.advance(std::chrono::seconds(200));
  EXPECT_EQ(f_.screenCapture.requests, 1);
  EXPECT_TRUE(f_.workspace.openedURLs.empty());
  EXPECT_TRUE(f_.workspace.openedApplications.empty());
}

// Kestrune's process on real threads: the open completes on a worker, and
// the quit must still come on the main thread.
class QuittingApplication final : public Application {
 public:
  QuittingApplication(Application& inner, ThreadExecutors& executors)
      : inner_(inner), executors_(executors) {}
  std::string bundlePath() override { return inner_.bundlePath(); }
  std::optional<std::string> infoString(const std::string& key) override {
    return inner_.infoString(key);
  }
  void terminate() override {
    onMainThread = executors_.main().isMainThread();
    inner_.terminate();
    executors_.stop();
  }
  Menu mainMenu() override { return inner_.mainMenu(); }
  void setMainMenu(Menu menu) override { inner_.setMainMenu(std::move(menu)); }
  void setMinimalMainMenu(const std::string& title) override { inner_.setMinimalMainMenu(title); }
  void setActivationPolicy(ActivationPolicy policy) override { inner_.setActivationPolicy(policy); }
  void deactivate() override { inner_.deactivate(); }
  void activateIgnoringOtherApps() override { inner_.activateIgnoringOtherApps(); }
  std::atomic<bool> onMainThread{false};

 private:
  Application& inner_;
  ThreadExecutors& executors_;
};

TEST(RelaunchOnThreads, QuitsOnTheMainThreadAfterTheOpenCompletes) {
  ThreadExecutors executors(2);
  sim::SimMac mac(testing::scenario(15, 1440, std::nullopt, 300, {}), executors);
  const Platform& sim = mac.platform();
  QuittingApplication application(sim.application, executors);
  const Platform platform{sim.accessibility, sim.windowServer, sim.workspace, sim.screens,
                          sim.system,        sim.fileSystem,   sim.defaults,  sim.screenCapture,
                          sim.imageCodec,    application,      sim.events,    executors};
  Permissions permissions(platform);
  executors.main().post([&] { permissions.relaunch(); });
  executors.run();
  EXPECT_TRUE(application.onMainThread);
  EXPECT_EQ(mac.world().terminateCount(), 1);
  ASSERT_EQ(mac.world().openedApplications().size(), 1U);
  EXPECT_TRUE(mac.world().openedApplications()[0].createsNewInstance);
}

TEST(PathExtension, IsTheLastComponentsSuffix) {
  EXPECT_TRUE(Permissions::hasPathExtension("/Applications/Kestrune.app", "app"));
  EXPECT_TRUE(Permissions::hasPathExtension("/Applications/Kestrune.app//", "app"));
  EXPECT_TRUE(Permissions::hasPathExtension("Kestrune.app", "app"));
  EXPECT_TRUE(Permissions::hasPathExtension("/a.b/Kestrune.v2.app", "app"));
  EXPECT_FALSE(Permissions::hasPathExtension("/Applications/Kestrune.app/Contents", "app"));
  EXPECT_FALSE(Permissions::hasPathExtension("/x.app/Kestrune", "app"));
  EXPECT_FALSE(Permissions::hasPathExtension("/Applications/Kestrune.APP", "app"));
  EXPECT_FALSE(Permissions::hasPathExtension("/Applications/.app", "app"));
  EXPECT_FALSE(Permissions::hasPathExtension("/", "app"));
}

}  // namespace
}  // namespace kestrune
