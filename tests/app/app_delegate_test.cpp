// Kestrune's start-up on the simulated Mac, the whole app assembled: the
// onboarding on first launches, the seeded position of its own item, the
// shortcut following the setting, and a hidden item reached through the
// shortcut and the picker.
#include "app/app_delegate.hpp"

#include <gtest/gtest.h>

#include <fstream>

#include "app/settings_view.hpp"
#include "sim/builtin_scenarios.hpp"
#include "sim/sim_app.hpp"
#include "support/scenarios.hpp"
#include "support/temp_home.hpp"

namespace kestrune {
namespace {

using testing::app;
using testing::item;

constexpr const char* kPositionKey = "NSStatusItem Preferred Position Kestrune.main";

class AppDelegateTest : public ::testing::Test {
 protected:
  void make(sim::Scenario scenario) {
    sim_ = std::make_unique<sim::SimApp>(std::move(scenario), ex_, home_.path());
  }
  void makeCrowded(bool accessibility, bool screenRecording) {
    auto scenario = sim::parseScenario(sim::builtinScenario("laptop14-macos15")->json);
    scenario.permissions.accessibility = accessibility;
    scenario.permissions.screenRecording = screenRecording;
    make(std::move(scenario));
  }
  // Launches and lets the start-up's delayed steps run.
  void launch() {
    sim_->launch();
    ex_.advance(seconds(2));
  }
  std::vector<std::string> alertMessages() {
    std::vector<std::string> messages;
    for (const auto& a : sim_->alerts().shown()) messages.push_back(a.request.message);
    return messages;
  }
  bool hotKeyRegistered() { return !sim_->hotKeys().registered().empty(); }
  UserDefaults& defaults() { return sim_->mac().platform().defaults; }
  std::string log() {
    ex_.runUntilIdle();
    std::ifstream file(home_.path() + "/Library/Logs/Kestrune.log");
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
  }

  testing::TempHome home_;
  VirtualExecutors ex_;
  std::unique_ptr<sim::SimApp> sim_;
};

TEST_F(AppDelegateTest, FirstLaunchWithoutAccessibilityAsksForItAndLaterChangesNothing) {
  makeCrowded(false, false);
  sim_->alerts().answerNext(AppDelegate::kLater);
  launch();
  ASSERT_EQ(alertMessages(), (std::vector<std::string>{AppDelegate::kAccessibilityMessage}));
  const AlertRequest& shown = sim_->alerts().shown().front().request;
  EXPECT_EQ(shown.informativeText, AppDelegate::kAccessibilityText);
  EXPECT_EQ(shown.buttons, (std::vector<std::string>{"Open System Settings", "Later"}));
  EXPECT_TRUE(sim_->world().openedURLs().empty());
  EXPECT_EQ(sim_->world().accessibilityPrompts(), 0);
  // The Screen Recording question waits for a launch with Accessibility.
  EXPECT_FALSE(defaults().boolForKey(AppDelegate::kAskedScreenRecordingKey));
}

TEST_F(AppDelegateTest, OpenSystemSettingsPromptsThenOpensTheAccessibilityPane) {
  makeCrowded(false, false);
  sim_->alerts().answerNext(AppDelegate::kOpenSystemSettings);
  launch();
  EXPECT_EQ(sim_->world().accessibilityPrompts(), 1);
  EXPECT_EQ(sim_->world().openedURLs(),
            (std::vector<std::string>{Permissions::kAccessibilityPaneURL}));
}

TEST_F(AppDelegateTest, WithoutScreenRecordingItAsksOnceEvenWhenTheAnswerIsNotNow) {
  makeCrowded(true, false);
  sim_->alerts().answerNext(AppDelegate::kNotNow);
  launch();
  ASSERT_EQ(alertMessages(), (std::vector<std::string>{AppDelegate::kScreenRecordingMessage}));
  EXPECT_EQ(sim_->alerts().shown().front().request.informativeText,
            AppDelegate::kScreenRecordingText);
  EXPECT_TRUE(defaults().boolForKey(AppDelegate::kAskedScreenRecordingKey));
  EXPECT_EQ(sim_->world().screenRecordingRequests(), 0);
  // The next launch asks nothing.
  sim_->quit();
  launch();
  EXPECT_EQ(alertMessages().size(), 1U);
}

TEST_F(AppDelegateTest, AllowScreenRecordingStartsTheRequest) {
  makeCrowded(true, false);
  sim_->alerts().answerNext(AppDelegate::kAllowScreenRecording);
  launch();
  EXPECT_EQ(sim_->world().screenRecordingRequests(), 1);
}

TEST_F(AppDelegateTest, WithBothPermissionsAndAVisibleIconNoAlert) {
  makeCrowded(true, true);
  launch();
  EXPECT_TRUE(sim_->alerts().shown().empty());
  EXPECT_TRUE(sim_->app().statusBar()->isIconVisible());
}

// A bar whose clock leaves no room right of the notch: Kestrune's icon,
// placed left of it, lands behind the notch.
sim::Scenario iconBehindTheNotch() {
  auto clock = item("clock", 185, "Clock");
  clock.identifier = "com.apple.menuextra.clock";
  auto scenario =
      testing::scenario(15, 600, 200.0, 150,
                        {app(301, "com.apple.controlcenter", "Control Center", {clock}),
                         app(1000, "com.kestrune.Kestrune", "Kestrune", {item("kestrune", 30)}),
                         app(401, "com.example.tool", "Tool", {item("tool", 30)})});
  scenario.ownPID = 1000;
  return scenario;
}

TEST_F(AppDelegateTest, AHiddenIconIsHintedOnceEverAfterTheDelay) {
  make(iconBehindTheNotch());
  sim_->launch();
  ASSERT_FALSE(sim_->app().statusBar()->isIconVisible());
  ex_.advance(milliseconds(1400));
  EXPECT_TRUE(sim_->alerts().shown().empty());
  sim_->alerts().answerNext(AppDelegate::kOpenPicker);
  ex_.advance(milliseconds(200));
  ASSERT_EQ(alertMessages(), (std::vector<std::string>{AppDelegate::kHiddenIconMessage}));
  EXPECT_EQ(sim_->alerts().shown().front().request.buttons,
            (std::vector<std::string>{"Open Picker", "OK"}));
  EXPECT_TRUE(sim_->app().panel()->isShown()) << "Open Picker toggles the panel";
  EXPECT_TRUE(defaults().boolForKey(AppDelegate::kHintedHiddenIconKey));
  sim_->quit();
  launch();
  EXPECT_EQ(alertMessages().size(), 1U);
}

TEST_F(AppDelegateTest, ItsItemIsPinnedToTheRightEndOnEveryLaunch) {
  makeCrowded(true, true);
  defaults().setInteger(kPositionKey, 480);  // where the user dragged it
  defaults().setBool("NSStatusItem Visible Kestrune.divider", true);
  defaults().setInteger("NSStatusItem Preferred Position Kestrune.spacer2", 3);
  launch();
  EXPECT_EQ(defaults().integerForKey(kPositionKey), 1);
  EXPECT_TRUE(defaults().boolForKey("NSStatusItem Visible Kestrune.main"));
  EXPECT_FALSE(defaults().objectKind("NSStatusItem Visible Kestrune.divider"));
  EXPECT_FALSE(defaults().objectKind("NSStatusItem Preferred Position Kestrune.spacer2"));
}

TEST_F(AppDelegateTest, TheShortcutFollowsTheSetting) {
  makeCrowded(true, true);
  launch();
  EXPECT_TRUE(hotKeyRegistered());
  sim_->app().store().set(&Settings::hotkeyEnabled, false);
  EXPECT_FALSE(hotKeyRegistered());
  sim_->quit();
  // Stored off: nothing is registered at launch.
  launch();
  EXPECT_FALSE(hotKeyRegistered());
  EXPECT_EQ(sim_->hotKeys().handlerCount(), 0U);
}

TEST_F(AppDelegateTest, ResetToDefaultsRegistersTheShortcutAgain) {
  makeCrowded(true, true);
  launch();
  sim_->app().store().set(&Settings::hotkeyEnabled, false);
  ASSERT_FALSE(hotKeyRegistered());
  sim_->app().statusBar()->openSettings();
  ex_.runUntilIdle();
  ASSERT_NE(sim_->settingsWindows().window(), nullptr);
  EXPECT_TRUE(sim_->settingsWindows().window()->clickResetToDefaults());
  EXPECT_TRUE(hotKeyRegistered());
}

TEST_F(AppDelegateTest, SettingsSurviveARestart) {
  makeCrowded(true, true);
  launch();
  sim_->app().store().set(&Settings::onlyHiddenItems, true);
  sim_->app().store().set(&Settings::showLabels, false);
  sim_->quit();
  launch();
  EXPECT_TRUE(sim_->app().store().settings().onlyHiddenItems);
  EXPECT_FALSE(sim_->app().store().settings().showLabels);
}

TEST_F(AppDelegateTest, TheLaunchIsLogged) {
  makeCrowded(true, false);
  sim_->alerts().answerNext(AppDelegate::kNotNow);
  launch();
  EXPECT_NE(log().find("launch: bundle=/Applications/Kestrune.app ax=true sr=false"),
            std::string::npos);
}

TEST_F(AppDelegateTest, TheScannerIgnoresKestrunesOwnItem) {
  makeCrowded(true, true);
  launch();
  const auto frames = ItemScanner::ownFrames();
  ASSERT_EQ(frames.size(), 1U);
  const auto own = sim_->world().ownStatusItem();
  ASSERT_TRUE(own);
  EXPECT_EQ(frames.front(), own->placed.frame);
  sim_->quit();
  EXPECT_TRUE(ItemScanner::ownFrames().empty());
}

// The three kinds of first launch, then a hidden item reached through the
// shortcut and the picker.
TEST_F(AppDelegateTest, FromEachFirstLaunchToAHiddenItemsMenu) {
  makeCrowded(false, false);
  // First launch: no permission at all; "Later".
  sim_->alerts().answerNext(AppDelegate::kLater);
  launch();
  EXPECT_EQ(alertMessages(), (std::vector<std::string>{AppDelegate::kAccessibilityMessage}));
  EXPECT_TRUE(sim_->world().openedURLs().empty());
  EXPECT_EQ(sim_->world().accessibilityPrompts(), 0);
  EXPECT_EQ(sim_->settingsWindows().madeCount(), 0);
  sim_->quit();
  // The user grants Accessibility; Screen Recording is asked for: "Not Now".
  sim_->world().setAccessibilityTrusted(true);
  sim_->alerts().answerNext(AppDelegate::kNotNow);
  launch();
  EXPECT_EQ(alertMessages().back(), AppDelegate::kScreenRecordingMessage);
  EXPECT_TRUE(defaults().boolForKey(AppDelegate::kAskedScreenRecordingKey));
  sim_->quit();
  // Both granted: no alert.
  sim_->world().grantScreenRecording();
  launch();
  EXPECT_EQ(alertMessages().size(), 2U);
  ex_.advance(seconds(10));  // the first sweep
  ASSERT_TRUE(sim_->hotKeys().press(HotkeyManager::kKeyCode, HotkeyManager::kModifiers));
  ASSERT_TRUE(sim_->panelWindow().isVisible());
  const auto& content = sim_->panelWindow().content();
  ASSERT_TRUE(content && content->grid);
  size_t raycast = content->grid->cells.size();
  for (size_t i = 0; i < content->grid->cells.size(); ++i) {
    if (content->grid->cells[i].label == "Raycast") raycast = i;
  }
  ASSERT_LT(raycast, content->grid->cells.size());
  EXPECT_FALSE(content->grid->cells[raycast].item.isOnScreen) << "hidden behind the notch";
  const Rect cell = sim_->panelWindow().geometry().cells[raycast].frame;
  const Rect frame = sim_->panelWindow().frame();
  sim_->panelWindow().click({frame.minX() + cell.midX(), frame.maxY() - cell.midY()});
  ex_.advance(seconds(1));
  const auto menu = sim_->world().openMenu();
  ASSERT_TRUE(menu);
  EXPECT_EQ(menu->key, "raycast");
}

}  // namespace
}  // namespace kestrune
