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
constexpr const char* kAskedKey = "Kestrune.askedScreenRecording";
constexpr const char* kHintedKey = "Kestrune.hintedHiddenIcon";

// The alerts' words, written out here rather than taken from the code.
constexpr const char* kAccessibilityMessage = "Kestrune needs Accessibility access";
constexpr const char* kAccessibilityText =
    "Kestrune uses Accessibility to find each app's menu bar item and open its menu on your "
    "behalf — that is how items hidden behind the notch become reachable. It never reads window "
    "contents or keystrokes.\n\nClick Open System Settings, then turn on Kestrune in the "
    "Accessibility list.";
constexpr const char* kScreenRecordingMessage = "Kestrune works best with Screen Recording";
constexpr const char* kScreenRecordingText =
    "Screen Recording lets the picker show the real menu bar icons, exactly as they appear in the "
    "menu bar. Without it, it can only show generic app icons.\n\nKestrune only captures the "
    "tiny menu bar items themselves — never your screen or windows. The app relaunches once the "
    "permission is granted.";
constexpr const char* kHiddenIconMessage = "Kestrune's icon is hidden behind the notch";
constexpr const char* kHiddenIconText =
    "Your menu bar is full, so macOS placed the new Kestrune icon where the notch covers it.\n\n"
    "Press ⌃⌥⌘T to open the picker anyway, then ⌘-drag the Kestrune icon (or the items you use "
    "most) toward the right side of the menu bar.";

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
  sim_->alerts().answerNext("Later");
  launch();
  ASSERT_EQ(alertMessages(), (std::vector<std::string>{kAccessibilityMessage}));
  const AlertRequest& shown = sim_->alerts().shown().front().request;
  EXPECT_EQ(shown.informativeText, kAccessibilityText);
  EXPECT_EQ(shown.buttons, (std::vector<std::string>{"Open System Settings", "Later"}));
  EXPECT_TRUE(sim_->world().openedURLs().empty());
  EXPECT_EQ(sim_->world().accessibilityPrompts(), 0);
  // The Screen Recording question waits for a launch with Accessibility.
  EXPECT_FALSE(defaults().boolForKey(kAskedKey));
}

TEST_F(AppDelegateTest, OpenSystemSettingsPromptsThenOpensTheAccessibilityPane) {
  makeCrowded(false, false);
  sim_->alerts().answerNext("Open System Settings");
  launch();
  EXPECT_EQ(sim_->world().accessibilityPrompts(), 1);
  EXPECT_EQ(sim_->world().openedURLs(),
            (std::vector<std::string>{Permissions::kAccessibilityPaneURL}));
}

TEST_F(AppDelegateTest, WithoutScreenRecordingItAsksOnceEvenWhenTheAnswerIsNotNow) {
  makeCrowded(true, false);
  sim_->alerts().answerNext("Not Now");
  // The question is remembered before it is shown, whatever happens to it.
  std::optional<bool> askedWhileShown;
  sim_->alerts().onShow(
      [&](const AlertRequest&) { askedWhileShown = defaults().boolForKey(kAskedKey); });
  launch();
  EXPECT_EQ(askedWhileShown, true);
  EXPECT_EQ(sim_->alerts().shown().front().request.buttons,
            (std::vector<std::string>{"Allow Screen Recording", "Not Now"}));
  ASSERT_EQ(alertMessages(), (std::vector<std::string>{kScreenRecordingMessage}));
  EXPECT_EQ(sim_->alerts().shown().front().request.informativeText, kScreenRecordingText);
  EXPECT_TRUE(defaults().boolForKey(kAskedKey));
  EXPECT_EQ(sim_->world().screenRecordingRequests(), 0);
  // The next launch asks nothing.
  sim_->quit();
  launch();
  EXPECT_EQ(alertMessages().size(), 1U);
}

TEST_F(AppDelegateTest, AllowScreenRecordingStartsTheRequest) {
  makeCrowded(true, false);
  sim_->alerts().answerNext("Allow Screen Recording");
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
  sim_->alerts().answerNext("Open Picker");
  ex_.advance(milliseconds(200));
  ASSERT_EQ(alertMessages(), (std::vector<std::string>{kHiddenIconMessage}));
  EXPECT_EQ(sim_->alerts().shown().front().request.informativeText, kHiddenIconText);
  EXPECT_EQ(sim_->alerts().shown().front().request.buttons,
            (std::vector<std::string>{"Open Picker", "OK"}));
  EXPECT_TRUE(sim_->app().panel()->isShown()) << "Open Picker toggles the panel";
  EXPECT_TRUE(defaults().boolForKey(kHintedKey));
  sim_->quit();
  launch();
  EXPECT_EQ(alertMessages().size(), 1U);
}

// After the Screen Recording question, the next start goes on to the hint,
// 1.5 s after launch.
TEST_F(AppDelegateTest, TheStartAfterTheScreenRecordingQuestionHintsAfterTheDelay) {
  auto scenario = iconBehindTheNotch();
  scenario.permissions.screenRecording = false;
  make(std::move(scenario));
  sim_->alerts().answerNext("Not Now");
  launch();
  ASSERT_EQ(alertMessages(), (std::vector<std::string>{kScreenRecordingMessage}));
  sim_->quit();
  sim_->launch();
  ex_.advance(milliseconds(1400));
  EXPECT_EQ(alertMessages().size(), 1U);
  ex_.advance(milliseconds(200));
  EXPECT_EQ(alertMessages(),
            (std::vector<std::string>{kScreenRecordingMessage, kHiddenIconMessage}));
}

// A packaged app with a feed gets "Check for Updates…" in its menu; one
// without a feed does not.
class UpdaterRowTest : public AppDelegateTest, public ::testing::WithParamInterface<bool> {};

TEST_P(UpdaterRowTest, TheUpdaterReachesTheMenuOnlyWithAFeed) {
  const bool feed = GetParam();
  auto scenario = sim::parseScenario(sim::builtinScenario("laptop14-macos15")->json);
  if (feed) scenario.infoDictionary["SUFeedURL"] = "https://updates.example.com/appcast.xml";
  make(std::move(scenario));
  launch();
  sim_->statusItem().answerMenu(std::nullopt);
  ASSERT_TRUE(sim_->statusItem().click(EventType::rightMouseUp));
  std::vector<std::string> titles;
  for (const auto& row : sim_->statusItem().shownMenus().back().menu.rows) {
    titles.push_back(row.title);
  }
  EXPECT_EQ(std::count(titles.begin(), titles.end(), "Check for Updates…"), feed ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutAFeed, UpdaterRowTest, ::testing::Bool());

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
  sim_->alerts().answerNext("Not Now");
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
  sim_->alerts().answerNext("Later");
  launch();
  EXPECT_EQ(alertMessages(), (std::vector<std::string>{kAccessibilityMessage}));
  EXPECT_TRUE(sim_->world().openedURLs().empty());
  EXPECT_EQ(sim_->world().accessibilityPrompts(), 0);
  EXPECT_EQ(sim_->settingsWindows().madeCount(), 0);
  sim_->quit();
  // The user grants Accessibility; Screen Recording is asked for: "Not Now".
  sim_->world().setAccessibilityTrusted(true);
  sim_->alerts().answerNext("Not Now");
  launch();
  EXPECT_EQ(alertMessages().back(), kScreenRecordingMessage);
  EXPECT_TRUE(defaults().boolForKey(kAskedKey));
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
