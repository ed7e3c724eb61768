#pragma once

#include <sys/types.h>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "core/executor.hpp"
#include "core/observable.hpp"
#include "platform/window_server.hpp"
#include "platform/workspace.hpp"
#include "sim/bar_layout.hpp"
#include "sim/scenario.hpp"

namespace kestrune::sim {

// One status item as the simulated Mac has placed it.
struct StatusItemState {
  ScenarioItem item;
  pid_t pid = 0;
  uint32_t windowID = 0;
  int ordinal = 0;  // position among its app's items
  PlacedItem placed;
};

// An AXPress on a status item: the item's menu opened.
struct PressRecord {
  pid_t pid = 0;
  uint32_t windowID = 0;
  std::string key;
};

// A bundle the workspace was asked to open.
struct OpenedApplication {
  std::string bundlePath;
  bool createsNewInstance = false;
};

// The simulated Mac's state: screens, running apps, their status items and
// where the menu bar puts them. Safe to use from any thread: the product
// reads it from scanning threads while the main thread changes it.
class World {
 public:
  static constexpr pid_t kWindowServerPID = 150;
  // Window numbers of the Window Server's menu bar and of the » button.
  static constexpr uint32_t kMenubarWindowID = 1;
  static constexpr uint32_t kOverflowButtonWindowID = 2;
  static constexpr const char* kAgentBundleID = "com.apple.MenuBarAgent";

  // `clock` times what the user does later (a Screen Recording grant some
  // seconds after a request); without one, only explicit grants count.
  explicit World(Scenario scenario, const Clock* clock = nullptr);

  [[nodiscard]] const Scenario& scenario() const { return scenario_; }
  [[nodiscard]] bool isModern() const;
  [[nodiscard]] const ScenarioScreen& mainDisplay() const { return scenario_.screens.front(); }
  [[nodiscard]] BarGeometry geometry() const;

  // Status items from the rightmost to the leftmost.
  [[nodiscard]] std::vector<StatusItemState> statusItems() const;
  [[nodiscard]] std::optional<StatusItemState> statusItem(uint32_t windowID) const;
  [[nodiscard]] std::optional<Rect> overflowButton() const;
  [[nodiscard]] std::vector<ScenarioApp> apps() const;  // the agent included, when modern
  [[nodiscard]] std::optional<ScenarioApp> app(pid_t pid) const;
  [[nodiscard]] std::vector<RunningApplication> runningApplications() const;
  [[nodiscard]] std::vector<WindowInfo> windowList(WindowListOption option) const;
  [[nodiscard]] bool accessibilityTrusted() const;
  [[nodiscard]] pid_t agentPID() const { return agentPID_; }

  // The mouse pointer, in global display coordinates (origin at the top
  // left of the primary display); it starts at the primary display's centre.
  [[nodiscard]] Point cursor() const;
  void moveCursor(Point location);

  // An app quits: its items leave the bar and the rest move up.
  void quit(pid_t pid);
  // An app starts, with its items at the left end of the bar.
  void launch(ScenarioApp app);
  void recordPress(PressRecord press);
  // Counts one answered Accessibility read of the app; returns the count.
  int countRead(pid_t pid);
  [[nodiscard]] int readCount(pid_t pid) const;
  // Changes how a running app answers Accessibility from now on.
  void setAccessibility(pid_t pid, AXMode mode, double latencyMs);
  // Every AXPress on a status item, in order.
  [[nodiscard]] std::vector<PressRecord> presses() const;
  // The item whose menu the last press opened, while that item is on the bar.
  [[nodiscard]] std::optional<PressRecord> openMenu() const;
  // The app recreates a status item: it gets a new window number (elements of
  // the old one become invalid) and the bar is laid out again. The new
  // number, or none when no running app has the key.
  std::optional<uint32_t> rebuildItem(const std::string& key);

  // Screen Recording as it stands now; the user may grant it later.
  [[nodiscard]] bool screenRecordingGranted() const;
  void grantScreenRecording();
  void revokeScreenRecording();
  // Kestrune asked for Screen Recording (CGRequestScreenCaptureAccess). With
  // permissions.screenRecordingGrantedAfterSeconds, the first request starts
  // the user's delay.
  void recordScreenRecordingRequest();
  [[nodiscard]] int screenRecordingRequests() const;

  // Kestrune's own process, as the workspace and the app see it.
  [[nodiscard]] const std::string& bundlePath() const { return scenario_.bundlePath; }
  void recordOpenURL(const std::string& url);
  [[nodiscard]] std::vector<std::string> openedURLs() const;
  // Records the open; true when the bundle exists (Kestrune's own, or a
  // listed app's).
  bool recordOpenApplication(const std::string& bundlePath, bool createsNewInstance);
  [[nodiscard]] std::vector<OpenedApplication> openedApplications() const;
  void terminate();
  [[nodiscard]] bool terminated() const { return terminateCount() > 0; }
  [[nodiscard]] int terminateCount() const;

  // `handler` is told on the calling thread after an app launched or quit;
  // apps may quit on a scanning thread, so this is safe across threads.
  using WorkspaceHandler = std::function<void(WorkspaceEvent, const RunningApplication&)>;
  [[nodiscard]] Subscription observeWorkspace(WorkspaceHandler handler);

 private:
  void relayout();  // with mutex_ held
  // With mutex_ held.
  [[nodiscard]] bool screenRecordingLocked() const;
  [[nodiscard]] static RunningApplication running(const ScenarioApp& app);

  mutable std::mutex mutex_;
  Scenario scenario_;
  std::vector<ScenarioApp> apps_;
  std::vector<std::string> order_;  // item keys, right to left
  std::vector<StatusItemState> items_;
  std::optional<Rect> overflowButton_;
  pid_t agentPID_ = 0;
  uint32_t nextWindowID_ = 200;
  std::vector<PressRecord> presses_;
  std::map<pid_t, int> reads_;
  const Clock* clock_ = nullptr;
  bool screenRecording_ = false;
  std::optional<TimePoint> screenRecordingGrantAt_;
  int screenRecordingRequests_ = 0;
  std::vector<std::string> openedURLs_;
  std::vector<OpenedApplication> openedApplications_;
  int terminations_ = 0;
  Point cursor_;
  void emitWorkspaceEvent(WorkspaceEvent event, const RunningApplication& app);
  std::shared_ptr<std::mutex> eventsMutex_ = std::make_shared<std::mutex>();
  Signal<WorkspaceEvent, const RunningApplication&> workspaceEvents_;
};

}  // namespace kestrune::sim
