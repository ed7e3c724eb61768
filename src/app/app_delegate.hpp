#pragma once

#include <functional>
#include <memory>
#include <ostream>
#include <vector>

#include "app/hotkey_manager.hpp"
#include "app/launch_at_login.hpp"
#include "app/permissions.hpp"
#include "app/status_bar_controller.hpp"
#include "app/updater_manager.hpp"
#include "discovery/activator.hpp"
#include "discovery/menu_bar_layout.hpp"
#include "picker/overflow_model.hpp"
#include "picker/overflow_panel.hpp"
#include "platform/about_panel.hpp"
#include "platform/alerts.hpp"
#include "platform/hot_keys.hpp"
#include "platform/login_items.hpp"
#include "platform/panel_window.hpp"
#include "platform/settings_window.hpp"
#include "platform/status_bar.hpp"
#include "settings/diag.hpp"
#include "settings/settings_store.hpp"

namespace kestrune {

// The platform's pieces of the application shell, beside `Platform`.
struct ShellPorts {
  StatusBar& statusBar;
  HotKeys& hotKeys;
  Alerts& alerts;
  AboutPanel& aboutPanel;
  LoginItems& loginItems;
  SettingsWindows& settingsWindows;
  PanelWindow& panelWindow;
  UpdaterManager::ServiceFactory makeUpdater;
};

// The application delegate: makes the long-lived objects in their order,
// pins Kestrune's own status item to the right end of the bar, wires the
// shortcut to the picker and walks the user through the permissions on
// first runs. Main thread; lives as long as the process, in a shared_ptr
// that delayed steps hold weakly.
class AppDelegate : public std::enable_shared_from_this<AppDelegate> {
 public:
  static constexpr const char* kPositionPrefix = "NSStatusItem Preferred Position ";
  static constexpr const char* kVisiblePrefix = "NSStatusItem Visible ";
  static constexpr const char* kAskedScreenRecordingKey = "Kestrune.askedScreenRecording";
  static constexpr const char* kHintedHiddenIconKey = "Kestrune.hintedHiddenIcon";
  static constexpr Duration kHintDelay = std::chrono::milliseconds(1500);
  static constexpr Duration kScreenRecordingTimeout = std::chrono::seconds(120);

  static constexpr const char* kAccessibilityMessage = "Kestrune needs Accessibility access";
  static constexpr const char* kAccessibilityText =
      "Kestrune uses Accessibility to find each app's menu bar item and open its menu on your "
      "behalf \u2014 that is how items hidden behind the notch become reachable. It never reads "
      "window contents or keystrokes.\n\nClick Open System Settings, then turn on Kestrune in the "
      "Accessibility list.";
  static constexpr const char* kOpenSystemSettings = "Open System Settings";
  static constexpr const char* kLater = "Later";
  static constexpr const char* kScreenRecordingMessage =
      "Kestrune works best with Screen Recording";
  static constexpr const char* kScreenRecordingText =
      "Screen Recording lets the picker show the real menu bar icons, exactly as they appear in "
      "the menu bar. Without it, it can only show generic app icons.\n\nKestrune only captures "
      "the tiny menu bar items themselves \u2014 never your screen or windows. The app relaunches "
      "once the permission is granted.";
  static constexpr const char* kAllowScreenRecording = "Allow Screen Recording";
  static constexpr const char* kNotNow = "Not Now";
  static constexpr const char* kHiddenIconMessage = "Kestrune's icon is hidden behind the notch";
  static constexpr const char* kHiddenIconText =
      "Your menu bar is full, so macOS placed the new Kestrune icon where the notch covers "
      "it.\n\nPress \u2303\u2325\u2318T to open the picker anyway, then \u2318-drag the Kestrune "
      "icon (or the items you use most) toward the right side of the menu bar.";
  static constexpr const char* kOpenPicker = "Open Picker";
  static constexpr const char* kOK = "OK";

  // Creating the delegate loads the settings. `debugOut` takes the model's
  // debug lines.
  [[nodiscard]] static std::shared_ptr<AppDelegate> create(const Platform& platform,
                                                           ShellPorts ports,
                                                           std::ostream& debugOut);
  ~AppDelegate();
  AppDelegate(const AppDelegate&) = delete;
  AppDelegate& operator=(const AppDelegate&) = delete;

  void applicationDidFinishLaunching();

  // Pins Kestrune's item at the far right, where the notch cannot cover
  // it, and forgets the items Kestrune no longer makes.
  static void seedInitialPositions(UserDefaults& defaults);

  [[nodiscard]] SettingsStore& store() { return store_; }
  [[nodiscard]] Diag& diag() { return diag_; }
  [[nodiscard]] const MenuBarLayout& layout() const { return layout_; }
  [[nodiscard]] const std::shared_ptr<OverflowModel>& model() const { return model_; }
  [[nodiscard]] const std::shared_ptr<OverflowPanel>& panel() const { return panel_; }
  [[nodiscard]] const std::shared_ptr<StatusBarController>& statusBar() const { return statusBar_; }
  [[nodiscard]] const HotkeyManager& hotkeys() const { return hotkeys_; }

 private:
  AppDelegate(const Platform& platform, ShellPorts ports, std::ostream& debugOut);
  [[nodiscard]] StatusBarController::Hooks statusBarHooks();
  void installOwnFrames();
  void logLaunch();
  void showOnboarding();
  void askForScreenRecording();
  void hintIfOwnIconHidden();

  const Platform& platform_;
  ShellPorts ports_;
  std::ostream& debugOut_;
  std::vector<Subscription> cancellables_;
  SettingsStore store_;
  MenuBarLayout layout_;
  Diag diag_;
  Permissions permissions_;
  Activator activator_;
  LaunchAtLogin launchAtLogin_;
  UpdaterManager updater_;
  HotkeyManager hotkeys_;
  std::shared_ptr<OverflowModel> model_;
  std::shared_ptr<OverflowPanel> panel_;
  std::shared_ptr<StatusBarController> statusBar_;
};

}  // namespace kestrune
