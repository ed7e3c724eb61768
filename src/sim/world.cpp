#include "sim/world.hpp"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "discovery/menu_bar_layout.hpp"

namespace kestrune::sim {
namespace {

ScenarioApp agentApp(pid_t pid) {
  ScenarioApp agent;
  agent.pid = pid;
  agent.bundleID = World::kAgentBundleID;
  agent.name = "MenuBarAgent";
  agent.bundlePath = "/System/Library/CoreServices/MenuBarAgent.app";
  return agent;
}

bool isAgent(const ScenarioApp& app) {
  return app.bundleID == World::kAgentBundleID;
}

// Item keys right to left: those named in `order` first, the rest in the
// order the apps and their items are listed.
std::vector<std::string> itemOrder(const std::vector<ScenarioApp>& apps,
                                   const std::vector<std::string>& order) {
  std::vector<std::string> keys = order;
  std::set<std::string> named(order.begin(), order.end());
  for (const auto& app : apps) {
    for (const auto& item : app.items) {
      if (!named.contains(item.key)) keys.push_back(item.key);
    }
  }
  return keys;
}

}  // namespace

World::World(Scenario scenario, const Clock* clock)
    : scenario_(std::move(scenario)),
      apps_(scenario_.apps),
      clock_(clock),
      screenRecording_(scenario_.permissions.screenRecording),
      accessibilityTrusted_(scenario_.permissions.accessibility),
      cursor_{mainDisplay().frame.midX(), mainDisplay().frame.midY()} {
  const auto listedAgent = std::find_if(apps_.begin(), apps_.end(), isAgent);
  agentPID_ = listedAgent != apps_.end() ? listedAgent->pid : scenario_.menuBar.agentPID;
  if (isModern() && listedAgent == apps_.end()) {
    for (const auto& app : apps_) {
      if (app.pid == scenario_.menuBar.agentPID) {
        throw ScenarioError("scenario.menuBar.agentPID: used by another app");
      }
    }
    apps_.push_back(agentApp(scenario_.menuBar.agentPID));
  }
  // Automatic window numbers stay clear of every number the scenario gives.
  for (const auto& app : apps_) {
    for (const auto& item : app.items) {
      if (item.windowID) nextWindowID_ = std::max(nextWindowID_, *item.windowID + 1);
    }
  }
  for (const auto& w : scenario_.extraWindows) {
    if (w.number) nextWindowID_ = std::max(nextWindowID_, *w.number + 1);
  }
  for (auto& app : apps_) {
    for (auto& item : app.items) {
      if (!item.windowID) item.windowID = nextWindowID_++;
    }
  }
  order_ = itemOrder(apps_, scenario_.order);
  std::lock_guard lock(mutex_);
  relayout();
}

bool World::isModern() const {
  return MenuBarLayout::isModernVersion(scenario_.osMajorVersion);
}

BarGeometry World::geometry() const {
  std::lock_guard lock(mutex_);
  return geometryLocked();
}

BarGeometry World::geometryLocked() const {
  const auto& screen = mainDisplay();
  const auto& bar = scenario_.menuBar;
  return BarGeometry{
      screen.frame.width(),    screen.menuBarHeight,
      screen.notchWidth,       kestruneMenus_ ? kestruneMenus_->width : bar.appMenusWidth,
      bar.rightMargin,         bar.itemSpacing,
      bar.overflowButtonWidth, isModern()};
}

void World::setKestruneMenus(std::optional<AppMenus> menus) {
  std::lock_guard lock(mutex_);
  kestruneMenus_ = std::move(menus);
  relayout();
}

World::AppMenus World::appMenus() const {
  std::lock_guard lock(mutex_);
  if (kestruneMenus_) return *kestruneMenus_;
  return {scenario_.menuBar.appMenus, scenario_.menuBar.appMenusWidth};
}

void World::relayout() {
  std::map<std::string, StatusItemState> byKey;
  for (const auto& app : apps_) {
    int ordinal = 0;
    for (const auto& item : app.items) {
      byKey[item.key] = StatusItemState{item, app.pid, *item.windowID, ordinal++, {}};
    }
  }
  items_.clear();
  std::vector<double> widths;
  for (const auto& key : order_) {
    auto it = byKey.find(key);
    if (it == byKey.end()) continue;  // its app is not running
    widths.push_back(it->second.item.width);
    items_.push_back(it->second);
  }
  const BarPlan plan = layOutBar(geometryLocked(), widths);
  for (size_t i = 0; i < items_.size(); ++i) items_[i].placed = plan.items[i];
  overflowButton_ = plan.overflowButton;
}

std::vector<StatusItemState> World::statusItems() const {
  std::lock_guard lock(mutex_);
  return items_;
}

std::optional<StatusItemState> World::statusItem(uint32_t windowID) const {
  std::lock_guard lock(mutex_);
  for (const auto& item : items_) {
    if (item.windowID == windowID) return item;
  }
  return std::nullopt;
}

std::optional<Rect> World::overflowButton() const {
  std::lock_guard lock(mutex_);
  return overflowButton_;
}

std::vector<ScenarioApp> World::apps() const {
  std::lock_guard lock(mutex_);
  return apps_;
}

std::optional<ScenarioApp> World::app(pid_t pid) const {
  std::lock_guard lock(mutex_);
  for (const auto& app : apps_) {
    if (app.pid == pid) return app;
  }
  return std::nullopt;
}

RunningApplication World::running(const ScenarioApp& app) {
  return RunningApplication{app.pid, app.bundleID, app.name, app.bundlePath};
}

std::vector<RunningApplication> World::runningApplications() const {
  std::lock_guard lock(mutex_);
  std::vector<RunningApplication> result;
  result.reserve(apps_.size());
  for (const auto& app : apps_) result.push_back(running(app));
  return result;
}

bool World::accessibilityTrusted() const {
  return accessibilityTrusted_;
}

void World::setAccessibilityTrusted(bool trusted) {
  accessibilityTrusted_ = trusted;
}

std::vector<WindowInfo> World::windowList(WindowListOption option) const {
  std::lock_guard lock(mutex_);
  const auto& screen = mainDisplay();
  const double barHeight = screen.menuBarHeight;
  std::vector<WindowInfo> list;

  WindowInfo menubar;
  menubar.layer = 24;
  menubar.number = kMenubarWindowID;
  menubar.bounds = WindowBounds{0, scenario_.menuBar.autoHidden ? -barHeight : 0,
                                screen.frame.width(), barHeight};
  menubar.alpha = 1;
  menubar.isOnscreen = true;
  menubar.name = "Menubar";
  menubar.ownerName = "Window Server";
  menubar.ownerPID = kWindowServerPID;
  list.push_back(menubar);

  // Status windows in the order their apps are listed, not left to right:
  // the window list is in stacking order.
  std::map<pid_t, std::string> names;
  for (const auto& app : apps_) names[app.pid] = app.name.value_or("");
  std::vector<const StatusItemState*> byApp;
  for (const auto& item : items_) byApp.push_back(&item);
  std::stable_sort(byApp.begin(), byApp.end(), [&](auto* a, auto* b) {
    auto rank = [&](pid_t pid) {
      return std::find_if(apps_.begin(), apps_.end(), [&](auto& x) { return x.pid == pid; }) -
             apps_.begin();
    };
    return rank(a->pid) < rank(b->pid) || (a->pid == b->pid && a->ordinal < b->ordinal);
  });
  for (const auto* item : byApp) {
    const Rect& f = item->placed.frame;
    WindowInfo w;
    w.layer = 25;
    w.number = item->windowID;
    w.bounds = WindowBounds{f.minX(), f.minY(), f.width(), f.height()};
    w.alpha = 1;
    w.isOnscreen = item->placed.isDrawn();
    if (!item->item.windowName.empty()) w.name = item->item.windowName;
    w.ownerName = names[item->pid];
    w.ownerPID = item->pid;
    list.push_back(w);
  }
  if (overflowButton_) {
    const Rect& f = *overflowButton_;
    WindowInfo w;
    w.layer = 25;
    w.number = kOverflowButtonWindowID;
    w.bounds = WindowBounds{f.minX(), f.minY(), f.width(), f.height()};
    w.alpha = 1;
    w.isOnscreen = true;
    w.ownerName = "MenuBarAgent";
    w.ownerPID = agentPID_;
    list.push_back(w);
  }
  list.insert(list.end(), scenario_.extraWindows.begin(), scenario_.extraWindows.end());

  // Without Screen Recording the window server withholds the titles of
  // other processes' windows.
  if (!screenRecordingLocked()) {
    for (auto& w : list) {
      if (w.ownerPID != scenario_.ownPID && w.ownerPID != kWindowServerPID) w.name.reset();
    }
  }
  if (option == WindowListOption::onScreenOnly) {
    std::erase_if(list, [](const WindowInfo& w) { return !w.isOnscreen.value_or(false); });
  }
  return list;
}

void World::quit(pid_t pid) {
  std::optional<RunningApplication> gone;
  {
    std::lock_guard lock(mutex_);
    auto it = std::find_if(apps_.begin(), apps_.end(), [&](auto& a) { return a.pid == pid; });
    if (it == apps_.end()) return;
    gone = running(*it);
    // Its items leave the bar's order too: a relaunch places them afresh.
    for (const auto& item : it->items) std::erase(order_, item.key);
    apps_.erase(it);
    relayout();
  }
  emitWorkspaceEvent(WorkspaceEvent::didTerminateApplication, *gone);
}

void World::launch(ScenarioApp app) {
  RunningApplication started;
  {
    std::lock_guard lock(mutex_);
    for (auto& item : app.items) {
      if (!item.windowID) item.windowID = nextWindowID_++;
      order_.push_back(item.key);
    }
    started = running(app);
    apps_.push_back(std::move(app));
    relayout();
  }
  emitWorkspaceEvent(WorkspaceEvent::didLaunchApplication, started);
}

Subscription World::observeWorkspace(WorkspaceHandler handler) {
  std::lock_guard lock(*eventsMutex_);
  auto inner = std::make_shared<Subscription>(workspaceEvents_.connect(std::move(handler)));
  return Subscription([mutex = eventsMutex_, inner] {
    std::lock_guard lock(*mutex);
    inner->reset();
  });
}

void World::emitWorkspaceEvent(WorkspaceEvent event, const RunningApplication& app) {
  std::lock_guard lock(*eventsMutex_);
  workspaceEvents_.emit(event, app);
}

int World::countRead(pid_t pid) {
  std::lock_guard lock(mutex_);
  return ++reads_[pid];
}

int World::readCount(pid_t pid) const {
  std::lock_guard lock(mutex_);
  auto it = reads_.find(pid);
  return it == reads_.end() ? 0 : it->second;
}

void World::setAccessibility(pid_t pid, AXMode mode, double latencyMs) {
  std::lock_guard lock(mutex_);
  for (auto& app : apps_) {
    if (app.pid == pid) {
      app.accessibility = mode;
      app.latencyMs = latencyMs;
    }
  }
}

void World::recordPress(PressRecord press) {
  std::lock_guard lock(mutex_);
  presses_.push_back(std::move(press));
}

std::vector<PressRecord> World::presses() const {
  std::lock_guard lock(mutex_);
  return presses_;
}

std::optional<PressRecord> World::openMenu() const {
  std::lock_guard lock(mutex_);
  if (presses_.empty()) return std::nullopt;
  const PressRecord& last = presses_.back();
  const bool onBar = std::any_of(items_.begin(), items_.end(),
                                 [&](const StatusItemState& i) { return i.item.key == last.key; });
  return onBar ? std::optional(last) : std::nullopt;
}

std::optional<uint32_t> World::rebuildItem(const std::string& key) {
  std::lock_guard lock(mutex_);
  for (auto& app : apps_) {
    for (auto& item : app.items) {
      if (item.key != key) continue;
      item.windowID = nextWindowID_++;
      relayout();
      return item.windowID;
    }
  }
  return std::nullopt;
}

bool World::screenRecordingLocked() const {
  if (screenRecording_) return true;
  return screenRecordingGrantAt_ && clock_ && clock_->now() >= *screenRecordingGrantAt_;
}

bool World::screenRecordingGranted() const {
  std::lock_guard lock(mutex_);
  return screenRecordingLocked();
}

void World::grantScreenRecording() {
  std::lock_guard lock(mutex_);
  screenRecording_ = true;
}

void World::revokeScreenRecording() {
  std::lock_guard lock(mutex_);
  screenRecording_ = false;
  screenRecordingGrantAt_.reset();
}

void World::recordScreenRecordingRequest() {
  std::lock_guard lock(mutex_);
  ++screenRecordingRequests_;
  const auto delay = scenario_.permissions.screenRecordingGrantedAfterSeconds;
  if (!screenRecordingLocked() && delay && clock_ && !screenRecordingGrantAt_) {
    screenRecordingGrantAt_ = clock_->now() + seconds(*delay);
  }
}

int World::screenRecordingRequests() const {
  std::lock_guard lock(mutex_);
  return screenRecordingRequests_;
}

void World::recordOpenURL(const std::string& url) {
  std::lock_guard lock(mutex_);
  openedURLs_.push_back(url);
}

std::vector<std::string> World::openedURLs() const {
  std::lock_guard lock(mutex_);
  return openedURLs_;
}

bool World::recordOpenApplication(const std::string& bundlePath, bool createsNewInstance) {
  std::lock_guard lock(mutex_);
  openedApplications_.push_back({bundlePath, createsNewInstance});
  if (bundlePath == scenario_.bundlePath) return true;
  return std::any_of(scenario_.apps.begin(), scenario_.apps.end(),
                     [&](const ScenarioApp& a) { return a.bundlePath == bundlePath; });
}

std::vector<OpenedApplication> World::openedApplications() const {
  std::lock_guard lock(mutex_);
  return openedApplications_;
}

void World::terminate() {
  std::lock_guard lock(mutex_);
  ++terminations_;
}

Point World::cursor() const {
  std::lock_guard lock(mutex_);
  return cursor_;
}

void World::moveCursor(Point location) {
  std::lock_guard lock(mutex_);
  cursor_ = location;
}

uint64_t World::addSessionTap(EventMask mask, EventTapCallback callback) {
  std::lock_guard lock(mutex_);
  const uint64_t id = nextTapID_++;
  auto shared = std::make_shared<const EventTapCallback>(std::move(callback));
  taps_.insert(taps_.begin(), SessionTap{id, mask, std::move(shared), true});
  return id;
}

void World::removeSessionTap(uint64_t tap) {
  std::lock_guard lock(mutex_);
  std::erase_if(taps_, [&](const SessionTap& t) { return t.id == tap; });
}

size_t World::sessionTapCount() const {
  std::lock_guard lock(mutex_);
  return static_cast<size_t>(
      std::count_if(taps_.begin(), taps_.end(), [](const SessionTap& t) { return t.enabled; }));
}

void World::dispatchEvent(const TappedEvent& event) {
  // The callbacks run unlocked: a tap may post, read the world or end
  // itself while it decides.
  std::vector<std::shared_ptr<const EventTapCallback>> chain;
  {
    std::lock_guard lock(mutex_);
    for (const auto& tap : taps_) {
      if (tap.enabled && (tap.mask & eventMaskBit(event.type)) != 0) chain.push_back(tap.callback);
    }
  }
  for (const auto& callback : chain) {
    if ((*callback)(event) == TapDecision::swallow) return;
  }
  std::vector<pid_t> quitting;
  {
    std::lock_guard lock(mutex_);
    quitting = receiveLocked(event);
  }
  for (pid_t pid : quitting) quit(pid);
}

void World::disableSessionTaps(EventType reason) {
  std::vector<std::shared_ptr<const EventTapCallback>> told;
  Point where;
  {
    std::lock_guard lock(mutex_);
    for (auto& tap : taps_) {
      if (!tap.enabled) continue;
      tap.enabled = false;
      told.push_back(tap.callback);
    }
    where = cursor_;
  }
  for (const auto& callback : told) (void)(*callback)(TappedEvent{reason, where, 0, 0});
}

std::vector<TappedEvent> World::receivedEvents() const {
  std::lock_guard lock(mutex_);
  return {received_.begin(), received_.end()};
}

std::optional<uint32_t> World::grabbedItem() const {
  std::lock_guard lock(mutex_);
  return grabbed_;
}

int World::dropCount() const {
  std::lock_guard lock(mutex_);
  return drops_;
}

std::vector<pid_t> World::receiveLocked(const TappedEvent& event) {
  received_.push_back(event);
  if (received_.size() > kReceivedEventLimit) received_.pop_front();
  if (!isMouseEventType(event.type)) return {};
  cursor_ = event.location;
  if (event.type == EventType::leftMouseDown) {
    grabbed_.reset();
    if ((event.flags & kEventFlagMaskCommand) == 0) return {};
    for (const auto& item : items_) {
      if (item.placed.isDrawn() && item.placed.frame.contains(event.location)) {
        grabbed_ = item.windowID;
        break;
      }
    }
    return {};
  }
  if (event.type == EventType::leftMouseUp && grabbed_) {
    const uint32_t windowID = *std::exchange(grabbed_, std::nullopt);
    return dropLocked(windowID, event.location.x);
  }
  return {};
}

std::vector<pid_t> World::dropLocked(uint32_t windowID, double x) {
  const auto item = std::find_if(items_.begin(), items_.end(),
                                 [&](const StatusItemState& s) { return s.windowID == windowID; });
  if (item == items_.end()) return {};  // its app quit or rebuilt it while in hand
  const std::string key = item->item.key;
  const DragMode mode = item->item.drag;
  ++drops_;
  const int tries = ++dropsByItem_[key];
  if (mode == DragMode::normal || (mode == DragMode::secondTry && tries >= 2)) moveLocked(key, x);
  std::vector<pid_t> quitting;
  for (const auto& app : apps_) {
    if (app.quitAfterDrops && drops_ >= *app.quitAfterDrops) quitting.push_back(app.pid);
  }
  return quitting;
}

void World::moveLocked(const std::string& key, double x) {
  // The drawn neighbour-to-be on the right: the first drawn item, from the
  // left, whose middle lies right of the drop.
  std::optional<std::string> rightOf;
  for (auto it = items_.rbegin(); it != items_.rend(); ++it) {
    if (!it->placed.isDrawn() || it->item.key == key) continue;
    if (it->placed.frame.midX() > x) {
      rightOf = it->item.key;
      break;
    }
  }
  std::erase(order_, key);
  // order_ runs right to left: "left of" is "after".
  const auto at = rightOf ? std::find(order_.begin(), order_.end(), *rightOf) + 1 : order_.begin();
  order_.insert(at, key);
  relayout();
}

int World::terminateCount() const {
  std::lock_guard lock(mutex_);
  return terminations_;
}

namespace {

// macOS keeps these at the right end of the bar: nothing is placed right
// of them.
bool keepsRightEnd(const ScenarioItem& item) {
  return item.identifier == "com.apple.menuextra.clock" ||
         item.identifier == "com.apple.menuextra.controlcenter";
}

}  // namespace

uint32_t World::placeOwnStatusItem(std::optional<int64_t> preferredPosition, double width) {
  std::lock_guard lock(mutex_);
  const std::string key = ownItemKeyLocked(width);
  std::erase(order_, key);
  relayout();
  order_.insert(ownItemSlotLocked(preferredPosition), key);
  relayout();
  for (const auto& item : items_) {
    if (item.item.key == key) return item.windowID;
  }
  return 0;  // unreachable: Kestrune's app is running
}

std::string World::ownItemKeyLocked(double width) {
  const pid_t own = scenario_.ownPID;
  auto app = std::find_if(apps_.begin(), apps_.end(), [&](auto& a) { return a.pid == own; });
  if (app == apps_.end()) {
    ScenarioApp kestrune;
    kestrune.pid = own;
    kestrune.bundleID = "com.kestrune.Kestrune";
    kestrune.name = "Kestrune";
    kestrune.bundlePath = scenario_.bundlePath;
    apps_.push_back(std::move(kestrune));
    app = std::prev(apps_.end());
  }
  if (app->items.empty()) {
    std::set<std::string> taken(order_.begin(), order_.end());
    for (const auto& a : apps_) {
      for (const auto& i : a.items) taken.insert(i.key);
    }
    ScenarioItem item;
    item.key = "kestrune";
    while (taken.contains(item.key)) item.key += "+";
    item.description = "Kestrune";
    item.windowName = "Item-0";
    item.width = width;
    item.windowID = nextWindowID_++;
    app->items.push_back(std::move(item));
  }
  ownItemKey_ = app->items.front().key;
  return *ownItemKey_;
}

std::vector<std::string>::iterator World::ownItemSlotLocked(
    std::optional<int64_t> preferredPosition) {
  if (!preferredPosition) return order_.end();
  const double right = geometryLocked().screenWidth;
  size_t i = 0;
  while (i < items_.size() && keepsRightEnd(items_[i].item)) ++i;
  for (; i < items_.size(); ++i) {
    const double fromRightEnd = right - items_[i].placed.frame.maxX();
    if (fromRightEnd >= static_cast<double>(*preferredPosition)) {
      return std::find(order_.begin(), order_.end(), items_[i].item.key);
    }
  }
  return order_.end();
}

void World::removeOwnStatusItem() {
  std::lock_guard lock(mutex_);
  if (!ownItemKey_) return;
  for (auto& app : apps_) {
    std::erase_if(app.items, [&](const ScenarioItem& i) { return i.key == *ownItemKey_; });
  }
  std::erase(order_, *ownItemKey_);
  ownItemKey_.reset();
  relayout();
}

std::optional<StatusItemState> World::ownStatusItem() const {
  std::lock_guard lock(mutex_);
  if (!ownItemKey_) return std::nullopt;
  for (const auto& item : items_) {
    if (item.item.key == *ownItemKey_) return item;
  }
  return std::nullopt;
}

}  // namespace kestrune::sim
