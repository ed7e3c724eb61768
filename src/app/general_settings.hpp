#pragma once

#include <memory>

#include "app/launch_at_login.hpp"
#include "app/permissions.hpp"
#include "app/settings_view.hpp"
#include "core/executor.hpp"
#include "core/observable.hpp"
#include "platform/accessibility.hpp"
#include "platform/alerts.hpp"
#include "platform/screen_capture.hpp"
#include "platform/workspace.hpp"
#include "settings/settings_store.hpp"

namespace kestrune {

// The model behind the settings window's General tab: the user's settings
// (through the store), the login item, and whether Accessibility and Screen
// Recording are granted. The two permissions and the login item can change
// outside Kestrune (in System Settings), so while the window is shown the
// model reads them again every 1.5 s.
//
// Main thread only. Lives in a shared_ptr; its timer holds it weakly.
class GeneralSettingsModel : public std::enable_shared_from_this<GeneralSettingsModel> {
 public:
  static constexpr Duration kRefreshInterval = std::chrono::milliseconds(1500);
  static constexpr Duration kScreenRecordingTimeout = std::chrono::seconds(120);

  struct Dependencies {
    SettingsStore& store;
    Accessibility& accessibility;
    ScreenCapture& screenCapture;
    Workspace& workspace;
    LaunchAtLogin& launchAtLogin;
    Alerts& alerts;
    Permissions& permissions;
    MainExecutor& main;
  };

  // Reads the permissions and the login item once.
  [[nodiscard]] static std::shared_ptr<GeneralSettingsModel> create(const Dependencies& services);
  GeneralSettingsModel(const GeneralSettingsModel&) = delete;
  GeneralSettingsModel& operator=(const GeneralSettingsModel&) = delete;

  // Told before any of the three values below changes; a re-reading that
  // finds them as they were tells nobody.
  ObjectWillChange objectWillChange;
  Published<bool> axGranted{false, &objectWillChange};
  Published<bool> srGranted{false, &objectWillChange};
  Published<bool> launchAtLogin{false, &objectWillChange};

  [[nodiscard]] SettingsStore& store() const { return store_; }
  // Why the login item cannot be changed here (outside an app bundle,
  // before macOS 13); none when it can.
  [[nodiscard]] const std::optional<std::string>& loginUnavailable() const {
    return loginUnavailable_;
  }
  [[nodiscard]] GeneralSettingsState state() const;

  // The window is shown: the values are read now and every 1.5 s until
  // stop(). Starting twice keeps one timer.
  void start();
  void stop();
  [[nodiscard]] bool isRefreshing() const { return refreshTimer_.isValid(); }
  // Reads Accessibility, Screen Recording and the login item again.
  void refresh();

  // The switch moves at once; a change the service refuses is shown in an
  // error alert, and the switch then shows the real state, so a refused
  // change flips it back.
  void setLaunchAtLogin(bool enabled);
  // Any switch of the tab: the login item, or a field of the settings
  // record, written through the store (which publishes and saves).
  void setToggle(SettingsToggleKind kind, bool isOn);
  // Asks for trust with the system's prompt, then opens the Accessibility
  // pane of System Settings.
  void grantAccessibility();
  // Asks for Screen Recording; once granted within two minutes, Kestrune
  // relaunches.
  void grantScreenRecording();
  void grant(PermissionKind kind);
  // The default record, saved.
  void resetToDefaults();

 private:
  explicit GeneralSettingsModel(const Dependencies& services);
  static void update(Published<bool>& value, bool now);

  SettingsStore& store_;
  Accessibility& accessibility_;
  ScreenCapture& screenCapture_;
  Workspace& workspace_;
  LaunchAtLogin& login_;
  Alerts& alerts_;
  Permissions& permissions_;
  MainExecutor& main_;
  std::optional<std::string> loginUnavailable_;
  Timer refreshTimer_;
};

}  // namespace kestrune
