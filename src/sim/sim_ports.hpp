#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/executor.hpp"
#include "platform/application.hpp"
#include "platform/screens.hpp"
#include "platform/system_info.hpp"
#include "platform/window_server.hpp"
#include "platform/workspace.hpp"
#include "sim/world.hpp"

namespace kestrune::sim {

class SimWindowServer final : public WindowServer {
 public:
  explicit SimWindowServer(World& world) : world_(world) {}
  [[nodiscard]] std::optional<std::vector<WindowInfo>> copyWindowInfo(
      WindowListOption option, uint32_t relativeToWindow) override;

 private:
  World& world_;
};

// Launch and quit notifications reach observers on the main executor, as
// the workspace's notification centre delivers them on the main queue. Opens
// are recorded in the world; an app's open completes on the background
// queue, as AppKit calls its handler on a queue of its own.
class SimWorkspace final : public Workspace {
 public:
  SimWorkspace(World& world, Executors& executors)
      : world_(world), main_(executors.main()), background_(executors.background()) {}
  [[nodiscard]] std::vector<RunningApplication> runningApplications() override;
  [[nodiscard]] std::optional<std::string> urlForApplication(
      const std::string& bundleIdentifier) override;
  [[nodiscard]] Subscription observe(
      WorkspaceEvent event, std::function<void(const RunningApplication&)> handler) override;
  bool openURL(const std::string& url) override;
  void openApplication(const std::string& bundlePath, bool createsNewInstance,
                       std::function<void(bool succeeded)> completion) override;

 private:
  World& world_;
  MainExecutor& main_;
  TaskQueue& background_;
};

// Kestrune's NSApplication: its bundle is the scenario's bundlePath; its
// main menu, activation policy and whether it is the active app, with every
// change recorded in order. Terminating is recorded in the world, then
// `onTerminate` (if any) ends the process.
class SimApplication final : public Application {
 public:
  explicit SimApplication(World& world, std::function<void()> onTerminate = {})
      : world_(world), onTerminate_(std::move(onTerminate)) {}
  [[nodiscard]] std::string bundlePath() override { return world_.bundlePath(); }
  [[nodiscard]] std::optional<std::string> infoString(const std::string& key) override;
  void terminate() override;

  [[nodiscard]] Menu mainMenu() override { return menu_; }
  void setMainMenu(Menu menu) override;
  void setMinimalMainMenu(const std::string& title) override;
  void setActivationPolicy(ActivationPolicy policy) override;
  void deactivate() override;
  void activateIgnoringOtherApps() override;

  // The titles of the main menu's submenus, in order.
  [[nodiscard]] std::vector<std::string> menuTitles() const;
  [[nodiscard]] ActivationPolicy activationPolicy() const { return policy_; }
  [[nodiscard]] bool isActive() const { return active_; }
  // "menu Kestrune", "policy regular", "deactivate", "activate", …
  [[nodiscard]] const std::vector<std::string>& changes() const { return changes_; }

 private:
  World& world_;
  std::function<void()> onTerminate_;
  // The app's launch menu: the usual application, File, Edit and Window
  // menus.
  Menu menu_ = std::make_shared<std::vector<std::string>>(
      std::vector<std::string>{"Kestrune", "File", "Edit", "Window"});
  ActivationPolicy policy_ = ActivationPolicy::accessory;
  bool active_ = false;
  std::vector<std::string> changes_;
  // A regular app in front shows its menus in the bar.
  void updateBar();
};

// The scenario's screens in AppKit's space (bottom-left origin).
class SimScreens final : public Screens {
 public:
  explicit SimScreens(World& world) : world_(world) {}
  [[nodiscard]] std::vector<ScreenInfo> screens() override;
  [[nodiscard]] std::optional<ScreenInfo> mainScreen() override;
  [[nodiscard]] double statusBarThickness() override;

 private:
  World& world_;
};

class SimSystemInfo final : public SystemInfo {
 public:
  explicit SimSystemInfo(World& world) : world_(world) {}
  [[nodiscard]] int operatingSystemMajorVersion() override;
  [[nodiscard]] pid_t processIdentifier() override;
  [[nodiscard]] int signalProbe(pid_t pid) override;
  [[nodiscard]] std::optional<std::string> environment(const std::string& name) override;
  [[nodiscard]] int secondsFromGMT(WallTime when) override;

 private:
  World& world_;
};

// One screen of the scenario as AppKit would describe it.
[[nodiscard]] ScreenInfo screenInfo(const ScenarioScreen& screen, double primaryHeight);

}  // namespace kestrune::sim
