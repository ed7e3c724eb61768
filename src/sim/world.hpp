#pragma once

#include <sys/types.h>
#include <atomic>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "core/executor.hpp"
#include "core/observable.hpp"
#include "platform/event_system.hpp"
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
  // The user grants or takes away Accessibility trust.
  void setAccessibilityTrusted(bool trusted);
  // The system asked the user to trust Kestrune (the prompt of
  // AXIsProcessTrustedWithOptions).
  void recordAccessibilityPrompt() { ++accessibilityPrompts_; }
  [[nodiscard]] int accessibilityPrompts() const { return accessibilityPrompts_; }
  [[nodiscard]] pid_t agentPID() const { return agentPID_; }

  // The menus of the app in front, its name first, and the points they
  // take from the left end of the bar with the Apple menu.
  struct AppMenus {
    std::vector<std::string> titles;
    double width = 0;
  };
  // Kestrune's menus while it is in front (none: the scenario's front app's
  // are). Status items move into the room this leaves or takes.
  void setKestruneMenus(std::optional<AppMenus> menus);
  [[nodiscard]] AppMenus appMenus() const;
  // The clock that times what the user does later, if any.
  [[nodiscard]] const Clock* clock() const { return clock_; }

  // The mouse pointer, in global display coordinates (origin at the top
  // left of the primary display); it starts at the primary display's centre.
  [[nodiscard]] Point cursor() const;
  void moveCursor(Point location);

  // Quartz events. An event enters where HID events enter the window server
  // and passes the session event taps, the one inserted last first, each
  // enabled tap whose mask names the event's type deciding in turn; a
  // swallowed event goes no further and has no effect. What passes reaches
  // the window server:
  // - every mouse event (not a scroll) moves the pointer to its location;
  // - a left mouse-down with the command flag on a drawn status item grabs
  //   that item; items hidden behind the notch, under the app menus or in
  //   the » overflow cannot be grabbed;
  // - the left mouse-up drops the item in hand: it goes immediately left of
  //   the first drawn item, from the left, whose frame's mid x lies right of
  //   the pointer (the right end of the bar when there is none), and the bar
  //   is laid out again, unless the item refuses the drop (DragMode).
  // A tap's callback runs on the calling thread, without the world's lock:
  // call these where the taps' run loop sources are, the main thread.
  [[nodiscard]] uint64_t addSessionTap(EventMask mask, EventTapCallback callback);
  void removeSessionTap(uint64_t tap);
  [[nodiscard]] size_t sessionTapCount() const;  // enabled taps
  void dispatchEvent(const TappedEvent& event);
  // The system switches every enabled tap off and tells its callback why
  // (EventType::tapDisabledByTimeout or tapDisabledByUserInput).
  void disableSessionTaps(EventType reason);
  // The events that reached the window server, oldest first: the most
  // recent kReceivedEventLimit of them.
  static constexpr size_t kReceivedEventLimit = 4096;
  [[nodiscard]] std::vector<TappedEvent> receivedEvents() const;
  // The window number of the item in hand, while a ⌘-drag holds one.
  [[nodiscard]] std::optional<uint32_t> grabbedItem() const;
  // Items dropped on the bar so far, accepted or refused.
  [[nodiscard]] int dropCount() const;

  // Kestrune's own status item, as AppKit places a new item by the position
  // it remembers, in points from the right end of the bar: none (an item
  // AppKit has never seen) puts it at the left end of the status items, 1
  // at the right end — left of macOS's clock and Control Center, which keep
  // the right end — and more points further left. The item is an item of
  // Kestrune's app (the scenario's ownPID), made `width` points wide, or
  // the first item the scenario lists for that app. Placing it again moves
  // it. Returns its window number.
  uint32_t placeOwnStatusItem(std::optional<int64_t> preferredPosition, double width);
  // The item leaves the bar (NSStatusBar removeStatusItem:).
  void removeOwnStatusItem();
  // Kestrune's status item as placed now, while it exists.
  [[nodiscard]] std::optional<StatusItemState> ownStatusItem() const;

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
  struct SessionTap {
    uint64_t id = 0;
    EventMask mask = 0;
    std::shared_ptr<const EventTapCallback> callback;
    bool enabled = true;
  };

  void relayout();  // with mutex_ held
  [[nodiscard]] BarGeometry geometryLocked() const;
  // With mutex_ held: the window server acts on an event that passed the
  // taps. Returns the apps that quit because of it.
  [[nodiscard]] std::vector<pid_t> receiveLocked(const TappedEvent& event);
  [[nodiscard]] std::vector<pid_t> dropLocked(uint32_t windowID, double x);
  void moveLocked(const std::string& key, double x);
  // With mutex_ held: the key of Kestrune's own item, made when missing.
  [[nodiscard]] std::string ownItemKeyLocked(double width);
  // With mutex_ held, the bar laid out without the own item: where in
  // order_ an item with that remembered position goes.
  [[nodiscard]] std::vector<std::string>::iterator ownItemSlotLocked(
      std::optional<int64_t> preferredPosition);
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
  std::atomic<bool> accessibilityTrusted_{true};
  std::atomic<int> accessibilityPrompts_{0};
  std::optional<TimePoint> screenRecordingGrantAt_;
  int screenRecordingRequests_ = 0;
  std::vector<std::string> openedURLs_;
  std::vector<OpenedApplication> openedApplications_;
  int terminations_ = 0;
  Point cursor_;
  std::optional<AppMenus> kestruneMenus_;
  std::vector<SessionTap> taps_;  // head first
  uint64_t nextTapID_ = 1;
  std::deque<TappedEvent> received_;
  std::optional<uint32_t> grabbed_;
  int drops_ = 0;
  std::optional<std::string> ownItemKey_;  // while Kestrune has its status item
  std::map<std::string, int> dropsByItem_;
  void emitWorkspaceEvent(WorkspaceEvent event, const RunningApplication& app);
  std::shared_ptr<std::mutex> eventsMutex_ = std::make_shared<std::mutex>();
  Signal<WorkspaceEvent, const RunningApplication&> workspaceEvents_;
};

}  // namespace kestrune::sim
