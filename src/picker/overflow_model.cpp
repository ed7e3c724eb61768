#include "picker/overflow_model.hpp"

#include <algorithm>
#include <cstdio>

#include "discovery/ax_reads.hpp"
#include "settings/diag.hpp"

namespace kestrune {
namespace {

constexpr const char* kDebugVariable = "KESTRUNE_DEBUG";

// `text` padded with spaces to `width` characters (not bytes), as a
// left-justified field of a format.
std::string padded(const std::string& text, size_t width) {
  size_t characters = 0;
  for (unsigned char c : text) characters += (c & 0xC0) != 0x80 ? 1 : 0;
  return characters >= width ? text : text + std::string(width - characters, ' ');
}

std::string format(const char* fmt, double a, double b = 0) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, fmt, a, b);
  return buffer;
}

std::set<pid_t> ownerPIDs(const std::vector<MenuBarItem>& list) {
  std::set<pid_t> pids;
  for (const auto& item : list) {
    if (item.owner) pids.insert(item.owner->pid);
  }
  return pids;
}

// Hosts that belong to an app (the system's own drawings have no process).
std::vector<MenuBarLayout::Host> appHosts(const MenuBarLayout::Snapshot& snapshot) {
  std::vector<MenuBarLayout::Host> hosts;
  std::copy_if(snapshot.hosts.begin(), snapshot.hosts.end(), std::back_inserter(hosts),
               [](const auto& h) { return h.pid != 0; });
  return hosts;
}

std::set<pid_t> pidsOf(const std::vector<MenuBarLayout::Host>& hosts) {
  std::set<pid_t> pids;
  for (const auto& h : hosts) pids.insert(h.pid);
  return pids;
}

std::set<uint32_t> onScreenIDs(const std::vector<MenuBarItem>& list) {
  std::set<uint32_t> ids;
  for (const auto& item : list) {
    if (item.isOnScreen) ids.insert(item.windowID);
  }
  return ids;
}

std::set<pid_t> minus(const std::set<pid_t>& a, const std::set<pid_t>& b) {
  std::set<pid_t> result;
  std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::inserter(result, result.end()));
  return result;
}

}  // namespace

std::shared_ptr<OverflowModel> OverflowModel::create(const Platform& platform,
                                                     const MenuBarLayout& layout,
                                                     SettingsStore& store, Diag& diag,
                                                     std::ostream& out) {
  return std::shared_ptr<OverflowModel>(new OverflowModel(platform, layout, store, diag, out));
}

OverflowModel::OverflowModel(const Platform& platform, const MenuBarLayout& layout,
                             SettingsStore& store, Diag& diag, std::ostream& out)
    : platform_(platform),
      layout_(layout),
      store_(store),
      diag_(diag),
      out_(out),
      scanner_(std::make_shared<ItemScanner>(platform, layout, diag)),
      capturer_(std::make_shared<ItemCapturer>(platform, layout)),
      debug_(platform.system.environment(kDebugVariable).has_value()) {
  screenRecordingGranted.set(preflight());
}

OverflowModel::~OverflowModel() = default;

bool OverflowModel::preflight() {
  return platform_.screenCapture.preflightAccess();
}

std::vector<MenuBarItem> OverflowModel::listedItems() const {
  const pid_t own = platform_.system.processIdentifier();
  const bool onlyHidden = store_.settings().onlyHiddenItems;
  std::vector<MenuBarItem> listed;
  for (const auto& item : items.get()) {
    const auto kind = item.systemKind();
    if (kind == MenuBarItem::SystemKind::clock || kind == MenuBarItem::SystemKind::controlCenter) {
      continue;
    }
    if (item.owner && item.owner->pid == own) continue;
    if (onlyHidden && item.isOnScreen) continue;
    listed.push_back(item);
  }
  return listed;
}

bool OverflowModel::usesLiveIcons() const {
  return store_.settings().liveIcons && screenRecordingGranted.get();
}

template <class Work, class Then>
void OverflowModel::detached(Work work, Then then) {
  std::weak_ptr<OverflowModel> weak = weak_from_this();
  Executors& executors = platform_.executors;
  executors.background().post(
      [weak, &executors, work = std::move(work), then = std::move(then)]() mutable {
        auto result = work();
        executors.main().post([weak, then = std::move(then), result = std::move(result)]() mutable {
          if (auto self = weak.lock()) then(*self, std::move(result));
        });
      });
}

void OverflowModel::sweep(bool force) {
  if (sweepTask_) return;  // dropped, not queued: retries and timers make up for it
  const TimePoint now = platform_.executors.main().now();
  if (!force && lastSweep_ && now - *lastSweep_ <= kSweepInterval) return;
  lastSweep_ = now;
  diag_.log(std::string("sweep start (force=") + (force ? "true" : "false") + ")");
  auto task = std::make_shared<Task>();
  sweepTask_ = task;
  std::weak_ptr<OverflowModel> weak = weak_from_this();
  platform_.executors.main().post([weak, force, task] {
    auto self = weak.lock();
    if (!self) return;
    if (self->layout_.isModern()) {
      self->modernSweep(force, task);
    } else {
      self->legacySweep(force, task);
    }
  });
}

void OverflowModel::endSweep(const std::shared_ptr<Task>& task) {
  if (sweepTask_ == task) sweepTask_.reset();
}

void OverflowModel::scheduleRetry() {
  std::weak_ptr<OverflowModel> weak = weak_from_this();
  platform_.executors.main().postAfter(kRetryDelay, [weak] {
    if (auto self = weak.lock()) self->sweep(true);
  });
}

void OverflowModel::modernSweep(bool force, const std::shared_ptr<Task>& task) {
  if (force) scanner_->forgetEmptyApps();
  detached([scanner = scanner_] { return scanner->scan(); },
           [task](OverflowModel& self, const std::vector<MenuBarItem>& list) {
             self.finishModernSweep(list, task);
           });
}

void OverflowModel::finishModernSweep(const std::vector<MenuBarItem>& list,
                                      const std::shared_ptr<Task>& task) {
  if (task->cancelled) {
    endSweep(task);
    return;
  }
  const auto snapshot = scanner_->withModernState([](auto& s) { return s.snapshot; });
  ++sweepGeneration_;
  items.set(list);
  hasScanned.set(true);
  std::vector<MenuBarLayout::Host> hosts;
  if (snapshot) {
    hosts = appHosts(*snapshot);
    lastHostCount_ = static_cast<int>(hosts.size());
  }
  const auto unresolved = minus(pidsOf(hosts), ownerPIDs(list));
  // The same unresolved hosts twice in a row are not retried again.
  if (!unresolved.empty() && unresolved != unresolvedHostPIDs_) scheduleRetry();
  unresolvedHostPIDs_ = unresolved;
  printDebug(list, snapshot);
  refreshImages();
  endSweep(task);
}

void OverflowModel::legacySweep(bool force, const std::shared_ptr<Task>& task) {
  detached([scanner = scanner_] { return scanner->scanWindows(); },
           [task, force](OverflowModel& self, const std::vector<MenuBarItem>& windows) {
             if (task->cancelled) {
               self.endSweep(task);
               return;
             }
             if (force) self.scanner_->forgetEmptyApps();
             self.diag_.log("sweep: " + std::to_string(windows.size()) + " windows");
             self.legacySweepOwners(windows, task);
           });
}

void OverflowModel::legacySweepOwners(const std::vector<MenuBarItem>& windows,
                                      const std::shared_ptr<Task>& task) {
  detached(
      [scanner = scanner_, windows] {
        return std::pair{windows, scanner->scanOwners(windows)};
      },
      [task](OverflowModel& self, auto result) {
        // Plain references, not structured bindings: the lambda below
        // captures them, which Xcode 15's clang refuses for bindings.
        const std::vector<MenuBarItem>& scanned = result.first;
        const std::map<uint32_t, ItemOwner>& fresh = result.second;
        if (task->cancelled) {
          self.endSweep(task);
          return;
        }
        self.knownWindowIDs_.clear();
        for (const auto& w : scanned) self.knownWindowIDs_.insert(w.windowID);
        // Carry over an old owner whose element still sits in its window:
        // a slow app keeps its owner although it did not answer this time.
        self.detached(
            [&ax = self.platform_.accessibility, scanned, fresh, old = self.owners_] {
              std::map<uint32_t, ItemOwner> owners = fresh;
              for (const auto& w : scanned) {
                auto previous = old.find(w.windowID);
                if (fresh.contains(w.windowID) || previous == old.end()) continue;
                const auto frame = ax::frame(ax, previous->second.element);
                if (frame && w.frame.contains(frame->mid())) {
                  owners.emplace(w.windowID, previous->second);
                }
              }
              return std::pair{scanned, owners};
            },
            [task](OverflowModel& self, auto carried) {
              self.finishLegacySweep(std::move(carried.first), std::move(carried.second), task);
            });
      });
}

void OverflowModel::finishLegacySweep(std::vector<MenuBarItem> windows,
                                      std::map<uint32_t, ItemOwner> owners,
                                      const std::shared_ptr<Task>& task) {
  owners_ = std::move(owners);
  bool unowned = false;
  for (auto& w : windows) {
    auto it = owners_.find(w.windowID);
    if (it != owners_.end()) {
      w.owner = it->second;
    } else {
      w.owner.reset();
      unowned = true;
    }
  }
  items.set(windows);
  hasScanned.set(true);
  // Deliberately after every such sweep: a bar with an unowned item is
  // swept again about every 4 seconds.
  if (unowned) scheduleRetry();
  printDebug(windows, std::nullopt);
  refreshImages();
  endSweep(task);
}

void OverflowModel::refreshWindows() {
  if (!layout_.isModern()) {
    legacyRefresh();
    return;
  }
  if (refreshTask_) return;
  auto task = std::make_shared<Task>();
  refreshTask_ = task;
  std::weak_ptr<OverflowModel> weak = weak_from_this();
  platform_.executors.main().post([weak, task] {
    if (auto self = weak.lock()) self->modernRefresh(task);
  });
}

void OverflowModel::modernRefresh(const std::shared_ptr<Task>& task) {
  const int generation = sweepGeneration_;
  detached([scanner = scanner_] { return scanner->modernRefresh(); },
           [task, generation](OverflowModel& self, const std::vector<MenuBarItem>& list) {
             self.finishModernRefresh(list, generation, task);
           });
}

void OverflowModel::finishModernRefresh(const std::vector<MenuBarItem>& list, int generation,
                                        const std::shared_ptr<Task>& task) {
  const auto snapshot = scanner_->withModernState([](auto& s) { return s.snapshot; });
  screenRecordingGranted.set(preflight());
  if (sweepGeneration_ < 1) {
    refreshTask_.reset();
    return;
  }
  // A sweep that finished meanwhile wins over this older list.
  if (sweepGeneration_ == generation) {
    if (debug_ && onScreenIDs(items.get()) != onScreenIDs(list)) printRefresh(list);
    items.set(list);
    hasScanned.set(true);
  }
  bool needSweep = false;
  std::optional<int> hostCount;
  if (snapshot) {
    const auto hosts = appHosts(*snapshot);
    hostCount = static_cast<int>(hosts.size());
    const auto unresolved = minus(pidsOf(hosts), ownerPIDs(items.get()));
    needSweep = !minus(unresolved, unresolvedHostPIDs_).empty();
    if (lastHostCount_ && *lastHostCount_ != *hostCount) needSweep = true;
  }
  const bool invalidated =
      scanner_->withModernState([](auto& s) { return std::exchange(s.invalidated, false); });
  if (hostCount) lastHostCount_ = hostCount;
  const TimePoint now = platform_.executors.main().now();
  if (needSweep || invalidated) {
    sweep(true);
  } else if (!lastSweep_ || now - *lastSweep_ > kModernStaleness) {
    sweep(false);
  }
  if (refreshTask_ == task) refreshTask_.reset();
}

void OverflowModel::legacyRefresh() {
  auto windows = scanner_->scanWindows();  // the window list only: no Accessibility
  for (auto& w : windows) {
    auto it = owners_.find(w.windowID);
    if (it != owners_.end()) w.owner = it->second;
  }
  items.set(windows);
  hasScanned.set(true);
  screenRecordingGranted.set(preflight());
  const bool fresh = std::any_of(windows.begin(), windows.end(), [&](const MenuBarItem& w) {
    return !knownWindowIDs_.contains(w.windowID);
  });
  const TimePoint now = platform_.executors.main().now();
  if (fresh) {
    sweep(true);
  } else if (!lastSweep_ || now - *lastSweep_ > kLegacyStaleness) {
    sweep(false);
  }
}

void OverflowModel::refresh() {
  refreshWindows();
  refreshImages();
}

void OverflowModel::refreshImages() {
  if (captureTask_ || !usesLiveIcons() || listedItems().empty()) return;
  auto task = std::make_shared<Task>();
  captureTask_ = task;
  std::weak_ptr<OverflowModel> weak = weak_from_this();
  platform_.executors.main().post([weak, task] {
    auto self = weak.lock();
    if (!self) return;
    self->detached([capturer = self->capturer_,
                    listed = self->listedItems()] { return capturer->capture(listed); },
                   [task](OverflowModel& model, std::map<uint32_t, Image> captured) {
                     if (!task->cancelled) {
                       std::vector<const Bitmap*> bitmaps;
                       for (const auto& [id, image] : captured) {
                         if (image.bitmap()) bitmaps.push_back(image.bitmap());
                       }
                       const auto light = ItemCapturer::glyphsAreLight(bitmaps);
                       model.images.set(std::move(captured));
                       if (light) model.glyphsAreLight.set(light);
                     }
                     if (model.captureTask_ == task) model.captureTask_.reset();
                   });
  });
}

void OverflowModel::cancelCapture() {
  if (captureTask_) captureTask_->cancelled = true;
  captureTask_.reset();
}

void OverflowModel::startWarming() {
  sweep(true);
  std::weak_ptr<OverflowModel> weak = weak_from_this();
  warmTimer_ = platform_.executors.main().scheduleRepeating(kWarmInterval, [weak] {
    if (auto self = weak.lock()) self->refreshWindows();
  });
  if (!layout_.isModern()) return;
  MainExecutor& main = platform_.executors.main();
  workspaceObservers_.push_back(platform_.workspace.observe(
      WorkspaceEvent::didLaunchApplication, [weak, &main](const RunningApplication&) {
        main.postAfter(kLaunchDelay, [weak] {
          if (auto self = weak.lock()) self->sweep(true);
        });
      }));
  workspaceObservers_.push_back(platform_.workspace.observe(
      WorkspaceEvent::didTerminateApplication, [weak, &main](const RunningApplication&) {
        main.post([weak] {
          if (auto self = weak.lock()) self->sweep(true);
        });
      }));
}

void OverflowModel::printDebug(const std::vector<MenuBarItem>& list,
                               const std::optional<MenuBarLayout::Snapshot>& snapshot) {
  if (!debug_) return;
  const bool modern = layout_.isModern();
  for (const auto& item : list) {
    out_ << "item " << padded(item.displayName(modern), 24)
         << format(" x=%6.0f w=%3.0f", item.frame.minX(), item.frame.width())
         << " on=" << (item.isOnScreen ? 1 : 0)
         << " owner=" << (item.owner ? item.owner->name : "-")
         << " id=" << (item.windowName.empty() ? "-" : item.windowName) << "\n";
  }
  if (modern) {
    if (snapshot) {
      const auto& button = snapshot->showHiddenButton;
      out_ << "layout: hosts=" << snapshot->hosts.size() << " showHiddenButton="
           << (button ? format("x=%.0f w=%.1f", button->minX(), button->width()) : "none")
           << " barHeight=" << static_cast<long>(snapshot->barHeight) << "\n";
    } else {
      out_ << "layout: no snapshot (MenuBarAgent did not answer)\n";
    }
  }
  out_ << "listed: " << listedItems().size()
       << " liveIcons: " << (usesLiveIcons() ? "true" : "false") << "\n";
  out_.flush();
}

void OverflowModel::printRefresh(const std::vector<MenuBarItem>& list) {
  const bool modern = layout_.isModern();
  auto names = [&](bool drawn) {
    std::string text = "[";
    bool first = true;
    for (const auto& item : list) {
      if (item.isOnScreen != drawn) continue;
      text += (first ? "\"" : ", \"") + item.displayName(modern) + "\"";
      first = false;
    }
    return text + "]";
  };
  out_ << "refresh: drawn=" << names(true) << " hidden=" << names(false) << "\n";
  out_.flush();
}

}  // namespace kestrune
