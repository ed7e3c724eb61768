// Kestrune as its own login item, launched again and again on one simulated
// Mac: the defaults domain and the login item service outlive each launch.
#include "app/launch_at_login.hpp"

#include <gtest/gtest.h>

#include <fstream>

#include "core/virtual_executors.hpp"
#include "sim/sim_login_items.hpp"
#include "sim/sim_mac.hpp"
#include "support/scenarios.hpp"
#include "support/temp_home.hpp"

namespace kestrune {
namespace {

using Status = LoginItems::Status;
using Changes = std::vector<std::string>;

constexpr const char* kFlag = "Kestrune.launchAtLoginDefaultApplied";

class LaunchAtLoginTest : public ::testing::Test {
 protected:
  // A new Kestrune process started from `bundlePath`; the user's home
  // folder as the file manager reports it is `home` (the temporary home
  // when empty).
  LaunchAtLogin& launch(std::string bundlePath, std::string home = {}) {
    return launchOn(15, std::move(bundlePath), std::move(home));
  }
  // The same on a Mac running macOS `version`.
  LaunchAtLogin& launchOn(int version, std::string bundlePath, std::string home = {}) {
    ex_.runUntilIdle();  // the last process's log lines are written
    login_.reset();
    diag_.reset();
    mac_.reset();
    auto s = testing::scenario(
        version, 1440, std::nullopt, 300,
        {testing::app(1000, "com.kestrune.Kestrune", "Kestrune", {testing::item("kestrune", 30)})});
    s.bundlePath = std::move(bundlePath);
    s.loginItem = loginItem_;
    mac_ = std::make_unique<sim::SimMac>(std::move(s), ex_, home.empty() ? home_.path() : home);
    // The service belongs to the Mac: the first launch finds it as the
    // scenario describes it, later ones as earlier ones left it.
    // An update of macOS brings the service: the Mac keeps its record.
    if (!items_ || items_->isAvailable() != (version >= 13)) {
      items_ = std::make_unique<sim::SimLoginItems>(mac_->world().scenario().loginItem, version);
    }
    const Platform& p = mac_->platform();
    diag_ = std::make_unique<Diag>(p.fileSystem, p.system, ex_);
    login_ =
        std::make_unique<LaunchAtLogin>(p.application, p.fileSystem, p.defaults, *items_, *diag_);
    return *login_;
  }
  [[nodiscard]] std::string userApplications() const { return home_.path() + "/Applications"; }
  [[nodiscard]] bool flag() { return mac_->platform().defaults.boolForKey(kFlag); }
  // Whether the flag has ever been written, true or false.
  [[nodiscard]] bool flagWritten() {
    return mac_->platform().defaults.objectKind(kFlag).has_value();
  }
  // Back to a Mac that has never run Kestrune: no flag, no login item.
  void forget() {
    mac_->platform().defaults.removeObject(kFlag);
    items_->setStatus(Status::notRegistered);
  }
  // This process's log lines that contain `text`, from `text` on.
  std::vector<std::string> logLines(const std::string& text) {
    ex_.runUntilIdle();
    std::ifstream file(diag_->path());
    std::vector<std::string> lines;
    std::string line;
    while (std::getline(file, line)) {
      const auto at = line.find(text);
      if (at != std::string::npos) lines.push_back(line.substr(at));
    }
    return lines;
  }

  testing::TempHome home_;
  VirtualExecutors ex_;
  sim::ScenarioLoginItem loginItem_;
  std::unique_ptr<sim::SimLoginItems> items_;
  std::unique_ptr<sim::SimMac> mac_;
  std::unique_ptr<Diag> diag_;
  std::unique_ptr<LaunchAtLogin> login_;
};

TEST_F(LaunchAtLoginTest, TheFlagsKeyIsTheProductsOwn) {
  EXPECT_STREQ(LaunchAtLogin::kDefaultAppliedKey, kFlag);
}

TEST_F(LaunchAtLoginTest, TheFirstLaunchFromApplicationsRegistersAndSetsTheFlag) {
  LaunchAtLogin& login = launch("/Applications/Kestrune.app");
  EXPECT_FALSE(login.isEnabled());
  EXPECT_FALSE(flagWritten());
  login.applyDefaultOnce();
  EXPECT_TRUE(flag());
  EXPECT_EQ(items_->status(), Status::enabled);
  EXPECT_TRUE(login.isEnabled());
  EXPECT_EQ(items_->changes(), Changes{"register"});
}

TEST_F(LaunchAtLoginTest, AUserWhoTurnsItOffKeepsItOffAtLaterLaunches) {
  launch("/Applications/Kestrune.app").applyDefaultOnce();
  EXPECT_EQ(launch("/Applications/Kestrune.app").set(false), std::nullopt);
  EXPECT_FALSE(login_->isEnabled());
  for (int i = 0; i < 3; ++i) launch("/Applications/Kestrune.app").applyDefaultOnce();
  // The other Applications folder is no second first time.
  launch(userApplications() + "/Kestrune.app").applyDefaultOnce();
  EXPECT_FALSE(login_->isEnabled());
  EXPECT_EQ(items_->status(), Status::notRegistered);
  EXPECT_EQ(items_->changes(), (Changes{"register", "unregister"}));
  EXPECT_TRUE(flag());
}

TEST_F(LaunchAtLoginTest, LaunchesFromElsewhereWaitForTheApplicationsFolderInTheHomeFolder) {
  for (const std::string& path :
       {home_.path() + "/Downloads/Kestrune.app", std::string("/Volumes/Kestrune/Kestrune.app"),
        home_.path() + "/Downloads/Kestrune.app"}) {
    SCOPED_TRACE(path);
    launch(path).applyDefaultOnce();
    EXPECT_FALSE(flagWritten());
    EXPECT_TRUE(items_->changes().empty());
  }
  LaunchAtLogin& login = launch(userApplications() + "/Kestrune.app");
  login.applyDefaultOnce();
  EXPECT_TRUE(flag());
  EXPECT_TRUE(login.isEnabled());
  EXPECT_EQ(items_->changes(), Changes{"register"});
}

TEST_F(LaunchAtLoginTest, OnlyTheApplicationsFoldersThemselvesCount) {
  for (const std::string& path : {
           std::string("/Applications/Utilities/Kestrune.app"),
           userApplications() + "/Tools/Kestrune.app",
           std::string("/Kestrune.app"),
           home_.path() + "/Kestrune.app",
           std::string("/Users/someone-else/Applications/Kestrune.app"),
           std::string("/System/Applications/Kestrune.app"),
           std::string("/applications/Kestrune.app"),  // the comparison is exact
           std::string("/Applications/../Kestrune.app"),
           std::string("Applications/Kestrune.app"),
       }) {
    SCOPED_TRACE(path);
    launch(path).applyDefaultOnce();
    EXPECT_FALSE(flagWritten());
    EXPECT_TRUE(items_->changes().empty());
  }
}

TEST_F(LaunchAtLoginTest, TheBundlesFolderIsComparedAsAStandardisedPath) {
  size_t registrations = 0;
  for (const std::string& path : {
           std::string("/Applications/Kestrune.app/"),
           std::string("/Applications/./Kestrune.app"),
           std::string("//Applications//Kestrune.app"),
           std::string("/Applications/Utilities/../Kestrune.app"),
           std::string("/../Applications/Kestrune.app"),
           home_.path() + "/Downloads/../Applications/Kestrune.app",
           home_.path() + "/./Applications/Kestrune.app/",
       }) {
    SCOPED_TRACE(path);
    launch(path);
    forget();
    login_->applyDefaultOnce();
    EXPECT_TRUE(flag());
    EXPECT_EQ(items_->changes().size(), ++registrations);
    EXPECT_TRUE(login_->isEnabled());
  }
}

TEST_F(LaunchAtLoginTest, TheHomeFolderIsStandardisedToo) {
  launch(userApplications() + "/Kestrune.app", home_.path() + "/Library/..//").applyDefaultOnce();
  EXPECT_TRUE(flag());
  EXPECT_EQ(items_->changes(), Changes{"register"});
}

TEST_F(LaunchAtLoginTest, StandardisingResolvesDotsAndSlashesLexically) {
  EXPECT_EQ(LaunchAtLogin::standardizedPath("/Applications/"), "/Applications");
  EXPECT_EQ(LaunchAtLogin::standardizedPath("//a//b///"), "/a/b");
  EXPECT_EQ(LaunchAtLogin::standardizedPath("/a/./b/../c"), "/a/c");
  EXPECT_EQ(LaunchAtLogin::standardizedPath("/a/b/../../.."), "/");
  EXPECT_EQ(LaunchAtLogin::standardizedPath("/"), "/");
  EXPECT_EQ(LaunchAtLogin::standardizedPath("/.."), "/");
  EXPECT_EQ(LaunchAtLogin::standardizedPath("a/./b/"), "a/b");
  EXPECT_EQ(LaunchAtLogin::standardizedPath("a/../../b"), "../b");
  EXPECT_EQ(LaunchAtLogin::standardizedPath("a/.."), ".");
  EXPECT_EQ(LaunchAtLogin::standardizedPath("/a/.../b"), "/a/.../b");
}

TEST_F(LaunchAtLoginTest, OutsideAnAppBundleNothingIsReadOrChanged) {
  for (const std::string& path :
       {std::string("/usr/local/bin"), std::string("/Applications/Kestrune"),
        std::string("/Applications/Kestrune.app.zip"), std::string("/Applications/.app")}) {
    SCOPED_TRACE(path);
    LaunchAtLogin& login = launch(path);
    items_->setStatus(Status::enabled);
    EXPECT_FALSE(login.runsFromAppBundle());
    EXPECT_FALSE(login.isEnabled());
    items_->failNextRegister("never reached");
    EXPECT_EQ(login.set(true), std::nullopt);
    items_->failNextUnregister("never reached");
    EXPECT_EQ(login.set(false), std::nullopt);
    items_->setStatus(Status::notRegistered);
    login.applyDefaultOnce();
    EXPECT_FALSE(flagWritten());
    EXPECT_TRUE(items_->changes().empty());
    EXPECT_TRUE(logLines("launch at login").empty());
  }
}

TEST_F(LaunchAtLoginTest, OnlyAnEnabledItemCountsAsEnabled) {
  LaunchAtLogin& login = launch("/Applications/Kestrune.app");
  EXPECT_TRUE(login.runsFromAppBundle());
  for (const Status status :
       {Status::notRegistered, Status::enabled, Status::requiresApproval, Status::notFound}) {
    SCOPED_TRACE(sim::loginItemStatusName(status));
    items_->setStatus(status);
    EXPECT_EQ(login.isEnabled(), status == Status::enabled);
  }
}

TEST_F(LaunchAtLoginTest, SetRegistersAndUnregistersFromAnyFolder) {
  LaunchAtLogin& login = launch(home_.path() + "/Downloads/Kestrune.app");
  EXPECT_EQ(login.set(true), std::nullopt);
  EXPECT_TRUE(login.isEnabled());
  EXPECT_EQ(login.set(true), std::nullopt);  // asked again, asked again
  EXPECT_EQ(login.set(false), std::nullopt);
  EXPECT_FALSE(login.isEnabled());
  EXPECT_EQ(items_->changes(), (Changes{"register", "register", "unregister"}));
  EXPECT_FALSE(flagWritten());
}

TEST_F(LaunchAtLoginTest, SetPassesTheServicesErrorUp) {
  LaunchAtLogin& login = launch("/Applications/Kestrune.app");
  items_->failNextRegister("Operation not permitted");
  EXPECT_EQ(login.set(true), (PlatformError{"Operation not permitted", std::nullopt}));
  EXPECT_FALSE(login.isEnabled());
  EXPECT_EQ(login.set(true), std::nullopt);  // the failure was the service's, once
  items_->failNextUnregister("Invalid argument");
  EXPECT_EQ(login.set(false), (PlatformError{"Invalid argument", std::nullopt}));
  EXPECT_TRUE(login.isEnabled());
  items_->setStatus(Status::notFound);
  // The service's advice comes with its error.
  EXPECT_EQ(login.set(true),
            (PlatformError{"The login item service could not find the application.",
                           "Move Kestrune to the Applications folder and open it "
                           "from there."}));
  // Errors go to the caller, who shows them; none is logged.
  EXPECT_TRUE(logLines("launch at login").empty());
}

TEST_F(LaunchAtLoginTest, AFailedDefaultIsLoggedAndNeverTriedAgain) {
  LaunchAtLogin& login = launch("/Applications/Kestrune.app");
  items_->failNextRegister("The operation couldn’t be completed.");
  login.applyDefaultOnce();
  EXPECT_EQ(logLines("launch at login"),
            Changes{"launch at login default: The operation couldn’t be completed."});
  EXPECT_TRUE(flag());
  EXPECT_FALSE(login.isEnabled());
  login.applyDefaultOnce();
  launch("/Applications/Kestrune.app").applyDefaultOnce();
  launch(userApplications() + "/Kestrune.app").applyDefaultOnce();
  EXPECT_EQ(items_->changes(), Changes{"register failed: The operation couldn’t be completed."});
  // Every launch appends to the same log: it still holds the one failure.
  EXPECT_EQ(logLines("launch at login").size(), 1U);
  EXPECT_FALSE(login_->isEnabled());
}

TEST_F(LaunchAtLoginTest, AScenariosFailingServiceFailsTheDefault) {
  loginItem_.registerError = "Kestrune is not allowed to run at login.";
  launch("/Applications/Kestrune.app").applyDefaultOnce();
  EXPECT_EQ(logLines("launch at login"),
            Changes{"launch at login default: Kestrune is not allowed to run at login."});
  EXPECT_TRUE(flag());
  EXPECT_EQ(items_->status(), Status::notRegistered);
}

// macOS 11 and 12 have no login item service: the default is not applied,
// and not marked as applied either, so the first launch on macOS 13 or
// later applies it.
TEST_F(LaunchAtLoginTest, WithoutTheServiceTheDefaultWaitsForANewerMacOS) {
  for (const int version : {11, 12}) {
    LaunchAtLogin& login = launchOn(version, "/Applications/Kestrune.app");
    EXPECT_EQ(login.unavailableReason(), "Available on macOS 13 or later");
    login.applyDefaultOnce();
    EXPECT_FALSE(flagWritten()) << version;
    EXPECT_TRUE(items_->changes().empty()) << version;
    EXPECT_FALSE(login.isEnabled());
  }
  LaunchAtLogin& login = launchOn(13, "/Applications/Kestrune.app");
  EXPECT_EQ(login.unavailableReason(), std::nullopt);
  login.applyDefaultOnce();
  EXPECT_TRUE(flag());
  EXPECT_TRUE(login.isEnabled());
}

TEST_F(LaunchAtLoginTest, OutsideAnAppBundleTheReasonSaysWhereItWorks) {
  EXPECT_EQ(launch("/Users/dev/kestrune/build/Kestrune").unavailableReason(),
            "Available when running from Kestrune.app");
  EXPECT_EQ(launchOn(12, "/Users/dev/kestrune/build/Kestrune").unavailableReason(),
            "Available when running from Kestrune.app");
}

TEST_F(LaunchAtLoginTest, AnItemEnabledAlreadyIsLeftAlone) {
  loginItem_.status = Status::enabled;  // the user added Kestrune in System Settings
  launch("/Applications/Kestrune.app").applyDefaultOnce();
  EXPECT_TRUE(flag());  // set first, whatever follows
  EXPECT_TRUE(items_->changes().empty());
  EXPECT_TRUE(login_->isEnabled());
}

TEST_F(LaunchAtLoginTest, AnItemAwaitingApprovalIsRegisteredAndStillAwaitsIt) {
  loginItem_.status = Status::requiresApproval;
  launch("/Applications/Kestrune.app").applyDefaultOnce();
  EXPECT_EQ(items_->changes(), Changes{"register"});
  EXPECT_FALSE(login_->isEnabled());
  items_->setStatus(Status::enabled);  // the user approves
  EXPECT_TRUE(login_->isEnabled());
}

// The scenario's "loginItem": how the service starts and how it fails.
sim::Scenario parse(const std::string& loginItem) {
  return sim::parseScenario(R"({"name": "t", "screens": [{}], "loginItem": )" + loginItem + "}");
}

std::string parseError(const std::string& loginItem) {
  try {
    (void)parse(loginItem);
  } catch (const sim::ScenarioError& e) {
    return e.what();
  }
  return "no error";
}

TEST(LoginItemScenario, StartsNotRegisteredWithoutFailures) {
  const auto s = sim::parseScenario(R"({"name": "t", "screens": [{}]})");
  EXPECT_EQ(s.loginItem.status, Status::notRegistered);
  EXPECT_EQ(s.loginItem.registerError, std::nullopt);
  EXPECT_EQ(s.loginItem.unregisterError, std::nullopt);
  EXPECT_EQ(parse("null").loginItem.status, Status::notRegistered);
  EXPECT_EQ(parse("{}").loginItem.status, Status::notRegistered);
}

TEST(LoginItemScenario, ReadsEachStateAndFailure) {
  for (const Status status :
       {Status::notRegistered, Status::enabled, Status::requiresApproval, Status::notFound}) {
    const std::string name = sim::loginItemStatusName(status);
    EXPECT_EQ(parse(R"({"status": ")" + name + R"("})").loginItem.status, status) << name;
  }
  const auto s = parse(R"({"status": "enabled", "registerError": "denied",
                            "unregisterError": "stuck"})");
  sim::SimLoginItems items(s.loginItem);
  EXPECT_EQ(items.status(), Status::enabled);
  // Every request fails, not just the first.
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(items.unregisterMainApp(), (PlatformError{"stuck", std::nullopt}));
    EXPECT_EQ(items.registerMainApp(), (PlatformError{"denied", std::nullopt}));
  }
  EXPECT_EQ(items.status(), Status::enabled);
  EXPECT_EQ(items.changes(), (Changes{"unregister failed: stuck", "register failed: denied",
                                      "unregister failed: stuck", "register failed: denied"}));
}

TEST(LoginItemScenario, RejectsWhatItDoesNotKnow) {
  EXPECT_EQ(parseError("3"), "scenario.loginItem: expected an object");
  EXPECT_EQ(parseError(R"({"state": "enabled"})"), "scenario.loginItem.state: unknown field");
  EXPECT_EQ(parseError(R"({"status": "on"})"),
            "scenario.loginItem.status: expected one of notRegistered, enabled, "
            "requiresApproval, notFound");
  EXPECT_EQ(parseError(R"({"status": true})"), "scenario.loginItem.status: expected a string");
  EXPECT_EQ(parseError(R"({"registerError": 5})"),
            "scenario.loginItem.registerError: expected a string");
  EXPECT_EQ(parseError(R"({"unregisterError": []})"),
            "scenario.loginItem.unregisterError: expected a string");
}

}  // namespace
}  // namespace kestrune
