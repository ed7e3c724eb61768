// The settings window on the simulated Mac: its two tabs, the General
// form's switches, permission rows and reset, the login item, the refresh
// while it is shown, and the pictures drawn of it.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "app/general_settings.hpp"
#include "app/launch_at_login.hpp"
#include "app/permissions.hpp"
#include "app/settings_view.hpp"
#include "arrange/arrange_model.hpp"
#include "core/virtual_executors.hpp"
#include "discovery/menu_bar_layout.hpp"
#include "settings/diag.hpp"
#include "settings/settings_store.hpp"
#include "sim/arrange_renderer.hpp"
#include "sim/builtin_scenarios.hpp"
#include "sim/settings_renderer.hpp"
#include "sim/sim_mac.hpp"
#include "sim/sim_settings_window.hpp"
#include "support/scenarios.hpp"
#include "support/temp_home.hpp"

namespace kestrune {
namespace {

const std::string kAccessibilityPane =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility";
const std::string kScreenRecordingPane =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_ScreenCapture";
const std::string kLogin = "Launch at login";
const std::string kOnlyHidden = "Only list hidden items (instead of every item)";
const std::string kShowLabels = "Show names under icons";
const std::string kLiveIcons = "Live icons (captured from the menu bar)";
const std::string kHotkey = "Global shortcut ⌃⌥⌘T opens the picker";

// The login item service, scripted: refusals come from the test.
class ScriptedLoginItems final : public LoginItems {
 public:
  bool isAvailable() override { return available; }
  Status status() override { return status_; }
  std::optional<PlatformError> registerMainApp() override {
    ++registrations;
    if (refusal) return refusal;
    status_ = Status::enabled;
    return std::nullopt;
  }
  std::optional<PlatformError> unregisterMainApp() override {
    ++unregistrations;
    if (refusal) return refusal;
    status_ = Status::notRegistered;
    return std::nullopt;
  }
  // The user changes the item elsewhere (the status menu, System Settings).
  void setStatus(Status status) { status_ = status; }

  std::optional<PlatformError> refusal;
  bool available = true;  // false: macOS 11 or 12
  int registrations = 0;
  int unregistrations = 0;

 private:
  Status status_ = Status::notRegistered;
};

class RecordingAlerts final : public Alerts {
 public:
  size_t runModal(const AlertRequest& /*request*/) override { return 0; }
  void showError(const PlatformError& error) override { errors.push_back(error.description); }
  std::vector<std::string> errors;
};

// The simulated Accessibility, with the trust prompts counted, and how many
// System Settings panes were open at each prompt.
class PromptCountingAccessibility final : public Accessibility {
 public:
  PromptCountingAccessibility(Accessibility& base, sim::World& world)
      : base_(base), world_(world) {}
  AXElement createApplication(pid_t pid) override { return base_.createApplication(pid); }
  AXError setMessagingTimeout(const AXElement& e, float s) override {
    return base_.setMessagingTimeout(e, s);
  }
  AXError copyAttributeValue(const AXElement& e, std::string_view a, AXAnyValue& v) override {
    return base_.copyAttributeValue(e, a, v);
  }
  AXError performAction(const AXElement& e, std::string_view a) override {
    return base_.performAction(e, a);
  }
  AXError getPid(const AXElement& e, pid_t& pid) override { return base_.getPid(e, pid); }
  bool isProcessTrusted() override { return base_.isProcessTrusted(); }
  bool isProcessTrustedWithOptions(bool prompt) override {
    if (prompt) panesOpenAtPrompt.push_back(world_.openedURLs().size());
    return base_.isProcessTrustedWithOptions(prompt);
  }
  std::vector<size_t> panesOpenAtPrompt;

 private:
  Accessibility& base_;
  sim::World& world_;
};

class SettingsWindowTest : public ::testing::Test {
 protected:
  void SetUp() override { make(scenario()); }

  static sim::Scenario scenario() {
    return sim::parseScenario(sim::builtinScenario("laptop14-macos15")->json);
  }

  void make(sim::Scenario s) {
    tearDown();
    mac_ = std::make_unique<sim::SimMac>(std::move(s), ex_, home_.path());
    const Platform& p = mac_->platform();
    store_ = std::make_unique<SettingsStore>(p.defaults);
    diag_ = std::make_unique<Diag>(p.fileSystem, p.system, ex_);
    login_ = std::make_unique<LaunchAtLogin>(p.application, p.fileSystem, p.defaults, loginItems_,
                                             *diag_);
    permissions_ = std::make_unique<Permissions>(p);
    accessibility_ = std::make_unique<PromptCountingAccessibility>(p.accessibility, world());
    general_ = GeneralSettingsModel::create({*store_, *accessibility_, p.screenCapture, p.workspace,
                                             *login_, alerts_, *permissions_, ex_.main()});
    layout_ = std::make_unique<MenuBarLayout>(p);
    arrange_ = ArrangeModel::create(p, *layout_, *diag_, [] { return std::optional<Rect>(); });
    windows_ = std::make_unique<sim::SimSettingsWindows>(world(), ex_.main());
    window_ = windows_->make(tabs_, general_, arrange_);
    sim_ = windows_->window();
  }

  // Everything that refers to the simulated Mac goes before it does.
  void tearDown() {
    ex_.runUntilIdle();
    sim_ = nullptr;
    window_.reset();
    windows_.reset();
    arrange_.reset();
    layout_.reset();
    general_.reset();
    accessibility_.reset();
    permissions_.reset();
    login_.reset();
    diag_.reset();
    store_.reset();
    mac_.reset();
  }
  void TearDown() override { tearDown(); }

  sim::World& world() { return mac_->world(); }
  void advance(double s) { ex_.advance(seconds(s)); }
  const GeneralSettingsViewModel& general() { return sim_->content().general; }
  const SettingsToggle& toggle(const std::string& label) {
    const SettingsToggle* t = findToggle(general(), label);
    if (!t) throw std::runtime_error("no toggle " + label);
    return *t;
  }
  const PermissionRow& row(const std::string& title) {
    const PermissionRow* r = findPermission(general(), title);
    if (!r) throw std::runtime_error("no row " + title);
    return *r;
  }
  std::vector<bool> pickerToggles() {
    return {toggle(kOnlyHidden).isOn, toggle(kShowLabels).isOn, toggle(kLiveIcons).isOn,
            toggle(kHotkey).isOn};
  }

  testing::TempHome home_;
  VirtualExecutors ex_;
  ScriptedLoginItems loginItems_;
  RecordingAlerts alerts_;
  SettingsTabSelection tabs_;
  std::unique_ptr<sim::SimMac> mac_;
  std::unique_ptr<SettingsStore> store_;
  std::unique_ptr<Diag> diag_;
  std::unique_ptr<LaunchAtLogin> login_;
  std::unique_ptr<Permissions> permissions_;
  std::unique_ptr<PromptCountingAccessibility> accessibility_;
  std::shared_ptr<GeneralSettingsModel> general_;
  std::unique_ptr<MenuBarLayout> layout_;
  std::shared_ptr<ArrangeModel> arrange_;
  std::unique_ptr<sim::SimSettingsWindows> windows_;
  std::unique_ptr<SettingsWindow> window_;
  sim::SimSettingsWindow* sim_ = nullptr;
};

TEST_F(SettingsWindowTest, IsMadeHiddenTitledAndSizedAndShowsAsTheKeyWindow) {
  EXPECT_EQ(windows_->madeCount(), 1);
  EXPECT_EQ(sim_->title(), "Kestrune Settings");
  EXPECT_EQ(sim_->contentSize(), (Size{520, 560}));
  EXPECT_FALSE(window_->isVisible());
  window_->show();
  EXPECT_TRUE(window_->isVisible());
  EXPECT_TRUE(sim_->isKey());
  EXPECT_EQ(sim_->tab(), SettingsTab::general);
  sim_->close();
  EXPECT_FALSE(window_->isVisible());
  EXPECT_FALSE(sim_->isKey());
}

TEST_F(SettingsWindowTest, HasTheGeneralAndMenuBarOrderTabsWithTheirSymbols) {
  const auto& tabs = sim_->content().tabs;
  ASSERT_EQ(tabs.size(), 2U);
  EXPECT_EQ(tabs[0].tab, SettingsTab::general);
  EXPECT_EQ(tabs[0].label, "General");
  EXPECT_EQ(tabs[0].symbol, "gearshape");
  EXPECT_EQ(tabs[1].tab, SettingsTab::arrange);
  EXPECT_EQ(tabs[1].label, "Menu Bar Order");
  EXPECT_EQ(tabs[1].symbol, "arrow.left.arrow.right");
  EXPECT_EQ(sim_->content().selected, SettingsTab::general);
}

TEST_F(SettingsWindowTest, TheGeneralFormsSectionsAndTextsAreExactlyThese) {
  const auto& sections = general().sections;
  ASSERT_EQ(sections.size(), 3U);
  EXPECT_EQ(sections[0].header, "General");
  ASSERT_EQ(sections[0].toggles.size(), 1U);
  EXPECT_EQ(sections[0].toggles[0].label, kLogin);
  EXPECT_EQ(sections[0].toggles[0].kind, SettingsToggleKind::launchAtLogin);
  EXPECT_EQ(sections[1].header, "Picker");
  std::vector<std::string> labels;
  for (const auto& t : sections[1].toggles) labels.push_back(t.label);
  EXPECT_EQ(labels, (std::vector<std::string>{kOnlyHidden, kShowLabels, kLiveIcons, kHotkey}));
  EXPECT_EQ(sections[2].header, "Permissions");
  ASSERT_EQ(sections[2].permissions.size(), 2U);
  EXPECT_EQ(sections[2].permissions[0].title, "Accessibility");
  EXPECT_EQ(sections[2].permissions[0].detail,
            "Required — finds every app's menu bar item and opens its menu.");
  EXPECT_EQ(sections[2].permissions[1].title, "Screen Recording");
  EXPECT_EQ(sections[2].permissions[1].detail,
            "Recommended — shows the real menu bar icons; without it the picker falls back to "
            "app icons.");
  EXPECT_EQ(general().resetButton, "Reset to Defaults");
}

TEST_F(SettingsWindowTest, AGrantedRowIsAGreenCheckWithoutButtonAMissingOneAnOrangeWarning) {
  auto s = scenario();
  s.permissions.accessibility = true;
  s.permissions.screenRecording = false;
  make(std::move(s));
  const PermissionRow& ax = row("Accessibility");
  EXPECT_TRUE(ax.granted);
  EXPECT_EQ(ax.symbol, "checkmark.circle.fill");
  EXPECT_EQ(ax.tint, SymbolTint::green);
  EXPECT_FALSE(ax.grantButton);
  const PermissionRow& sr = row("Screen Recording");
  EXPECT_FALSE(sr.granted);
  EXPECT_EQ(sr.symbol, "exclamationmark.triangle.fill");
  EXPECT_EQ(sr.tint, SymbolTint::orange);
  EXPECT_EQ(sr.grantButton, "Grant…");
  EXPECT_FALSE(sim_->clickGrant("Accessibility"));  // nothing to click
}

TEST_F(SettingsWindowTest, AccessibilityGrantedInSystemSettingsTurnsTheRowGreenWithinATick) {
  auto s = scenario();
  s.permissions.accessibility = false;
  make(std::move(s));
  window_->show();
  advance(1.5);  // a refresh has just run: the grant waits the longest
  ASSERT_EQ(row("Accessibility").tint, SymbolTint::orange);
  ASSERT_TRUE(row("Accessibility").grantButton);
  world().setAccessibilityTrusted(true);
  advance(1.499);
  EXPECT_EQ(row("Accessibility").tint, SymbolTint::orange);
  advance(0.001);
  EXPECT_TRUE(row("Accessibility").granted);
  EXPECT_EQ(row("Accessibility").symbol, "checkmark.circle.fill");
  EXPECT_EQ(row("Accessibility").tint, SymbolTint::green);
  EXPECT_FALSE(row("Accessibility").grantButton);
}

TEST_F(SettingsWindowTest, ScreenRecordingAndTheLoginItemChangedElsewhereAppearAtTheNextTick) {
  auto s = scenario();
  s.permissions.screenRecording = false;
  make(std::move(s));
  window_->show();
  EXPECT_FALSE(toggle(kLogin).isOn);
  world().grantScreenRecording();
  loginItems_.setStatus(LoginItems::Status::enabled);
  advance(1.5);
  EXPECT_TRUE(row("Screen Recording").granted);
  EXPECT_TRUE(toggle(kLogin).isOn);
  loginItems_.setStatus(LoginItems::Status::requiresApproval);  // switched off by the user
  advance(1.5);
  EXPECT_FALSE(toggle(kLogin).isOn);
}

TEST_F(SettingsWindowTest, TheRefreshRunsOnlyWhileTheWindowIsShown) {
  auto s = scenario();
  s.permissions.accessibility = false;
  make(std::move(s));
  EXPECT_FALSE(general_->isRefreshing());
  world().setAccessibilityTrusted(true);
  advance(10);
  EXPECT_FALSE(row("Accessibility").granted);  // nobody looked
  window_->show();
  EXPECT_TRUE(general_->isRefreshing());
  ex_.runUntilIdle();
  EXPECT_TRUE(row("Accessibility").granted);  // read as the window opened
  sim_->close();
  EXPECT_FALSE(general_->isRefreshing());
  world().setAccessibilityTrusted(false);
  advance(10);
  EXPECT_TRUE(row("Accessibility").granted);
  window_->show();
  window_->show();  // showing again keeps one timer
  EXPECT_EQ(sim_->showCount(), 3);
  ex_.runUntilIdle();
  EXPECT_FALSE(row("Accessibility").granted);
}

TEST_F(SettingsWindowTest, ARefreshThatFindsNothingNewTellsNobody) {
  window_->show();
  ex_.runUntilIdle();
  int changes = 0;
  const Subscription counting = general_->objectWillChange.connect([&] { ++changes; });
  const int descriptions = sim_->descriptions();
  advance(15);
  EXPECT_EQ(changes, 0);
  EXPECT_EQ(sim_->descriptions(), descriptions);
}

TEST_F(SettingsWindowTest, ResetToDefaultsTurnsThePickerTogglesOffOnOnOnAndTheShortcutBackOn) {
  store_->setSettings({true, false, false, false});
  std::vector<bool> hotkey;
  const Subscription following =
      store_->sinkField(&Settings::hotkeyEnabled, [&](bool on) { hotkey.push_back(on); });
  window_->show();
  ex_.runUntilIdle();
  ASSERT_EQ(pickerToggles(), (std::vector<bool>{true, false, false, false}));
  ASSERT_TRUE(sim_->clickResetToDefaults());
  ex_.runUntilIdle();
  EXPECT_EQ(pickerToggles(), (std::vector<bool>{false, true, true, true}));
  EXPECT_EQ(store_->settings(), Settings{});
  // The start-up code registers the shortcut when this field turns on.
  EXPECT_EQ(hotkey, (std::vector<bool>{false, true}));
  const auto saved = mac_->platform().defaults.dataForKey(SettingsStore::kDefaultsKey);
  ASSERT_TRUE(saved);
  EXPECT_EQ(decodeSettings(*saved), Settings{});
}

TEST_F(SettingsWindowTest, EachPickerToggleWritesItsFieldThroughTheStoreAndSaves) {
  window_->show();
  for (const auto& [label, field] : std::vector<std::pair<std::string, bool Settings::*>>{
           {kOnlyHidden, &Settings::onlyHiddenItems},
           {kShowLabels, &Settings::showLabels},
           {kLiveIcons, &Settings::liveIcons},
           {kHotkey, &Settings::hotkeyEnabled}}) {
    const bool before = store_->settings().*field;
    ASSERT_TRUE(sim_->flipToggle(label)) << label;
    EXPECT_EQ(store_->settings().*field, !before) << label;
    const auto saved = decodeSettings(
        mac_->platform().defaults.dataForKey(SettingsStore::kDefaultsKey).value_or(""));
    ASSERT_TRUE(saved) << label;
    EXPECT_EQ(*saved, store_->settings()) << label;
    ex_.runUntilIdle();
    EXPECT_EQ(toggle(label).isOn, !before) << label;
  }
  EXPECT_EQ(store_->settings(), (Settings{true, false, false, false}));
}

TEST_F(SettingsWindowTest, TurningTheLoginItemOnRegistersIt) {
  window_->show();
  ASSERT_TRUE(sim_->flipToggle(kLogin));
  EXPECT_EQ(loginItems_.registrations, 1);
  EXPECT_TRUE(general_->launchAtLogin.get());
  ex_.runUntilIdle();
  EXPECT_TRUE(toggle(kLogin).isOn);
  EXPECT_TRUE(alerts_.errors.empty());
  ASSERT_TRUE(sim_->flipToggle(kLogin));
  EXPECT_EQ(loginItems_.unregistrations, 1);
  ex_.runUntilIdle();
  EXPECT_FALSE(toggle(kLogin).isOn);
}

TEST_F(SettingsWindowTest, ARefusedLoginChangeShowsTheErrorAndFlipsTheToggleBack) {
  loginItems_.refusal = PlatformError{"Operation not permitted", std::nullopt};
  window_->show();
  std::vector<bool> shown;
  const Subscription following =
      general_->launchAtLogin.sink([&](const bool& on) { shown.push_back(on); });
  ASSERT_TRUE(sim_->flipToggle(kLogin));
  EXPECT_EQ(loginItems_.registrations, 1);
  EXPECT_EQ(alerts_.errors, std::vector<std::string>{"Operation not permitted"});
  // Off as it was, on as the user flipped it, off again as the service has it.
  EXPECT_EQ(shown, (std::vector<bool>{false, true, false}));
  ex_.runUntilIdle();
  EXPECT_FALSE(toggle(kLogin).isOn);
}

TEST_F(SettingsWindowTest, BeforeMacOS13TheLoginToggleIsDisabledWithANoteAndNoAlert) {
  loginItems_.available = false;
  make(scenario());
  window_->show();
  EXPECT_FALSE(toggle(kLogin).enabled);
  EXPECT_EQ(toggle(kLogin).help, "Available on macOS 13 or later");
  EXPECT_FALSE(sim_->flipToggle(kLogin));
  general_->setLaunchAtLogin(true);
  EXPECT_EQ(loginItems_.registrations, 0);
  EXPECT_TRUE(alerts_.errors.empty());
}

TEST_F(SettingsWindowTest, OutsideAnAppBundleTheLoginToggleIsDisabledWithItsHelpText) {
  EXPECT_TRUE(toggle(kLogin).enabled);
  EXPECT_EQ(toggle(kLogin).help, "");
  auto s = scenario();
  s.bundlePath = "/Users/dev/kestrune/build/Kestrune";
  make(std::move(s));
  window_->show();
  EXPECT_FALSE(toggle(kLogin).enabled);
  EXPECT_EQ(toggle(kLogin).help, "Available when running from Kestrune.app");
  EXPECT_FALSE(sim_->flipToggle(kLogin));
  general_->setLaunchAtLogin(true);  // nothing to change, nothing to say
  EXPECT_EQ(loginItems_.registrations, 0);
  EXPECT_TRUE(alerts_.errors.empty());
  EXPECT_FALSE(general_->launchAtLogin.get());
  for (const auto& label : {kOnlyHidden, kShowLabels, kLiveIcons, kHotkey}) {
    EXPECT_TRUE(toggle(label).enabled) << label;
    EXPECT_EQ(toggle(label).help, "") << label;
  }
}

TEST_F(SettingsWindowTest, GrantingAccessibilityPromptsThenOpensItsPane) {
  auto s = scenario();
  s.permissions.accessibility = false;
  make(std::move(s));
  window_->show();
  ASSERT_TRUE(sim_->clickGrant("Accessibility"));
  EXPECT_EQ(accessibility_->panesOpenAtPrompt, std::vector<size_t>{0});
  EXPECT_EQ(world().openedURLs(), std::vector<std::string>{kAccessibilityPane});
}

TEST_F(SettingsWindowTest, GrantingScreenRecordingAsksThenWaitsTwoMinutesForTheGrant) {
  auto s = scenario();
  s.permissions.screenRecording = false;
  make(std::move(s));
  window_->show();
  ASSERT_TRUE(sim_->clickGrant("Screen Recording"));
  EXPECT_EQ(world().screenRecordingRequests(), 1);
  EXPECT_EQ(world().openedURLs(), std::vector<std::string>{kScreenRecordingPane});
  advance(119.5);
  EXPECT_EQ(permissions_->pendingRequests(), 1U);
  advance(2);  // the first check past the deadline ends the wait
  EXPECT_EQ(permissions_->pendingRequests(), 0U);
  EXPECT_TRUE(world().openedApplications().empty());
}

TEST_F(SettingsWindowTest, AGrantedScreenRecordingRelaunchesTheApp) {
  auto s = scenario();
  s.permissions.screenRecording = false;
  make(std::move(s));
  window_->show();
  ASSERT_TRUE(sim_->clickGrant("Screen Recording"));
  advance(20);
  world().grantScreenRecording();
  advance(1);
  const auto opened = world().openedApplications();
  ASSERT_EQ(opened.size(), 1U);
  EXPECT_EQ(opened[0].bundlePath, "/Applications/Kestrune.app");
  EXPECT_TRUE(opened[0].createsNewInstance);
}

TEST_F(SettingsWindowTest, ChoosingArrangeThroughTheSelectionSwitchesTheOpenWindow) {
  window_->show();
  ASSERT_EQ(sim_->tab(), SettingsTab::general);
  tabs_.tab = SettingsTab::arrange;  // "Arrange Menu Bar Items…" in the menu
  EXPECT_EQ(sim_->tab(), SettingsTab::arrange);
  EXPECT_TRUE(window_->isVisible());
  ex_.runUntilIdle();
  EXPECT_EQ(sim_->content().selected, SettingsTab::arrange);
  // The list scans the bar the first time it is shown.
  advance(5);
  EXPECT_FALSE(arrange_->entries.get().empty());
  EXPECT_FALSE(sim_->arrangeContent().scanning);
}

TEST_F(SettingsWindowTest, AClickedTabBecomesTheSelection) {
  window_->show();
  sim_->selectTab(SettingsTab::arrange);
  EXPECT_EQ(tabs_.tab.get(), SettingsTab::arrange);
  EXPECT_EQ(sim_->tab(), SettingsTab::arrange);
  EXPECT_FALSE(sim_->flipToggle(kOnlyHidden));  // not on this tab
  sim_->selectTab(SettingsTab::general);
  EXPECT_EQ(tabs_.tab.get(), SettingsTab::general);
  EXPECT_TRUE(sim_->flipToggle(kOnlyHidden));
}

TEST_F(SettingsWindowTest, ATabChosenWhileClosedIsTheOneShownAndScannedOnOpening) {
  tabs_.tab = SettingsTab::arrange;
  EXPECT_EQ(sim_->tab(), SettingsTab::arrange);
  advance(5);
  EXPECT_TRUE(arrange_->entries.get().empty());  // not shown yet
  window_->show();
  advance(5);
  EXPECT_FALSE(arrange_->entries.get().empty());
}

TEST_F(SettingsWindowTest, AClosedWindowTakesNoClicks) {
  EXPECT_FALSE(sim_->flipToggle(kOnlyHidden));
  EXPECT_FALSE(sim_->clickResetToDefaults());
  EXPECT_EQ(store_->settings(), Settings{});
}

TEST_F(SettingsWindowTest, AWindowDroppedWhileShownStopsTheRefreshAndItsQueuedWork) {
  window_->show();
  ASSERT_TRUE(sim_->flipToggle(kOnlyHidden));  // queues a description
  window_.reset();
  EXPECT_EQ(windows_->window(), nullptr);
  EXPECT_FALSE(general_->isRefreshing());
  ex_.runUntilIdle();
  advance(5);
}

TEST_F(SettingsWindowTest, TheModelGoneTheRefreshTimerDoesNothing) {
  window_->show();
  window_.reset();
  general_->start();
  std::weak_ptr<GeneralSettingsModel> weak = general_;
  general_.reset();
  EXPECT_TRUE(weak.expired());
  advance(5);
}

TEST(SettingsViewDescription, FollowsTheStateItIsGiven) {
  const GeneralSettingsState state{true, false, true, std::nullopt};
  const auto view = describeGeneralSettings(Settings{true, false, true, false}, state);
  EXPECT_TRUE(findToggle(view, kLogin)->isOn);
  EXPECT_TRUE(findToggle(view, kOnlyHidden)->isOn);
  EXPECT_FALSE(findToggle(view, kLiveIcons)->isOn);
  EXPECT_TRUE(findToggle(view, kShowLabels)->isOn);
  EXPECT_FALSE(findToggle(view, kHotkey)->isOn);
  EXPECT_TRUE(findPermission(view, "Accessibility")->granted);
  EXPECT_FALSE(findPermission(view, "Screen Recording")->granted);
  EXPECT_EQ(findToggle(view, "Nothing"), nullptr);
  EXPECT_EQ(findPermission(view, "Nothing"), nullptr);
  EXPECT_EQ(settingsField(SettingsToggleKind::launchAtLogin), std::nullopt);
  EXPECT_EQ(settingsField(SettingsToggleKind::liveIcons), &Settings::liveIcons);
}

// Pictures: checked by pixels whose colour follows from what was drawn.
class SettingsPictureTest : public SettingsWindowTest {
 protected:
  struct RGB {
    int r, g, b;
  };
  double scale() { return world().mainDisplay().scale; }
  RGB at(const Bitmap& b, Point p) {
    const uint8_t* px = b.pixel(static_cast<int>(p.x * scale()), static_cast<int>(p.y * scale()));
    return {px[2], px[1], px[0]};  // B, G, R, A in memory
  }
  sim::SettingsGeometry geometry() { return sim::layoutSettingsWindow(sim_->content()); }
  // Inside the symbol, clear of the mark cut out of it.
  static Point symbolSample(const Rect& icon) { return {icon.midX() - 4, icon.maxY() - 5}; }
  // Inside the switch's track, clear of its knob.
  static Point trackSample(const Rect& track) { return {track.midX(), track.minY() + 1}; }
  const sim::SettingsGeometry::Permission& permissionGeometry(const sim::SettingsGeometry& g,
                                                              size_t index) {
    return g.permissions.at(2).at(index);
  }

  static bool isOrange(RGB c) { return c.r > 230 && c.g > 120 && c.g < 170 && c.b < 30; }
  static bool isGreen(RGB c) { return c.g > 180 && c.r < 80 && c.b < 110; }
  static bool isAccent(RGB c) { return c.b > 220 && c.r < 50 && c.g > 90 && c.g < 140; }
  static bool isGreyTrack(RGB c) { return c.r > 195 && c.r < 215 && c.r == c.g && c.b >= c.g; }
  static bool isWhite(RGB c) { return c.r == 255 && c.g == 255 && c.b == 255; }
};

TEST_F(SettingsPictureTest, IsTheWindowWithItsTitleBarAtTheDisplaysScale) {
  const Bitmap b = sim_->render();
  EXPECT_EQ(b.width, static_cast<int>(520 * scale()));
  EXPECT_EQ(b.height, static_cast<int>((560 + 28) * scale()));
  // The close button is red, the minimise button yellow.
  const RGB close = at(b, {14, 14});
  EXPECT_GT(close.r, 240);
  EXPECT_LT(close.g, 110);
  const RGB minimise = at(b, {34, 14});
  EXPECT_GT(minimise.r, 240);
  EXPECT_GT(minimise.g, 170);
}

TEST_F(SettingsPictureTest, TheSelectedTabIsFilledAndFollowsTheSelection) {
  const auto g = geometry();
  const Point general{g.tabs[0].minX() + 6, g.tabs[0].minY() + 4};
  const Point arrange{g.tabs[1].minX() + 6, g.tabs[1].minY() + 4};
  Bitmap b = sim_->render();
  EXPECT_TRUE(isAccent(at(b, general)));
  EXPECT_TRUE(isWhite(at(b, arrange)));
  window_->show();
  tabs_.tab = SettingsTab::arrange;
  ex_.runUntilIdle();
  b = sim_->render();
  EXPECT_TRUE(isWhite(at(b, general)));
  EXPECT_TRUE(isAccent(at(b, arrange)));
}

TEST_F(SettingsPictureTest, APermissionTurnsFromAnOrangeWarningWithAButtonToAGreenCheck) {
  auto s = scenario();
  s.permissions.accessibility = false;
  make(std::move(s));
  window_->show();
  auto g = geometry();
  const auto before = permissionGeometry(g, 0);
  ASSERT_TRUE(before.grantButton);
  const Point border{before.grantButton->minX(), before.grantButton->midY()};
  Bitmap b = sim_->render();
  EXPECT_TRUE(isOrange(at(b, symbolSample(before.icon))));
  EXPECT_FALSE(isWhite(at(b, border)));
  world().setAccessibilityTrusted(true);
  advance(1.5);
  g = geometry();
  const auto after = permissionGeometry(g, 0);
  EXPECT_FALSE(after.grantButton);
  b = sim_->render();
  EXPECT_TRUE(isGreen(at(b, symbolSample(after.icon))));
  EXPECT_TRUE(isWhite(at(b, border)));  // the row's plain background
}

TEST_F(SettingsPictureTest, SwitchesAreFilledWhenOnGreyWhenOffAndPaleWhenDisabled) {
  store_->setSettings({true, false, false, false});
  window_->show();
  ASSERT_TRUE(sim_->clickResetToDefaults());
  ex_.runUntilIdle();
  const auto g = geometry();
  const Bitmap b = sim_->render();
  const auto& picker = g.toggles.at(1);
  ASSERT_EQ(picker.size(), 4U);
  EXPECT_TRUE(isGreyTrack(at(b, trackSample(picker[0].track))));
  for (size_t i = 1; i < 4; ++i) EXPECT_TRUE(isAccent(at(b, trackSample(picker[i].track)))) << i;
  const RGB enabledOff = at(b, trackSample(picker[0].track));
  const RGB login = at(b, trackSample(g.toggles.at(0).at(0).track));
  EXPECT_EQ(login.r, enabledOff.r);  // enabled and off alike

  auto s = scenario();
  s.bundlePath = "/Users/dev/kestrune/build/Kestrune";
  make(std::move(s));
  const Bitmap outside = sim_->render();
  const RGB disabled = at(outside, trackSample(geometry().toggles.at(0).at(0).track));
  EXPECT_GT(disabled.r, enabledOff.r + 20);  // the grey at 40 % over the white row
  EXPECT_LT(disabled.r, 255);
}

TEST_F(SettingsPictureTest, TheMenuBarOrderTabShowsTheArrangementListAsItIsDrawnAlone) {
  std::vector<sim::ScenarioApp> apps{
      testing::app(1000, "com.kestrune.Kestrune", "Kestrune", {testing::item("kestrune", 30)})};
  for (const char* name : {"Alpha", "Bravo", "Charlie", "Delta"}) {
    apps.push_back(testing::app(400 + static_cast<pid_t>(apps.size()),
                                std::string("com.example.") + name, name,
                                {testing::item(name, 30)}));
  }
  make(testing::scenario(15, 1440, std::nullopt, 300, apps));
  window_->show();
  tabs_.tab = SettingsTab::arrange;
  advance(5);
  ASSERT_EQ(sim_->arrangeContent().rows.size(), 4U);
  const auto g = geometry();
  const Bitmap window = sim_->render();
  const Bitmap list = sim::renderArrangeView(sim_->arrangeContent(), scale(), false);
  const Rect frame = sim::arrangeListFrame(g, {list.width / scale(), list.height / scale()});
  ASSERT_EQ(frame.height(), list.height / scale());  // it fits: drawn at its own size
  int compared = 0;
  int differing = 0;
  for (double y = 2; y < frame.height() - 2; y += 3.5) {
    for (double x = 20; x < 480; x += 7.5) {
      const RGB inWindow = at(window, {frame.minX() + x, frame.minY() + y});
      const uint8_t* alone =
          list.pixel(static_cast<int>(x * scale()), static_cast<int>(y * scale()));
      ++compared;
      if (inWindow.r != alone[2] || inWindow.g != alone[1] || inWindow.b != alone[0]) ++differing;
    }
  }
  EXPECT_GT(compared, 3000);
  EXPECT_EQ(differing, 0);
}

TEST_F(SettingsPictureTest, AListTallerThanTheTabIsShrunkToShowWhole) {
  SettingsViewModel view;
  view.tabs = sim_->content().tabs;
  view.selected = SettingsTab::arrange;
  const auto g = sim::layoutSettingsWindow(view);
  const Rect tall = sim::arrangeListFrame(g, {500, 900});
  EXPECT_GE(tall.minY(), g.tabs[0].maxY());
  EXPECT_LE(tall.maxY(), g.tabBox.maxY());
  EXPECT_LT(tall.height(), 900);
  EXPECT_DOUBLE_EQ(tall.width() / 500, tall.height() / 900);
  EXPECT_DOUBLE_EQ(tall.midX(), g.tabBox.midX());
  const Rect small = sim::arrangeListFrame(g, {500, 300});
  EXPECT_EQ(small.size, (Size{500, 300}));
}

}  // namespace
}  // namespace kestrune
