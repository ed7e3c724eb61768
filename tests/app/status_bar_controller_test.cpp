// Kestrune's status item on the simulated bar: its clicks, its menu, the
// settings window and the about panel it opens, and where the item lands.
#include "app/status_bar_controller.hpp"

#include <gtest/gtest.h>

#include <algorithm>

#include "app/launch_at_login.hpp"
#include "app/permissions.hpp"
#include "discovery/menu_bar_item.hpp"
#include "sim/sim_about_panel.hpp"
#include "sim/sim_login_items.hpp"
#include "sim/sim_panel_window.hpp"
#include "sim/sim_ports.hpp"
#include "sim/sim_status_bar.hpp"
#include "support/scenarios.hpp"
#include "support/sim_picker.hpp"

namespace kestrune {
namespace {

using testing::app;
using testing::item;
using MenuAction = StatusBarController::MenuAction;

constexpr pid_t kOwnPID = 1000;
const std::string kPositionKey = "NSStatusItem Preferred Position Kestrune.main";
const std::string kAccessibilityPane =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility";

// A roomy bar without a notch: three apps with one item each.
sim::Scenario roomy() {
  return testing::scenario(15, 1440, std::nullopt, 300,
                           {app(401, "com.example.a", "A", {item("a", 30)}),
                            app(402, "com.example.b", "B", {item("b", 30)}),
                            app(403, "com.example.c", "C", {item("c", 30)})});
}

// macOS's clock and Control Center at the right end, then `count` apps of
// one 30-point item each.
sim::Scenario bar(std::optional<double> notch, int count) {
  sim::ScenarioItem clock = item("clock", 118, "Clock");
  clock.identifier = "com.apple.menuextra.clock";
  sim::ScenarioItem bento = item("controlcenter", 32, "Control Center");
  bento.identifier = "com.apple.menuextra.controlcenter";
  std::vector<sim::ScenarioApp> apps{
      app(301, "com.apple.controlcenter", "Control Center", {clock, bento})};
  for (int i = 0; i < count; ++i) {
    const std::string name = "app" + std::to_string(i);
    apps.push_back(app(500 + i, "com.example." + name, name, {item(name, 30)}));
  }
  return testing::scenario(15, 1512, notch, 330, std::move(apps));
}

// A full bar on a laptop with a camera housing: not every item fits right of
// the notch.
sim::Scenario crowdedNotch() {
  return bar(190, 30);
}

// The simulated Mac's Accessibility, passed through, with the prompt option
// of each trust question recorded.
struct PromptRecorder final : Accessibility {
  explicit PromptRecorder(Accessibility& inner) : inner(inner) {}
  AXElement createApplication(pid_t pid) override { return inner.createApplication(pid); }
  AXError setMessagingTimeout(const AXElement& e, float s) override {
    return inner.setMessagingTimeout(e, s);
  }
  AXError copyAttributeValue(const AXElement& e, std::string_view a, AXAnyValue& v) override {
    return inner.copyAttributeValue(e, a, v);
  }
  AXError performAction(const AXElement& e, std::string_view a) override {
    return inner.performAction(e, a);
  }
  AXError getPid(const AXElement& e, pid_t& pid) override { return inner.getPid(e, pid); }
  bool isProcessTrusted() override { return inner.isProcessTrusted(); }
  bool isProcessTrustedWithOptions(bool prompt) override {
    questions.push_back(prompt);
    return inner.isProcessTrustedWithOptions(prompt);
  }
  Accessibility& inner;
  std::vector<bool> questions;  // the prompt option of each question
};

struct RecordingAlerts final : Alerts {
  size_t runModal(const AlertRequest& request) override {
    requests.push_back(request);
    return 0;
  }
  void showError(const PlatformError& error) override { errors.push_back(error); }
  std::vector<AlertRequest> requests;
  std::vector<PlatformError> errors;
};

struct FakeSettingsWindow final : SettingsWindow {
  explicit FakeSettingsWindow(SettingsTabSelection& tabs) : tabs(tabs) {}
  void show() override {
    visible = true;
    shownOn.push_back(tabs.tab.get());
  }
  bool isVisible() override { return visible; }
  SettingsTabSelection& tabs;
  bool visible = false;
  std::vector<SettingsTab> shownOn;  // the selected tab at each show
};

// A status item whose button may have no window, at a frame of the test's
// choosing.
struct FakeStatusItem final : StatusItem {
  std::optional<Rect> frame;
  int menus = 0;
  void setAutosaveName(const std::string&) override {}
  void setImage(const Image&) override {}
  void setToolTip(const std::string&) override {}
  void setAction(EventMask, Action) override {}
  std::optional<Rect> buttonWindowFrame() override { return frame; }
  void showMenu(std::function<MenuDescription()>, std::function<void(size_t)>) override { ++menus; }
};

struct FakeStatusBar final : StatusBar {
  FakeStatusItem* made = nullptr;
  std::unique_ptr<StatusItem> statusItemWithSquareLength() override {
    auto item = std::make_unique<FakeStatusItem>();
    made = item.get();
    return item;
  }
};

class StatusBarControllerTest : public testing::SimPicker {
 protected:
  struct Options {
    std::optional<int64_t> position = 1;  // as start-up seeds it
    bool updater = false;
    StatusBar* statusBar = nullptr;  // none: the simulated bar
  };

  void start(sim::Scenario scenario, Options options) {
    scenario.ownPID = kOwnPID;
    make(std::move(scenario));
    const Platform& p = mac_->platform();
    if (options.position) p.defaults.setInteger(kPositionKey, *options.position);
    window_ = std::make_unique<sim::SimPanelWindow>(mac_->world());
    panel_ = OverflowPanel::create(model_, *store_, layout_->isModern(), p, *window_,
                                   {[](const MenuBarItem&) {}, [] {}});
    bar_ = std::make_unique<sim::SimStatusBar>(mac_->world(), p.defaults);
    loginItems_ = std::make_unique<sim::SimLoginItems>(sim::ScenarioLoginItem{},
                                                       mac_->world().scenario().osMajorVersion);
    launchAtLogin_ = std::make_unique<LaunchAtLogin>(p.application, p.fileSystem, p.defaults,
                                                     *loginItems_, stack_->diag);
    recorder_ = std::make_unique<PromptRecorder>(p.accessibility);
    platform_ = std::make_unique<Platform>(
        Platform{*recorder_, p.windowServer, p.workspace, p.screens, p.system, p.fileSystem,
                 p.defaults, p.screenCapture, p.imageCodec, p.application, p.events, p.executors});
    StatusBar& statusBar = options.statusBar ? *options.statusBar : *bar_;
    controller_ = StatusBarController::create(
        *store_, panel_, {*platform_, statusBar, alerts_, about_}, hooks(options.updater));
  }
  void start(sim::Scenario scenario) { start(std::move(scenario), Options{}); }

  StatusBarController::Hooks hooks(bool updater) {
    StatusBarController::Hooks h;
    h.loginItemUnavailable = [this] { return launchAtLogin_->unavailableReason(); };
    h.loginItemEnabled = [this] { return loginEnabled_; };
    h.setLoginItem = [this](bool on) -> std::optional<PlatformError> {
      loginRequests_.push_back(on);
      if (loginError_) return loginError_;
      loginEnabled_ = on;
      return std::nullopt;
    };
    h.updaterAvailable = updater;
    h.checkForUpdates = [this] { ++updateChecks_; };
    h.canCheckForUpdates = [this] { return canCheckForUpdates_; };
    h.makeArrangeModel = [this](ArrangeModel::OwnIconFrame ownIconFrame) {
      ++arrangeModelsMade_;
      givenOwnIconFrame_ = ownIconFrame;
      return ArrangeModel::create(mac_->platform(), *layout_, stack_->diag, ownIconFrame);
    };
    h.makeSettingsWindow = [this](SettingsTabSelection& tabs,
                                  std::shared_ptr<ArrangeModel> arrange) {
      ++windowsMade_;
      windowArrange_ = std::move(arrange);
      auto window = std::make_unique<FakeSettingsWindow>(tabs);
      settingsWindow_ = window.get();
      return std::unique_ptr<SettingsWindow>(std::move(window));
    };
    return h;
  }

  sim::World& world() { return mac_->world(); }
  sim::SimStatusItem& statusItem() { return *bar_->item(); }
  // Right-clicks the item and answers its menu by a row's title.
  void choose(const std::string& title) {
    statusItem().answerMenu(title);
    ASSERT_TRUE(statusItem().click(EventType::rightMouseUp));
  }
  // The menu as last drawn.
  const MenuDescription& lastMenu() { return statusItem().shownMenus().back().menu; }
  const MenuRow& lastRow(const std::string& title) {
    for (const auto& row : lastMenu().rows) {
      if (row.title == title) return row;
    }
    throw std::runtime_error("no row " + title);
  }
  // Opens the menu and dismisses it, to see what it shows now.
  const MenuRow& rowAsShown(const std::string& title) {
    statusItem().answerMenu(std::nullopt);
    statusItem().click(EventType::rightMouseUp);
    return lastRow(title);
  }
  [[nodiscard]] bool panelShown() const { return panel_->isShown() && window_->isVisible(); }
  // Kestrune's item on the world's bar, in AppKit's space.
  Rect ownItemFrame() {
    return flipVertically(world().ownStatusItem()->placed.frame,
                          world().mainDisplay().frame.height());
  }
  std::vector<std::string> keysRightToLeft() {
    std::vector<std::string> keys;
    for (const auto& i : world().statusItems()) keys.push_back(i.item.key);
    return keys;
  }
  size_t activations() {
    const auto& changes = mac_->application().changes();
    return static_cast<size_t>(std::count(changes.begin(), changes.end(), "activate"));
  }

  std::unique_ptr<sim::SimPanelWindow> window_;
  std::shared_ptr<OverflowPanel> panel_;
  std::unique_ptr<sim::SimStatusBar> bar_;
  std::unique_ptr<PromptRecorder> recorder_;
  std::unique_ptr<Platform> platform_;
  RecordingAlerts alerts_;
  sim::SimAboutPanel about_;
  std::shared_ptr<StatusBarController> controller_;

  std::unique_ptr<sim::SimLoginItems> loginItems_;
  std::unique_ptr<LaunchAtLogin> launchAtLogin_;
  bool loginEnabled_ = false;
  std::optional<PlatformError> loginError_;
  bool canCheckForUpdates_ = true;
  std::vector<bool> loginRequests_;
  int updateChecks_ = 0;
  int arrangeModelsMade_ = 0;
  ArrangeModel::OwnIconFrame givenOwnIconFrame_;
  int windowsMade_ = 0;
  std::shared_ptr<ArrangeModel> windowArrange_;
  FakeSettingsWindow* settingsWindow_ = nullptr;
};

// --- The item ---

TEST_F(StatusBarControllerTest, TheItemIsNamedDrawnTippedAndListensToBothMouseUps) {
  start(roomy());
  ASSERT_NE(bar_->item(), nullptr);
  EXPECT_EQ(statusItem().autosaveName(), "Kestrune.main");
  EXPECT_EQ(statusItem().image(), MenuBarIcon::main());
  EXPECT_TRUE(statusItem().image().isTemplate);
  EXPECT_EQ(statusItem().image().size, (Size{18, 18}));
  EXPECT_EQ(statusItem().toolTip(), "Kestrune — click to reach hidden menu bar items (⌃⌥⌘T)");
  EXPECT_EQ(statusItem().sendActionOn(), 20U);
  // Square: as wide as the bar is thick.
  EXPECT_EQ(world().ownStatusItem()->placed.frame.width(),
            world().scenario().menuBar.statusBarThickness);
}

TEST_F(StatusBarControllerTest, TheSeededPositionPutsTheItemAtTheRightEndLeftOfTheClock) {
  start(crowdedNotch());
  const auto keys = keysRightToLeft();
  ASSERT_GE(keys.size(), 3U);
  EXPECT_EQ(keys[0], "clock");
  EXPECT_EQ(keys[1], "controlcenter");
  EXPECT_EQ(keys[2], "kestrune");
  EXPECT_TRUE(world().ownStatusItem()->placed.isDrawn());
  EXPECT_EQ(controller_->iconFrame(), ownItemFrame());
}

// --- Clicks ---

TEST_F(StatusBarControllerTest, ALeftClickTogglesThePanelUnderTheItemAndNeverOpensTheMenu) {
  start(roomy());
  ASSERT_TRUE(statusItem().click(EventType::leftMouseUp));
  EXPECT_TRUE(panelShown());
  EXPECT_EQ(panel_->anchor(), ownItemFrame());
  ASSERT_TRUE(statusItem().click(EventType::leftMouseUp));
  EXPECT_FALSE(panelShown());
  EXPECT_TRUE(statusItem().shownMenus().empty());
}

TEST_F(StatusBarControllerTest, ARightClickOpensTheMenuAndNeverThePanel) {
  start(roomy());
  ASSERT_TRUE(statusItem().click(EventType::rightMouseUp));
  EXPECT_EQ(statusItem().shownMenus().size(), 1U);
  EXPECT_FALSE(panelShown());
  // With the panel open, the menu closes it.
  statusItem().click(EventType::leftMouseUp);
  ASSERT_TRUE(panelShown());
  statusItem().click(EventType::rightMouseUp);
  EXPECT_EQ(statusItem().shownMenus().size(), 2U);
  EXPECT_FALSE(panelShown());
}

TEST_F(StatusBarControllerTest, AfterTheMenuClosesALeftClickTogglesThePanelAgain) {
  start(roomy());
  statusItem().click(EventType::rightMouseUp);  // dismissed
  EXPECT_FALSE(statusItem().hasMenu());
  statusItem().click(EventType::leftMouseUp);
  EXPECT_TRUE(panelShown());
  EXPECT_EQ(statusItem().shownMenus().size(), 1U);
  statusItem().click(EventType::leftMouseUp);
  EXPECT_FALSE(panelShown());
}

TEST_F(StatusBarControllerTest, AnActionWithoutACurrentEventTogglesThePanel) {
  start(roomy());
  statusItem().sendAction(std::nullopt);
  EXPECT_TRUE(panelShown());
  EXPECT_TRUE(statusItem().shownMenus().empty());
}

TEST_F(StatusBarControllerTest, WithoutAButtonWindowThePanelStaysAsItIs) {
  FakeStatusBar fake;
  start(roomy(), {.statusBar = &fake});
  controller_->togglePanel();
  EXPECT_FALSE(panel_->isShown());
  fake.made->frame = Rect{1300, 876, 24, 24};
  controller_->togglePanel();
  EXPECT_TRUE(panel_->isShown());
  EXPECT_EQ(panel_->anchor(), (Rect{1300, 876, 24, 24}));
}

// --- The menu ---

struct ExpectedRow {
  std::string title;  // empty: a separator
  std::string key;
  bool enabled;
  MenuAction action;
};

void expectRows(const StatusBarController& controller, const std::vector<ExpectedRow>& expected) {
  const auto& rows = controller.menu().rows;
  ASSERT_EQ(rows.size(), expected.size());
  for (size_t i = 0; i < rows.size(); ++i) {
    SCOPED_TRACE("row " + std::to_string(i + 1));
    EXPECT_EQ(rows[i].isSeparator, expected[i].title.empty());
    EXPECT_EQ(rows[i].title, expected[i].title);
    EXPECT_EQ(rows[i].keyEquivalent, expected[i].key);
    EXPECT_EQ(rows[i].enabled, expected[i].enabled);
    EXPECT_EQ(controller.actionAt(i), expected[i].action);
  }
}

std::vector<ExpectedRow> menuRows(bool updater) {
  std::vector<ExpectedRow> rows{
      {"Kestrune", "", false, MenuAction::none},
      {"", "", true, MenuAction::none},
      {"Show Hidden Items", "", true, MenuAction::togglePanel},
      {"", "", true, MenuAction::none},
      {"Only Hidden Items in Picker", "", true, MenuAction::toggleShowAll},
      {"Arrange Menu Bar Items…", "", true, MenuAction::openArrange},
      {"Settings…", ",", true, MenuAction::openSettings},
      {"", "", true, MenuAction::none},
      {"Launch at Login", "", true, MenuAction::toggleLogin},
      {"Grant Accessibility Permission…", "", true, MenuAction::grantAX},
      {"", "", true, MenuAction::none},
      {"About Kestrune", "", true, MenuAction::showAbout},
  };
  if (updater) rows.push_back({"Check for Updates…", "", true, MenuAction::checkForUpdates});
  rows.push_back({"Quit Kestrune", "q", true, MenuAction::quit});
  return rows;
}

TEST_F(StatusBarControllerTest, TheMenuHasItsFourteenRowsWithTheUpdater) {
  start(roomy(), {.updater = true});
  expectRows(*controller_, menuRows(true));
  EXPECT_EQ(controller_->menu().rows.size(), 14U);
}

TEST_F(StatusBarControllerTest, WithoutTheUpdaterThereIsNoCheckForUpdatesRow) {
  start(roomy());
  expectRows(*controller_, menuRows(false));
  for (const auto& row : controller_->menu().rows) EXPECT_NE(row.title, "Check for Updates…");
}

TEST_F(StatusBarControllerTest, TheMenuIsBuiltOnceAndShownAgainAsItIs) {
  start(roomy(), {.updater = true});
  statusItem().click(EventType::rightMouseUp);
  statusItem().click(EventType::rightMouseUp);
  const auto& shown = statusItem().shownMenus();
  ASSERT_EQ(shown.size(), 2U);
  EXPECT_EQ(shown[0].menu, shown[1].menu);
  EXPECT_EQ(shown[1].menu, controller_->menu());
  EXPECT_EQ(controller_->menu().rows.size(), 14U);
}

TEST_F(StatusBarControllerTest, TheCheckMarkFollowsOnlyHiddenItems) {
  start(roomy());
  EXPECT_FALSE(rowAsShown("Only Hidden Items in Picker").checked);
  choose("Only Hidden Items in Picker");
  EXPECT_TRUE(store_->settings().onlyHiddenItems);
  // Saved with the rest of the record.
  const auto saved = mac_->platform().defaults.dataForKey(SettingsStore::kDefaultsKey);
  ASSERT_TRUE(saved);
  EXPECT_EQ(decodeSettings(*saved)->onlyHiddenItems, true);
  EXPECT_TRUE(rowAsShown("Only Hidden Items in Picker").checked);
  store_->set(&Settings::onlyHiddenItems, false);
  EXPECT_FALSE(rowAsShown("Only Hidden Items in Picker").checked);
}

TEST_F(StatusBarControllerTest, TheAccessibilityRowIsHiddenOnceTrusted) {
  start(roomy());
  EXPECT_TRUE(rowAsShown("Grant Accessibility Permission…").hidden);
  // Asked without a prompt.
  EXPECT_EQ(recorder_->questions, std::vector<bool>{false});
  world().setAccessibilityTrusted(false);
  EXPECT_FALSE(rowAsShown("Grant Accessibility Permission…").hidden);
  world().setAccessibilityTrusted(true);
  EXPECT_TRUE(rowAsShown("Grant Accessibility Permission…").hidden);
}

TEST_F(StatusBarControllerTest, GrantAccessibilityPromptsAndOpensThePane) {
  start(roomy());
  world().setAccessibilityTrusted(false);
  choose("Grant Accessibility Permission…");
  EXPECT_EQ(recorder_->questions.back(), true);
  EXPECT_EQ(world().openedURLs(), std::vector<std::string>{kAccessibilityPane});
}

TEST_F(StatusBarControllerTest, AHiddenAccessibilityRowCannotBeChosen) {
  start(roomy());
  choose("Grant Accessibility Permission…");
  EXPECT_EQ(statusItem().shownMenus().back().chosen, std::nullopt);
  EXPECT_TRUE(world().openedURLs().empty());
}

TEST_F(StatusBarControllerTest, ShowHiddenItemsOpensThePanel) {
  start(roomy());
  choose("Show Hidden Items");
  EXPECT_TRUE(panelShown());
  EXPECT_EQ(panel_->anchor(), ownItemFrame());
  EXPECT_FALSE(statusItem().hasMenu());
}

TEST_F(StatusBarControllerTest, CheckForUpdatesAsksTheUpdater) {
  start(roomy(), {.updater = true});
  choose("Check for Updates…");
  EXPECT_EQ(updateChecks_, 1);
}

// The updater decides: while its check runs, the row is disabled.
TEST_F(StatusBarControllerTest, CheckForUpdatesIsEnabledOnlyWhenTheUpdaterCanCheck) {
  start(roomy(), {.updater = true});
  EXPECT_TRUE(rowAsShown("Check for Updates…").enabled);
  canCheckForUpdates_ = false;
  EXPECT_FALSE(rowAsShown("Check for Updates…").enabled);
  choose("Check for Updates…");
  EXPECT_EQ(updateChecks_, 0);
}

TEST_F(StatusBarControllerTest, QuitTerminatesTheApp) {
  start(roomy());
  EXPECT_FALSE(world().terminated());
  choose("Quit Kestrune");
  EXPECT_EQ(world().terminateCount(), 1);
}

// --- Launch at Login ---

TEST_F(StatusBarControllerTest, OutsideAnAppBundleLaunchAtLoginIsDisabledWithItsToolTip) {
  auto s = roomy();
  s.bundlePath = "/Users/dev/src/kestrune/build/Kestrune";
  start(std::move(s));
  const MenuRow& login = rowAsShown("Launch at Login");
  EXPECT_FALSE(login.enabled);
  EXPECT_EQ(login.toolTip, "Available when running from Kestrune.app");
  // A disabled row cannot be chosen.
  choose("Launch at Login");
  EXPECT_TRUE(loginRequests_.empty());
}

TEST_F(StatusBarControllerTest, BeforeMacOS13LaunchAtLoginIsDisabledWithANote) {
  auto s = roomy();
  s.osMajorVersion = 12;
  start(std::move(s));
  const MenuRow& login = rowAsShown("Launch at Login");
  EXPECT_FALSE(login.enabled);
  EXPECT_EQ(login.toolTip, "Available on macOS 13 or later");
  choose("Launch at Login");
  EXPECT_TRUE(loginRequests_.empty());
  EXPECT_TRUE(alerts_.errors.empty());
}

TEST_F(StatusBarControllerTest, FromAnAppBundleLaunchAtLoginIsEnabledWithoutAToolTip) {
  start(roomy());
  const MenuRow& login = rowAsShown("Launch at Login");
  EXPECT_TRUE(login.enabled);
  EXPECT_EQ(login.toolTip, "");
  EXPECT_FALSE(login.checked);
}

TEST_F(StatusBarControllerTest, ToggleLoginTurnsTheLoginItemOnAndOff) {
  start(roomy());
  choose("Launch at Login");
  EXPECT_EQ(loginRequests_, std::vector<bool>{true});
  EXPECT_TRUE(rowAsShown("Launch at Login").checked);
  choose("Launch at Login");
  EXPECT_EQ(loginRequests_, (std::vector<bool>{true, false}));
  EXPECT_FALSE(rowAsShown("Launch at Login").checked);
  EXPECT_TRUE(alerts_.errors.empty());
}

TEST_F(StatusBarControllerTest, AFailedLoginChangeIsShownInAnErrorAlert) {
  start(roomy());
  loginError_ =
      PlatformError{"Operation not permitted",
                    "Allow Kestrune in System Settings \u203A General \u203A Login Items."};
  choose("Launch at Login");
  EXPECT_EQ(loginRequests_, std::vector<bool>{true});
  // The service's advice stays with its error.
  ASSERT_EQ(alerts_.errors.size(), 1U);
  EXPECT_EQ(alerts_.errors[0].description, "Operation not permitted");
  EXPECT_EQ(alerts_.errors[0].recoverySuggestion,
            "Allow Kestrune in System Settings \u203A General \u203A Login Items.");
  EXPECT_EQ(activations(), 1U);
  EXPECT_FALSE(controller_->menu().rows[8].checked);  // synchronised after the change
  EXPECT_FALSE(rowAsShown("Launch at Login").checked);
}

// --- Settings ---

TEST_F(StatusBarControllerTest, SettingsMakesTheWindowOnceAndSwitchesTheTab) {
  start(roomy());
  choose("Settings…");
  ASSERT_EQ(windowsMade_, 1);
  EXPECT_EQ(settingsWindow_->shownOn, std::vector<SettingsTab>{SettingsTab::general});
  EXPECT_EQ(controller_->settingsTab().tab.get(), SettingsTab::general);
  // The open window switches to the arrangement.
  choose("Arrange Menu Bar Items…");
  EXPECT_EQ(windowsMade_, 1);
  EXPECT_EQ(arrangeModelsMade_, 1);
  EXPECT_EQ(settingsWindow_->shownOn,
            (std::vector<SettingsTab>{SettingsTab::general, SettingsTab::arrange}));
  EXPECT_EQ(activations(), 2U);
  // Closed and opened again: the same window and model.
  settingsWindow_->visible = false;
  controller_->openSettings();
  EXPECT_EQ(windowsMade_, 1);
  EXPECT_EQ(arrangeModelsMade_, 1);
  EXPECT_TRUE(settingsWindow_->visible);
  EXPECT_EQ(settingsWindow_->shownOn.back(), SettingsTab::general);
}

TEST_F(StatusBarControllerTest, ArrangeFirstMakesTheWindowOnTheArrangementTab) {
  start(roomy());
  controller_->openArrange();
  ASSERT_EQ(windowsMade_, 1);
  EXPECT_EQ(settingsWindow_->shownOn, std::vector<SettingsTab>{SettingsTab::arrange});
  ASSERT_NE(controller_->arrangeModel(), nullptr);
  EXPECT_EQ(windowArrange_, controller_->arrangeModel());
  EXPECT_EQ(controller_->settingsWindow(), settingsWindow_);
}

TEST_F(StatusBarControllerTest, TheArrangementModelIsToldWhereKestrunesIconIs) {
  start(crowdedNotch());
  controller_->openArrange();
  ASSERT_TRUE(givenOwnIconFrame_);
  // In the window list's space: top-left origin.
  EXPECT_EQ(givenOwnIconFrame_(), world().ownStatusItem()->placed.frame);
  const Rect before = *givenOwnIconFrame_();
  world().placeOwnStatusItem(std::nullopt, 24);  // the user moved it
  EXPECT_NE(givenOwnIconFrame_(), before);
  EXPECT_EQ(givenOwnIconFrame_(), world().ownStatusItem()->placed.frame);
}

TEST_F(StatusBarControllerTest, OpeningSettingsHidesThePanel) {
  start(roomy());
  statusItem().click(EventType::leftMouseUp);
  ASSERT_TRUE(panelShown());
  controller_->openArrange();
  EXPECT_FALSE(panelShown());
}

TEST_F(StatusBarControllerTest, ThePanelsSettingsLinkOpensTheGeneralTab) {
  start(roomy());
  controller_->openArrange();
  ASSERT_TRUE(panel_->openSettings);
  panel_->openSettings();
  EXPECT_EQ(windowsMade_, 1);
  EXPECT_EQ(controller_->settingsTab().tab.get(), SettingsTab::general);
  EXPECT_EQ(settingsWindow_->shownOn.back(), SettingsTab::general);
}

TEST_F(StatusBarControllerTest, AControllerThatIsGoneLeavesTheBarAndTheLinksIdle) {
  start(roomy());
  auto link = panel_->openSettings;
  controller_.reset();
  EXPECT_EQ(world().ownStatusItem(), std::nullopt);
  EXPECT_EQ(bar_->item(), nullptr);
  link();
  EXPECT_EQ(windowsMade_, 0);
}

// --- About ---

TEST_F(StatusBarControllerTest, AboutShowsTheVersionsAndTheCredits) {
  auto s = roomy();
  s.infoDictionary = {{"CFBundleShortVersionString", "1.4.2"}, {"CFBundleVersion", "142"}};
  start(std::move(s));
  choose("About Kestrune");
  ASSERT_EQ(about_.shown().size(), 1U);
  const AboutPanelOptions& shown = about_.shown()[0];
  EXPECT_EQ(shown.applicationName, "Kestrune");
  EXPECT_EQ(shown.applicationVersion, "1.4.2");
  EXPECT_EQ(shown.version, "142");
  EXPECT_EQ(shown.credits, "Reach every menu bar item, notch or not.");
  EXPECT_EQ(shown.creditsFontSize, 11);
  EXPECT_EQ(activations(), 1U);
}

TEST_F(StatusBarControllerTest, AboutWithoutVersionsSaysDev) {
  auto s = roomy();
  s.infoDictionary.clear();
  start(std::move(s));
  controller_->showAbout();
  ASSERT_EQ(about_.shown().size(), 1U);
  EXPECT_EQ(about_.shown()[0].applicationVersion, "dev");
  EXPECT_EQ(about_.shown()[0].version, "");
}

// --- Visibility ---

TEST_F(StatusBarControllerTest, LeftOfTheNotchTheIconIsNotVisible) {
  // A new item (no remembered position) goes to the left end of a full bar.
  start(crowdedNotch(), {.position = std::nullopt});
  const auto own = world().ownStatusItem();
  ASSERT_TRUE(own);
  EXPECT_EQ(own->placed.placement, sim::Placement::behindNotch);
  EXPECT_EQ(keysRightToLeft().back(), own->item.key);
  EXPECT_FALSE(controller_->isIconVisible());
}

TEST_F(StatusBarControllerTest, RightOfTheNotchTheIconIsVisible) {
  start(crowdedNotch());
  EXPECT_TRUE(world().ownStatusItem()->placed.isDrawn());
  EXPECT_TRUE(controller_->isIconVisible());
}

TEST_F(StatusBarControllerTest, OnAScreenWithoutANotchTheIconIsVisible) {
  start(bar(std::nullopt, 40), {.position = std::nullopt});
  // Even where the app menus cover it: only the camera housing counts.
  EXPECT_EQ(world().ownStatusItem()->placed.placement, sim::Placement::underAppMenus);
  EXPECT_TRUE(controller_->isIconVisible());
}

TEST_F(StatusBarControllerTest, AnIconOnNoScreenOrWithoutAWindowIsNotVisible) {
  FakeStatusBar fake;
  start(crowdedNotch(), {.statusBar = &fake});
  EXPECT_FALSE(controller_->isIconVisible());  // no window
  fake.made->frame = Rect{5000, 5000, 24, 24};
  EXPECT_FALSE(controller_->isIconVisible());
  // Right of the notch on the primary display, in AppKit's space.
  fake.made->frame = Rect{1400, 900 - 37, 24, 37};
  EXPECT_TRUE(controller_->isIconVisible());
}

// --- The simulated bar ---

TEST_F(StatusBarControllerTest, ANewItemGoesToTheLeftEndOfTheStatusItems) {
  start(roomy(), {.position = std::nullopt});
  const auto keys = keysRightToLeft();
  EXPECT_EQ(keys, (std::vector<std::string>{"a", "b", "c", "kestrune"}));
}

TEST_F(StatusBarControllerTest, ALargerPositionCountsPointsFromTheRightEnd) {
  // Items of 30 points from 8 points in: a, b, c end 8, 38 and 68 points
  // from the right end.
  start(roomy(), {.position = 40});
  EXPECT_EQ(keysRightToLeft(), (std::vector<std::string>{"a", "b", "kestrune", "c"}));
}

TEST_F(StatusBarControllerTest, AnItemTheScenarioListsIsReusedNotDuplicated) {
  auto s = roomy();
  s.apps.push_back(app(kOwnPID, "com.kestrune.Kestrune", "Kestrune", {item("mine", 28)}));
  start(std::move(s));
  size_t own = 0;
  for (const auto& i : world().statusItems()) own += i.pid == kOwnPID ? 1 : 0;
  EXPECT_EQ(own, 1U);
  EXPECT_EQ(keysRightToLeft().front(), "mine");
  EXPECT_EQ(world().ownStatusItem()->item.key, "mine");
}

TEST_F(StatusBarControllerTest, AnItemBehindTheNotchCannotBeClicked) {
  start(crowdedNotch(), {.position = std::nullopt});
  EXPECT_FALSE(statusItem().click(EventType::leftMouseUp));
  EXPECT_FALSE(statusItem().click(EventType::rightMouseUp));
  EXPECT_TRUE(statusItem().sentActions().empty());
  EXPECT_FALSE(panel_->isShown());
  // The hot key's way in still works.
  controller_->togglePanel();
  EXPECT_TRUE(panel_->isShown());
}

}  // namespace
}  // namespace kestrune
