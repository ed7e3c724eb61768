#pragma once

#include <memory>
#include <sstream>
#include <string>
#include <vector>

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

class SimApplication;

// The whole of Kestrune on a simulated Mac: the Mac with its system parts
// (the status bar, hot keys, alerts, windows, the login item service), and
// the app's process, which can be launched, quit and launched again over
// the same simulated home folder, so that settings, the icon cache and the
// log carry over as on a Mac.
//
// Each launch is a new instance that owns everything the app made. When it
// ends — quit from outside, or the app terminating itself (its Quit command,
// the relaunch after a Screen Recording grant) — what it had queued does
// nothing, its timers stop, its objects go, and the system drops what the
// process held: its status item, hot keys, panel and windows. An instance
// that asked for a new instance of its own bundle before it terminated is
// followed by a fresh one, as macOS would launch it.
class SimApp {
 public:
  SimApp(Scenario scenario, VirtualExecutors& executors, std::string home);
  ~SimApp();
  SimApp(const SimApp&) = delete;
  SimApp& operator=(const SimApp&) = delete;

  // The process starts: an agent app (no Dock icon) whose delegate then
  // finishes launching. Nothing happens while it runs.
  void launch();
  // The process ends now, from outside the app (Activity Monitor's Quit).
  void quit();
  [[nodiscard]] bool isRunning() const { return instance_ != nullptr; }
  // Launches so far, relaunches included.
  [[nodiscard]] int launchCount() const { return launches_; }

  // What the app did that the user sees, since the last call: alerts with
  // their answers, Accessibility prompts, System Settings panes and apps
  // opened, the About panel, updater checks, login item changes, launches,
  // relaunches and terminations. One line each.
  [[nodiscard]] std::vector<std::string> takeOutcomes();

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
  // The running app; these throw when it is not running.
  [[nodiscard]] AppDelegate& app();
  [[nodiscard]] SimApplication& application();
  // The diagnostic log's file, once the app has run.
  [[nodiscard]] const std::string& logPath() const { return logPath_; }
  // What the model printed in debug mode.
  [[nodiscard]] std::string debugOutput() const { return debugOut_.str(); }

 private:
  struct Instance;
  // Counts of each record already told by takeOutcomes.
  struct Told {
    size_t alerts = 0;
    int prompts = 0;
    size_t urls = 0;
    size_t about = 0;
    size_t updater = 0;
    size_t login = 0;
    size_t opened = 0;
  };

  // The running process called terminate: it ends once that call returns.
  void terminated();
  // Ends the running process; then starts a new one if it asked for one
  // and `followRelaunch`.
  void endInstance(bool followRelaunch);
  // Moves what the records gained since the last call into the journal.
  void collectOutcomes();

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
  int launches_ = 0;
  std::string logPath_;
  std::vector<std::string> journal_;  // told by takeOutcomes, in order
  Told told_;
  std::unique_ptr<Instance> instance_;
  // Held weakly by the end of an instance that terminated itself.
  std::shared_ptr<const bool> alive_ = std::make_shared<const bool>(true);
};

}  // namespace kestrune::sim
