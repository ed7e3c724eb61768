#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/settings_tabs.hpp"
#include "arrange/arrange_model.hpp"
#include "picker/overflow_panel.hpp"
#include "platform/about_panel.hpp"
#include "platform/alerts.hpp"
#include "platform/platform.hpp"
#include "platform/settings_window.hpp"
#include "platform/status_bar.hpp"
#include "settings/settings_store.hpp"

namespace kestrune {

// Kestrune's own status item: its icon, its clicks (left: the picker panel,
// right: the menu), the menu and the settings window the menu opens. Lives
// on the main thread for the life of the process, in a shared_ptr: the
// item's action, the menu's callbacks and the panel's settings link hold it
// weakly.
class StatusBarController : public std::enable_shared_from_this<StatusBarController> {
 public:
  static constexpr const char* kAutosaveName = "Kestrune.main";
  static constexpr const char* kToolTip = "Kestrune — click to reach hidden menu bar items (⌃⌥⌘T)";

  static constexpr const char* kHeadingTitle = "Kestrune";
  static constexpr const char* kShowHiddenTitle = "Show Hidden Items";
  static constexpr const char* kOnlyHiddenTitle = "Only Hidden Items in Picker";
  static constexpr const char* kArrangeTitle = "Arrange Menu Bar Items…";
  static constexpr const char* kSettingsTitle = "Settings…";
  static constexpr const char* kLaunchAtLoginTitle = "Launch at Login";
  static constexpr const char* kGrantAccessibilityTitle = "Grant Accessibility Permission…";
  static constexpr const char* kAboutTitle = "About Kestrune";
  static constexpr const char* kCheckForUpdatesTitle = "Check for Updates…";
  static constexpr const char* kQuitTitle = "Quit Kestrune";

  static constexpr const char* kApplicationName = "Kestrune";
  static constexpr const char* kShortVersionKey = "CFBundleShortVersionString";
  static constexpr const char* kBuildKey = "CFBundleVersion";
  static constexpr const char* kUnknownVersion = "dev";
  static constexpr const char* kCredits = "Reach every menu bar item, notch or not.";
  static constexpr double kCreditsFontSize = 11;

  // What each menu row does.
  enum class MenuAction {
    none,
    togglePanel,
    toggleShowAll,
    openArrange,
    openSettings,
    toggleLogin,
    grantAX,
    showAbout,
    checkForUpdates,
    quit,
  };

  // The ports the controller drives; all outlive it.
  struct Ports {
    const Platform& platform;
    StatusBar& statusBar;
    Alerts& alerts;
    AboutPanel& aboutPanel;
  };

  // The login item, the updater and the settings window, as the app wires
  // them.
  struct Hooks {
    // Why the login item cannot be changed here; none when it can.
    std::function<std::optional<std::string>()> loginItemUnavailable;
    std::function<bool()> loginItemEnabled;
    // Turns the login item on or off; the error on failure.
    std::function<std::optional<PlatformError>(bool enabled)> setLoginItem;
    bool updaterAvailable = false;
    // A user-initiated update check, and whether one may start now.
    std::function<void()> checkForUpdates;
    std::function<bool()> canCheckForUpdates;
    // Makes the arrangement model, given where Kestrune's own icon is.
    std::function<std::shared_ptr<ArrangeModel>(ArrangeModel::OwnIconFrame)> makeArrangeModel;
    // Makes the settings window, following `tabs`, over the arrangement model.
    std::function<std::unique_ptr<SettingsWindow>(SettingsTabSelection& tabs,
                                                  std::shared_ptr<ArrangeModel> arrange)>
        makeSettingsWindow;
  };

  // Makes the status item, its menu, and the panel's link to the settings.
  [[nodiscard]] static std::shared_ptr<StatusBarController> create(
      SettingsStore& store, std::shared_ptr<OverflowPanel> panel, Ports ports, Hooks hooks);
  StatusBarController(const StatusBarController&) = delete;
  StatusBarController& operator=(const StatusBarController&) = delete;

  // The item's action: a right mouse-up opens the menu, anything else (a
  // left mouse-up, or no current event) toggles the panel.
  void clicked(std::optional<EventType> currentEvent);
  // Hides the panel and shows the menu under the item until it closes.
  void showMenu();
  // Shows the panel under the item, or hides it when shown.
  void togglePanel();
  // Whether the item is drawn where the user can see it, not under the
  // camera housing.
  [[nodiscard]] bool isIconVisible();
  // The menu's state as it is about to open: check marks, the login row's
  // availability, the Accessibility row's visibility, whether an update
  // check may start.
  void syncMenu();

  void toggleShowAll();
  void openArrange() { showSettings(SettingsTab::arrange); }
  void openSettings() { showSettings(SettingsTab::general); }
  void toggleLogin();
  void grantAX();
  void showAbout();
  // Makes the settings window on first use, then shows it on `tab`.
  void showSettings(SettingsTab tab);
  void perform(MenuAction action);

  [[nodiscard]] const MenuDescription& menu() const { return menu_; }
  [[nodiscard]] MenuAction actionAt(size_t row) const;
  [[nodiscard]] SettingsTabSelection& settingsTab() { return settingsTab_; }
  [[nodiscard]] const std::shared_ptr<ArrangeModel>& arrangeModel() const { return arrangeModel_; }
  [[nodiscard]] SettingsWindow* settingsWindow() const { return settingsWindow_.get(); }
  // The item's button window in AppKit's screen space, if it has one.
  [[nodiscard]] std::optional<Rect> iconFrame() { return item_->buttonWindowFrame(); }

 private:
  StatusBarController(SettingsStore& store, std::shared_ptr<OverflowPanel> panel, Ports ports,
                      Hooks hooks);
  void setUpItem();
  void buildMenu();
  size_t addRow(MenuRow row, MenuAction action);
  // The icon's frame in global top-left coordinates, read on the main thread.
  [[nodiscard]] ArrangeModel::OwnIconFrame ownIconFrame();

  SettingsStore& store_;
  std::shared_ptr<OverflowPanel> panel_;
  Ports ports_;
  Hooks hooks_;
  std::unique_ptr<StatusItem> item_;
  MenuDescription menu_;
  std::vector<MenuAction> actions_;  // one per row
  std::unique_ptr<SettingsWindow> settingsWindow_;
  size_t showAllRow_ = 0;
  size_t loginRow_ = 0;
  size_t axRow_ = 0;
  std::optional<size_t> updatesRow_;
  SettingsTabSelection settingsTab_;
  std::shared_ptr<ArrangeModel> arrangeModel_;
};

}  // namespace kestrune
