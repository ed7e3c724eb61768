#include "discovery/item_scanner.hpp"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <string>
#include <tuple>

#include "core/unicode.hpp"
#include "discovery/ax_reads.hpp"
#include "settings/diag.hpp"

namespace kestrune {
namespace {

std::mutex ownFramesMutex;
ItemScanner::OwnFramesSupplier ownFramesSupplier;

float secondsOf(Duration d) {
  return static_cast<float>(toSeconds(d));
}

std::string appName(const RunningApplication& app) {
  if (app.localizedName && !app.localizedName->empty()) return *app.localizedName;
  if (app.bundleIdentifier && !app.bundleIdentifier->empty()) return *app.bundleIdentifier;
  return "App";
}

bool isOwnFrame(const Rect& frame, const std::vector<Rect>& own) {
  return std::any_of(own.begin(), own.end(), [&](const Rect& o) {
    return std::abs(o.minX() - frame.minX()) < ItemScanner::kOwnFrameTolerance &&
           std::abs(o.width() - frame.width()) < ItemScanner::kOwnFrameTolerance;
  });
}

// The window's frame when its bounds carry all four values.
std::optional<Rect> boundsOf(const WindowInfo& w) {
  if (!w.bounds) return std::nullopt;
  const WindowBounds& b = *w.bounds;
  if (!b.x || !b.y || !b.width || !b.height) return std::nullopt;
  return Rect{*b.x, *b.y, *b.width, *b.height};
}

void append(std::vector<ItemScanner::OwnedElement>& to,
            const std::vector<ItemScanner::OwnedElement>& from) {
  to.insert(to.end(), from.begin(), from.end());
}

}  // namespace

ItemScanner::ItemScanner(const Platform& platform, const MenuBarLayout& layout, Diag& diag)
    : platform_(platform),
      layout_(layout),
      diag_(diag),
      ownPID_(platform.system.processIdentifier()) {}

void ItemScanner::setOwnFrames(OwnFramesSupplier supplier) {
  std::lock_guard lock(ownFramesMutex);
  ownFramesSupplier = std::move(supplier);
}

std::vector<Rect> ItemScanner::ownFrames() {
  OwnFramesSupplier supplier;
  {
    std::lock_guard lock(ownFramesMutex);
    supplier = ownFramesSupplier;
  }
  // Called outside the lock: the supplier may wait for the main thread.
  return supplier ? supplier() : std::vector<Rect>{};
}

std::vector<MenuBarItem> ItemScanner::scan() {
  if (layout_.isModern()) return modernScan();
  auto windows = scanWindows();
  const auto owners = scanOwners(windows);
  for (auto& w : windows) {
    auto it = owners.find(w.windowID);
    if (it != owners.end()) w.owner = it->second;
  }
  return windows;
}

std::vector<MenuBarItem> ItemScanner::statusWindows() {
  std::vector<MenuBarItem> items;
  for (auto& w : ownedStatusWindows()) items.push_back(std::move(w.item));
  return items;
}

std::vector<ItemScanner::StatusWindow> ItemScanner::ownedStatusWindows() {
  const auto list = platform_.windowServer.copyWindowInfo(WindowListOption::all, 0);
  if (!list) return {};
  const auto own = ownFrames();
  std::vector<StatusWindow> windows;
  for (const WindowInfo& w : *list) {
    if (w.layer != kStatusWindowLayer || w.ownerPID == ownPID_ || !w.number) continue;
    const auto frame = boundsOf(w);
    if (!frame || (w.alpha && !(*w.alpha > 0)) || isOwnFrame(*frame, own)) continue;
    if (frame->height() > kMaxItemHeight || frame->width() > kMaxItemWidth ||
        frame->width() < kMinItemWidth || std::abs(frame->minY()) >= kTopTolerance) {
      continue;
    }
    MenuBarItem item;
    item.windowID = *w.number;
    item.frame = *frame;
    item.isOnScreen = w.isOnscreen.value_or(false);
    item.windowName = w.name.value_or("");
    item.windowOwnerName = w.ownerName.value_or("");
    windows.push_back(StatusWindow{std::move(item), w.ownerPID.value_or(0)});
  }
  return windows;
}

std::vector<MenuBarItem> ItemScanner::scanWindows() {
  auto windows = statusWindows();
  std::stable_sort(windows.begin(), windows.end(),
                   [](const auto& a, const auto& b) { return a.frame.minX() < b.frame.minX(); });
  return windows;
}

std::vector<RunningApplication> ItemScanner::candidateApps(TimePoint now) const {
  auto apps = platform_.workspace.runningApplications();
  std::erase_if(apps, [&](const RunningApplication& app) {
    auto it = noExtrasUntil_.find(app.pid);
    return it != noExtrasUntil_.end() && !(it->second < now);
  });
  std::stable_sort(apps.begin(), apps.end(), [&](const auto& a, const auto& b) {
    return failureCount(a.pid) < failureCount(b.pid);
  });
  return apps;
}

void ItemScanner::readApp(const RunningApplication& app, Duration timeout, PassResult& slot) {
  Accessibility& ax = platform_.accessibility;
  const AXElement application = ax.createApplication(app.pid);
  ax.setMessagingTimeout(application, secondsOf(timeout));
  AXAnyValue value;
  const AXError error = ax.copyAttributeValue(application, "AXExtrasMenuBar", value);
  if (error == AXError::cannotComplete) {
    slot.timedOut.push_back(app);
    return;
  }
  slot.answered.insert(app.pid);
  const auto* bar = std::get_if<AXElement>(&value.value);
  if (error != AXError::success || !bar) {
    slot.withoutItems.push_back(app.pid);
    return;
  }
  const auto elements = menuBarItems(ax, *bar, layout_.isModern(), timeout);
  for (size_t i = 0; i < elements.size(); ++i) {
    const AXElement& element = elements[i];
    ax.setMessagingTimeout(element, secondsOf(kElementTimeout));
    const auto frame = ax::frame(ax, element);
    if (!frame) continue;
    ItemOwner owner;
    owner.pid = app.pid;
    owner.name = appName(app);
    owner.bundleID = app.bundleIdentifier;
    owner.element = element;
    owner.axTitle = ax::stringOrEmpty(ax, element, "AXTitle");
    owner.axDescription = ax::stringOrEmpty(ax, element, "AXDescription");
    owner.axIdentifier = ax::stringOrEmpty(ax, element, "AXIdentifier");
    owner.ordinal = static_cast<int>(i);
    slot.elements.push_back(OwnedElement{*frame, std::move(owner)});
  }
}

ItemScanner::PassResult ItemScanner::extrasElements(const std::vector<RunningApplication>& apps,
                                                    size_t width, Duration timeout) {
  std::vector<PassResult> slots(apps.size());
  std::mutex slotsLock;
  platform_.executors.parallelFor(apps.size(), width, [&](size_t i) {
    PassResult result;
    readApp(apps[i], timeout, result);
    std::lock_guard lock(slotsLock);
    slots[i] = std::move(result);
  });
  PassResult all;
  for (auto& slot : slots) {
    append(all.elements, slot.elements);
    all.timedOut.insert(all.timedOut.end(), slot.timedOut.begin(), slot.timedOut.end());
    all.withoutItems.insert(all.withoutItems.end(), slot.withoutItems.begin(),
                            slot.withoutItems.end());
    all.answered.insert(slot.answered.begin(), slot.answered.end());
  }
  return all;
}

std::vector<AXElement> ItemScanner::menuBarItems(Accessibility& ax, const AXElement& bar,
                                                 bool isModern, Duration timeout) {
  auto children = ax::children(ax, bar, "AXChildren", timeout);
  if (!isModern) return children;
  std::vector<AXElement> items;
  for (const auto& child : children) {
    const auto role = ax::attribute<std::string>(ax, child, "AXRole");
    if (role == "AXMenuBarItem") {
      items.push_back(child);
    } else if (role == "AXGroup") {
      for (const auto& member : ax::children(ax, child, "AXChildren", timeout)) {
        if (ax::attribute<std::string>(ax, member, "AXRole") == "AXMenuBarItem") {
          items.push_back(member);
        }
      }
    }
  }
  return items;
}

void ItemScanner::quiet(const std::vector<pid_t>& pids, TimePoint now) {
  for (pid_t pid : pids) noExtrasUntil_[pid] = now + kQuietPeriod;
}

Duration ItemScanner::backOffDelay(int failures) {
  if (failures >= 7) return std::chrono::seconds(600);
  return std::chrono::seconds(15LL << std::max(failures - 1, 0));
}

void ItemScanner::backOff(const std::vector<RunningApplication>& apps, TimePoint now) {
  for (const auto& app : apps) {
    const int n = ++timeouts_[app.pid];
    noExtrasUntil_[app.pid] = now + backOffDelay(n);
  }
}

// An app that answers again starts its count of failures afresh.
void ItemScanner::forgive(const std::set<pid_t>& answered) {
  for (pid_t pid : answered) timeouts_.erase(pid);
}

void ItemScanner::forgetEmptyApps() {
  std::erase_if(noExtrasUntil_,
                [&](const auto& entry) { return !timeouts_.contains(entry.first); });
}

std::map<uint32_t, ItemOwner> ItemScanner::match(const std::vector<MenuBarItem>& windows,
                                                 const std::vector<OwnedElement>& elements) {
  std::map<uint32_t, ItemOwner> owners;
  for (const auto& window : windows) {
    for (const auto& element : elements) {
      if (window.frame.contains(element.frame.mid())) {
        owners.emplace(window.windowID, element.owner);
        break;
      }
    }
  }
  return owners;
}

std::map<uint32_t, ItemOwner> ItemScanner::scanOwners(const std::vector<MenuBarItem>& windows) {
  const TimePoint now = platform_.executors.main().now();
  const auto apps = candidateApps(now);
  PassResult first = extrasElements(apps, kFirstPassWidth, kFirstPassTimeout);
  quiet(first.withoutItems, now);
  std::vector<OwnedElement> elements = first.elements;
  auto owners = match(windows, elements);
  size_t silent = first.timedOut.size();
  forgive(first.answered);

  if (owners.size() < windows.size() && !first.timedOut.empty()) {
    PassResult second = extrasElements(first.timedOut, kSecondPassWidth, kSecondPassTimeout);
    append(elements, second.elements);
    quiet(second.withoutItems, now);
    backOff(second.timedOut, now);
    forgive(second.answered);
    silent = second.timedOut.size();
    owners = match(windows, elements);
  }

  diag_.log("sweep: apps=" + std::to_string(apps.size()) +
            " owners=" + std::to_string(elements.size()) + " silent=" + std::to_string(silent) +
            " windows=" + std::to_string(windows.size()) +
            " matched=" + std::to_string(owners.size()));
  return owners;
}

uint32_t ItemScanner::hostKey(pid_t pid, int ordinal) {
  return (static_cast<uint32_t>(pid) << 8) | static_cast<uint32_t>(std::clamp(ordinal, 0, 255));
}

ItemScanner::HostAssignment ItemScanner::assignHosts(
    const std::vector<OwnedElement>& elements, const std::vector<const StatusWindow*>& windows,
    const std::optional<MenuBarLayout::Snapshot>& snapshot) {
  HostAssignment result;
  if (!snapshot) return result;
  // Elements are matched first; a window no element stands on competes for
  // the hosts that are left.
  std::vector<MenuBarLayout::Candidate> candidates;
  candidates.reserve(elements.size() + windows.size());
  for (size_t i = 0; i < elements.size(); ++i) {
    candidates.push_back({static_cast<uint32_t>(i), elements[i].owner.pid, elements[i].frame});
  }
  for (size_t w = 0; w < windows.size(); ++w) {
    candidates.push_back(
        {static_cast<uint32_t>(elements.size() + w), windows[w]->pid, windows[w]->item.frame});
  }
  for (const auto& [index, host] :
       MenuBarLayout::matchHosts(candidates, *snapshot, kHostProximity)) {
    if (index < elements.size()) {
      const ItemOwner& owner = elements[index].owner;
      result.byKey.emplace(hostKey(owner.pid, owner.ordinal), host.frame);
    } else {
      result.byWindow.emplace(windows[index - elements.size()]->item.windowID, host.frame);
    }
  }
  return result;
}

std::vector<ItemScanner::OwnedElement> ItemScanner::orderModern(
    std::vector<OwnedElement> elements, const std::map<uint32_t, Rect>& hosts) {
  auto hostOf = [&](const OwnedElement& e) {
    auto it = hosts.find(hostKey(e.owner.pid, e.owner.ordinal));
    return it == hosts.end() ? std::optional<Rect>() : std::optional<Rect>(it->second);
  };
  auto unhosted =
      std::stable_partition(elements.begin(), elements.end(),
                            [&](const OwnedElement& e) { return hostOf(e).has_value(); });
  std::stable_sort(elements.begin(), unhosted, [&](const auto& a, const auto& b) {
    return hostOf(a)->minX() < hostOf(b)->minX();
  });
  std::stable_sort(unhosted, elements.end(), [](const auto& a, const auto& b) {
    return std::forward_as_tuple(unicode::lowercased(a.owner.name), a.owner.pid, a.owner.ordinal) <
           std::forward_as_tuple(unicode::lowercased(b.owner.name), b.owner.pid, b.owner.ordinal);
  });
  return elements;
}

// Items of the modern bar. Each element in order, on its status window when
// one lies under it (else on a window id of its own, made from its host key
// so that it stays the same from scan to scan), drawn when the menu bar
// agent draws it. A status window that no element stands on (an app that
// never answers, or has no extras menu bar) is an item without owner: drawn
// ones take their place among the drawn items, hidden ones come last.
std::vector<MenuBarItem> ItemScanner::modernItems(
    const std::vector<OwnedElement>& elements,
    const std::optional<MenuBarLayout::Snapshot>& snapshot) {
  const auto windows = ownedStatusWindows();
  std::map<uint32_t, const StatusWindow*> windowOf;  // by host key
  std::vector<bool> windowUsed(windows.size(), false);
  for (const OwnedElement& e : elements) {
    for (size_t w = 0; w < windows.size(); ++w) {
      if (!windowUsed[w] && windows[w].item.frame.contains(e.frame.mid())) {
        windowUsed[w] = true;
        windowOf.emplace(hostKey(e.owner.pid, e.owner.ordinal), &windows[w]);
        break;
      }
    }
  }
  const auto agent = layout_.agentPID();
  std::vector<const StatusWindow*> orphans;
  for (size_t w = 0; w < windows.size(); ++w) {
    // The agent's own windows (the » button) are not items.
    if (!windowUsed[w] && windows[w].pid != agent) orphans.push_back(&windows[w]);
  }
  const auto hosts = assignHosts(elements, orphans, snapshot);

  std::vector<MenuBarItem> hosted;
  std::vector<MenuBarItem> unhosted;
  for (const OwnedElement& e : orderModern(elements, hosts.byKey)) {
    const uint32_t key = hostKey(e.owner.pid, e.owner.ordinal);
    const auto host = hosts.byKey.find(key);
    const auto on = windowOf.find(key);
    const MenuBarItem* window = on != windowOf.end() ? &on->second->item : nullptr;
    MenuBarItem item;
    item.windowID = window ? window->windowID : (0x80000000U | key);
    item.frame = host != hosts.byKey.end() ? host->second : (window ? window->frame : e.frame);
    item.isOnScreen = snapshot ? host != hosts.byKey.end() : (window && window->isOnScreen);
    item.windowName = window ? window->windowName : std::string();
    item.windowOwnerName = window ? window->windowOwnerName : e.owner.name;
    item.owner = e.owner;
    (host != hosts.byKey.end() ? hosted : unhosted).push_back(std::move(item));
  }

  std::vector<MenuBarItem> hostedOrphans;
  std::vector<MenuBarItem> hiddenOrphans;
  for (const StatusWindow* w : orphans) {
    MenuBarItem item = w->item;
    const auto host = hosts.byWindow.find(item.windowID);
    if (snapshot) item.isOnScreen = host != hosts.byWindow.end();
    if (host != hosts.byWindow.end()) item.frame = host->second;
    (host != hosts.byWindow.end() ? hostedOrphans : hiddenOrphans).push_back(std::move(item));
  }
  const auto byLeftEdge = [](const MenuBarItem& a, const MenuBarItem& b) {
    return a.frame.minX() < b.frame.minX();
  };
  std::stable_sort(hostedOrphans.begin(), hostedOrphans.end(), byLeftEdge);
  std::stable_sort(hiddenOrphans.begin(), hiddenOrphans.end(), byLeftEdge);

  std::vector<MenuBarItem> items;
  items.reserve(elements.size() + orphans.size());
  std::merge(hosted.begin(), hosted.end(), hostedOrphans.begin(), hostedOrphans.end(),
             std::back_inserter(items), byLeftEdge);
  items.insert(items.end(), unhosted.begin(), unhosted.end());
  items.insert(items.end(), hiddenOrphans.begin(), hiddenOrphans.end());
  return items;
}

bool ItemScanner::processExists(pid_t pid) const {
  const int result = platform_.system.signalProbe(pid);
  return result == 0 || result == EPERM;
}

std::vector<MenuBarItem> ItemScanner::modernScan() {
  const TimePoint now = platform_.executors.main().now();
  const auto apps = candidateApps(now);
  PassResult first = extrasElements(apps, kFirstPassWidth, kFirstPassTimeout);
  quiet(first.withoutItems, now);
  const auto snapshot = layout_.snapshot(kSnapshotTimeout);

  auto retry = first.timedOut;
  std::stable_sort(retry.begin(), retry.end(), [&](const auto& a, const auto& b) {
    return failureCount(a.pid) < failureCount(b.pid);
  });
  if (retry.size() > kModernSecondPassLimit) retry.resize(kModernSecondPassLimit);
  PassResult second = extrasElements(retry, kSecondPassWidth, kSecondPassTimeout);
  quiet(second.withoutItems, now);
  backOff(second.timedOut, now);

  std::vector<OwnedElement> elements = first.elements;
  append(elements, second.elements);
  std::set<pid_t> answered = first.answered;
  answered.insert(second.answered.begin(), second.answered.end());
  forgive(answered);

  // A slow app's items stay for this sweep while its process lives.
  const auto previous = withModernState([](ModernState& s) { return s.cache; });
  size_t kept = 0;
  for (const auto& e : previous) {
    if (answered.contains(e.owner.pid) || !processExists(e.owner.pid)) continue;
    elements.push_back(e);
    ++kept;
  }

  auto items = modernItems(elements, snapshot);
  withModernState([&](ModernState& s) {
    s.cache = elements;
    s.snapshot = snapshot;
  });

  const auto drawn =
      std::count_if(items.begin(), items.end(), [](const MenuBarItem& i) { return i.isOnScreen; });
  const size_t silent = second.timedOut.size() + (first.timedOut.size() - retry.size());
  // The log's own stamp tells when the scan ended.
  diag_.log("sweep(27): apps=" + std::to_string(apps.size()) +
            " items=" + std::to_string(items.size()) + " kept=" + std::to_string(kept) +
            " silent=" + std::to_string(silent) +
            " hosts=" + std::to_string(snapshot ? snapshot->hosts.size() : 0) +
            " drawn=" + std::to_string(drawn));
  return items;
}

std::vector<MenuBarItem> ItemScanner::modernRefresh() {
  const auto cache = withModernState([](ModernState& s) { return s.cache; });
  const auto snapshot = layout_.snapshot(kSnapshotTimeout);
  std::vector<OwnedElement> current;
  bool lost = false;
  Accessibility& ax = platform_.accessibility;
  for (const auto& e : cache) {
    if (const auto frame = ax::frame(ax, e.owner.element)) {
      current.push_back(OwnedElement{*frame, e.owner});
      continue;
    }
    // A slow app keeps its item where it was last seen; only an element
    // that is gone (the app quit or rebuilt its item) needs a new scan.
    AXAnyValue role;
    if (ax.copyAttributeValue(e.owner.element, "AXRole", role) == AXError::invalidUIElement) {
      lost = true;
    } else {
      current.push_back(e);
    }
  }
  auto items = modernItems(current, snapshot);
  withModernState([&](ModernState& s) {
    s.snapshot = snapshot;
    s.invalidated = s.invalidated || lost;
  });
  return items;
}

std::optional<TimePoint> ItemScanner::quietUntil(pid_t pid) const {
  auto it = noExtrasUntil_.find(pid);
  if (it == noExtrasUntil_.end()) return std::nullopt;
  return it->second;
}

int ItemScanner::failureCount(pid_t pid) const {
  auto it = timeouts_.find(pid);
  return it == timeouts_.end() ? 0 : it->second;
}

}  // namespace kestrune
