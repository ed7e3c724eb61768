#pragma once

#include <sys/types.h>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <vector>

#include "discovery/menu_bar_item.hpp"
#include "discovery/menu_bar_layout.hpp"
#include "platform/platform.hpp"

namespace kestrune {

class Diag;

// Lists every status item of the menu bar in order, each joined where
// possible to the Accessibility element that presses it. Asking apps is
// slow and some never answer, so apps are asked in parallel with short
// time-outs, and apps without items or that do not answer are left alone for
// a while. Scans block: never call them on the main thread.
class ItemScanner {
 public:
  // A status item's element and where it says it is (top-left origin).
  struct OwnedElement {
    Rect frame;
    ItemOwner owner;
  };

  // The state of the modern path, guarded by the scanner's lock.
  struct ModernState {
    std::vector<OwnedElement> cache;  // the elements of the last modern scan
    std::optional<MenuBarLayout::Snapshot> snapshot;
    bool invalidated = false;  // set when the cache must be rebuilt by a scan
  };

  // The frames of the app's own status items; windows over one of them are
  // never items, whoever the window list says owns them.
  using OwnFramesSupplier = std::function<std::vector<Rect>()>;

  static constexpr int64_t kStatusWindowLayer = 25;
  static constexpr double kMinItemWidth = 8;
  static constexpr double kMaxItemWidth = 400;
  static constexpr double kMaxItemHeight = 48;
  static constexpr double kTopTolerance = 2;
  static constexpr double kOwnFrameTolerance = 2;
  static constexpr size_t kFirstPassWidth = 8;
  static constexpr Duration kFirstPassTimeout = std::chrono::milliseconds(400);
  static constexpr size_t kSecondPassWidth = 3;
  static constexpr Duration kSecondPassTimeout = std::chrono::seconds(1);
  static constexpr size_t kModernSecondPassLimit = 12;
  static constexpr Duration kElementTimeout = std::chrono::milliseconds(500);
  static constexpr Duration kQuietPeriod = std::chrono::seconds(60);
  static constexpr Duration kSnapshotTimeout = std::chrono::milliseconds(500);
  // Elements within this distance of a host of their app are drawn there.
  static constexpr double kHostProximity = 8;

  ItemScanner(const Platform& platform, const MenuBarLayout& layout, Diag& diag);

  static void setOwnFrames(OwnFramesSupplier supplier);
  [[nodiscard]] static std::vector<Rect> ownFrames();

  // Every status item in menu bar order, left to right.
  [[nodiscard]] std::vector<MenuBarItem> scan();
  // Status windows of the window list, in its order, without owners.
  [[nodiscard]] std::vector<MenuBarItem> statusWindows();
  // statusWindows() stably sorted by left edge.
  [[nodiscard]] std::vector<MenuBarItem> scanWindows();
  [[nodiscard]] std::map<uint32_t, ItemOwner> scanOwners(const std::vector<MenuBarItem>& windows);
  // Modern bar: the cached elements read again, without asking every app.
  [[nodiscard]] std::vector<MenuBarItem> modernRefresh();
  // Ends the quiet periods of apps that merely had no items; back-offs stay.
  void forgetEmptyApps();

  // Runs `f` on the modern state with the scanner's lock held.
  template <class F>
  auto withModernState(F&& f) {
    std::lock_guard lock(modernLock_);
    return f(modern_);
  }

  // An extras menu bar's status item elements; on the modern bar the items
  // of groups stand in their group's place. The bar and every element read
  // on the way get `timeout` first, so no read waits for the system's
  // default.
  [[nodiscard]] static std::vector<AXElement> menuBarItems(Accessibility& ax, const AXElement& bar,
                                                           bool isModern, Duration timeout);
  // For each window in order, the owner of the first element whose centre
  // lies in it.
  [[nodiscard]] static std::map<uint32_t, ItemOwner> match(
      const std::vector<MenuBarItem>& windows, const std::vector<OwnedElement>& elements);
  // The key of a host: process id and ordinal.
  [[nodiscard]] static uint32_t hostKey(pid_t pid, int ordinal);
  // Hosted elements by their hosts' left edges, then the others by name,
  // process id and ordinal.
  [[nodiscard]] static std::vector<OwnedElement> orderModern(std::vector<OwnedElement> elements,
                                                             const std::map<uint32_t, Rect>& hosts);
  // The back-off after `failures` consecutive failures to answer.
  [[nodiscard]] static Duration backOffDelay(int failures);

  // What one pass of asking apps found.
  struct PassResult {
    std::vector<OwnedElement> elements;
    std::vector<RunningApplication> timedOut;
    std::vector<pid_t> withoutItems;  // answered without an extras menu bar
    std::set<pid_t> answered;         // with elements or without items
  };

  // Read-only views for tests and diagnostics.
  [[nodiscard]] std::optional<TimePoint> quietUntil(pid_t pid) const;
  [[nodiscard]] int failureCount(pid_t pid) const;

 private:
  [[nodiscard]] std::vector<RunningApplication> candidateApps(TimePoint now) const;
  [[nodiscard]] PassResult extrasElements(const std::vector<RunningApplication>& apps, size_t width,
                                          Duration timeout);
  void readApp(const RunningApplication& app, Duration timeout, PassResult& slot);
  void quiet(const std::vector<pid_t>& pids, TimePoint now);
  void backOff(const std::vector<RunningApplication>& apps, TimePoint now);
  void forgive(const std::set<pid_t>& answered);
  [[nodiscard]] std::vector<MenuBarItem> modernScan();
  // A status window of the window list, with the process the list says
  // owns it.
  struct StatusWindow {
    MenuBarItem item;
    pid_t pid = 0;
  };
  [[nodiscard]] std::vector<StatusWindow> ownedStatusWindows();
  // Where the menu bar agent draws each element (by host key) and each
  // window that no element stands on (by window id).
  struct HostAssignment {
    std::map<uint32_t, Rect> byKey;
    std::map<uint32_t, Rect> byWindow;
  };
  [[nodiscard]] static HostAssignment assignHosts(
      const std::vector<OwnedElement>& elements, const std::vector<const StatusWindow*>& windows,
      const std::optional<MenuBarLayout::Snapshot>& snapshot);
  [[nodiscard]] std::vector<MenuBarItem> modernItems(
      const std::vector<OwnedElement>& elements,
      const std::optional<MenuBarLayout::Snapshot>& snapshot);
  [[nodiscard]] bool processExists(pid_t pid) const;

  const Platform& platform_;
  const MenuBarLayout& layout_;
  Diag& diag_;
  pid_t ownPID_;
  std::map<pid_t, TimePoint> noExtrasUntil_;
  std::map<pid_t, int> timeouts_;
  std::mutex modernLock_;
  ModernState modern_;
};

}  // namespace kestrune
