#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <set>
#include <vector>

#include "core/executor.hpp"
#include "core/image.hpp"
#include "core/observable.hpp"
#include "discovery/item_scanner.hpp"
#include "discovery/menu_bar_item.hpp"
#include "discovery/menu_bar_layout.hpp"
#include "picker/item_capturer.hpp"
#include "platform/platform.hpp"
#include "settings/settings_store.hpp"

namespace kestrune {

class Diag;

// The one observable object behind the picker: it sweeps the menu bar (a
// full scan that resolves which app owns each item), refreshes it cheaply
// between sweeps, keeps the items and their captured icons, and decides
// which items the picker lists. Everything here runs on the main executor;
// scans and captures run as background work whose results come back to the
// main executor. Timers, retries and observers hold the model weakly, so it
// lives in a shared_ptr.
class OverflowModel : public std::enable_shared_from_this<OverflowModel> {
 public:
  static constexpr Duration kSweepInterval = std::chrono::seconds(5);
  static constexpr Duration kRetryDelay = std::chrono::seconds(4);
  static constexpr Duration kWarmInterval = std::chrono::seconds(3);
  static constexpr Duration kLaunchDelay = std::chrono::milliseconds(1500);
  static constexpr Duration kModernStaleness = std::chrono::seconds(15);
  static constexpr Duration kLegacyStaleness = std::chrono::seconds(30);

  // A running piece of work; cancelling it makes it publish nothing.
  struct Task {
    bool cancelled = false;
  };

  // Does not scan. `out` receives the debug dump.
  [[nodiscard]] static std::shared_ptr<OverflowModel> create(const Platform& platform,
                                                             const MenuBarLayout& layout,
                                                             SettingsStore& store, Diag& diag,
                                                             std::ostream& out);
  ~OverflowModel();
  OverflowModel(const OverflowModel&) = delete;
  OverflowModel& operator=(const OverflowModel&) = delete;

  ObjectWillChange objectWillChange;
  Published<std::vector<MenuBarItem>> items{{}, &objectWillChange};
  Published<std::map<uint32_t, Image>> images{{}, &objectWillChange};
  Published<std::optional<bool>> glyphsAreLight{std::nullopt, &objectWillChange};
  Published<bool> hasScanned{false, &objectWillChange};
  Published<bool> screenRecordingGranted{false, &objectWillChange};

  // The items the picker shows: neither the clock, Control Center nor the
  // app's own items; only hidden ones when the settings say so.
  [[nodiscard]] std::vector<MenuBarItem> listedItems() const;
  [[nodiscard]] bool usesLiveIcons() const;

  void startWarming();
  void sweep(bool force);
  void refreshWindows();
  void refresh();
  void refreshImages();
  // Stops a running capture: it will publish nothing.
  void cancelCapture();

  [[nodiscard]] ItemScanner& scanner() { return *scanner_; }
  [[nodiscard]] bool isSweeping() const { return sweepTask_ != nullptr; }
  [[nodiscard]] bool isCapturing() const { return captureTask_ != nullptr; }
  [[nodiscard]] bool debug() const { return debug_; }
  [[nodiscard]] int sweepGeneration() const { return sweepGeneration_; }

 private:
  OverflowModel(const Platform& platform, const MenuBarLayout& layout, SettingsStore& store,
                Diag& diag, std::ostream& out);

  // Runs `work` in the background and `then` with its result on the main
  // executor, if the model still exists.
  template <class Work, class Then>
  void detached(Work work, Then then);

  void modernSweep(bool force, const std::shared_ptr<Task>& task);
  void finishModernSweep(const std::vector<MenuBarItem>& list, const std::shared_ptr<Task>& task);
  void legacySweep(bool force, const std::shared_ptr<Task>& task);
  void legacySweepOwners(const std::vector<MenuBarItem>& windows,
                         const std::shared_ptr<Task>& task);
  void finishLegacySweep(std::vector<MenuBarItem> windows, std::map<uint32_t, ItemOwner> owners,
                         const std::shared_ptr<Task>& task);
  void modernRefresh(const std::shared_ptr<Task>& task);
  void finishModernRefresh(const std::vector<MenuBarItem>& list, int generation,
                           const std::shared_ptr<Task>& task);
  void legacyRefresh();
  void endSweep(const std::shared_ptr<Task>& task);
  void scheduleRetry();
  void captureImages();
  void printDebug(const std::vector<MenuBarItem>& list,
                  const std::optional<MenuBarLayout::Snapshot>& snapshot);
  void printRefresh(const std::vector<MenuBarItem>& list);
  [[nodiscard]] bool preflight();

  const Platform& platform_;
  const MenuBarLayout& layout_;
  SettingsStore& store_;
  Diag& diag_;
  std::ostream& out_;
  // Shared with the background work that uses them.
  std::shared_ptr<ItemScanner> scanner_;
  std::shared_ptr<ItemCapturer> capturer_;
  std::map<uint32_t, ItemOwner> owners_;
  std::set<uint32_t> knownWindowIDs_;
  std::optional<TimePoint> lastSweep_;  // none: the distant past
  std::shared_ptr<Task> sweepTask_;
  std::shared_ptr<Task> captureTask_;
  std::shared_ptr<Task> refreshTask_;
  Timer warmTimer_;
  bool debug_;
  int sweepGeneration_ = 0;
  std::optional<int> lastHostCount_;
  std::set<pid_t> unresolvedHostPIDs_;
  std::vector<Subscription> workspaceObservers_;
};

}  // namespace kestrune
