#pragma once

#include <memory>
#include <sstream>
#include <string>

#include "app/app_delegate.hpp"
#include "core/virtual_executors.hpp"
#include "sim/sim_about_panel.hpp"
#include "sim/sim_alerts.hpp"
#include "sim/sim_hot_keys.hpp"
#include "sim/sim_login_items.hpp"
#include "sim/sim_mac.hpp"
#include "sim/sim_panel_window.hpp"
#include "sim/sim_settings_window.hpp"
#include "sim/sim_status_bar.hpp"
#include "sim/sim_updater.hpp"

namespace kestrune::sim {

// The whole of Kestrune on a simulated Mac: the platform, the shell's
// pieces, and the app itself, which can be launched, quit and launched
// again over the same simulated home folder.
class SimApp {
 public:
  SimApp(Scenario scenario, VirtualExecutors& executors, std::string home);
  ~SimApp();
  SimApp(const SimApp&) = delete;
  SimApp& operator=(const SimApp&) = delete;

  // The process starts: an agent app (no Dock icon) whose delegate then
  // finishes launching.
  void launch();
  // The process ends: its status item leaves the bar and its objects go.
  void quit();
  [[nodiscard]] bool isRunning() const { return delegate_ != nullptr; }

  [[nodiscard]] SimMac& mac() { return mac_; }
  [[nodiscard]] World& world() { return mac_.world(); }
  [[nodiscard]] VirtualExecutors& executors() { return executors_; }
  [[nodiscard]] SimStatusBar& statusBar() { return statusBar_; }
  // Kestrune's status item while the app runs.
  [[nodiscard]] SimStatusItem& statusItem();
  [[nodiscard]] SimHotKeys& hotKeys() { return hotKeys_; }
  [[nodiscard]] SimAlerts& alerts() { return alerts_; }
  [[nodiscard]] SimAboutPanel& aboutPanel() { return aboutPanel_; }
  [[nodiscard]] SimLoginItems& loginItems() { return loginItems_; }
  [[nodiscard]] SimUpdaterLog& updaterLog() { return updaterLog_; }
  [[nodiscard]] SimSettingsWindows& settingsWindows() { return settingsWindows_; }
  [[nodiscard]] SimPanelWindow& panelWindow() { return panelWindow_; }
  // The running app; throws when it is not running.
  [[nodiscard]] AppDelegate& app();
  // What the model printed in debug mode.
  [[nodiscard]] std::string debugOutput() const { return debugOut_.str(); }

 private:
  VirtualExecutors& executors_;
  SimMac mac_;
  SimStatusBar statusBar_;
  SimHotKeys hotKeys_;
  SimAlerts alerts_;
  SimAboutPanel aboutPanel_;
  SimLoginItems loginItems_;
  SimUpdaterLog updaterLog_;
  SimSettingsWindows settingsWindows_;
  SimPanelWindow panelWindow_;
  std::ostringstream debugOut_;
  std::shared_ptr<AppDelegate> delegate_;
};

}  // namespace kestrune::sim
