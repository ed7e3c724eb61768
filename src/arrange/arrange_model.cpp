#include "arrange/arrange_model.hpp"

#include <algorithm>
#include <cmath>
#include <sstream>

#include "arrange/drag_gesture.hpp"

namespace kestrune {

namespace {

std::optional<size_t> indexOf(uint32_t id, const std::vector<Win>& layout) {
  const auto it =
      std::find_if(layout.begin(), layout.end(), [id](const Win& w) { return w.id == id; });
  if (it == layout.end()) return std::nullopt;
  return static_cast<size_t>(it - layout.begin());
}

bool isFixedSystemItem(const MenuBarItem& item) {
  // macOS keeps the clock and Control Center at the right end of the bar.
  const auto kind = item.systemKind();
  return kind == MenuBarItem::SystemKind::clock || kind == MenuBarItem::SystemKind::controlCenter;
}

std::string notVerifiedLine(const ArrangeEntry& moving, const ArrangeEntry& target,
                            const DragPoints& points, bool onScreen, int attempt,
                            const std::vector<Win>& now) {
  std::ostringstream line;
  const auto movingIndex = indexOf(moving.id, now);
  const auto targetIndex = indexOf(target.id, now);
  line << "arrange: drag " << moving.name << " left of " << target.name << " from ("
       << std::lround(points.start.x) << "," << std::lround(points.start.y) << ") to ("
       << std::lround(points.end.x) << "," << std::lround(points.end.y)
       << ") (onScreen=" << (onScreen ? "true" : "false") << ") not verified (attempt " << attempt
       << "): now at x=";
  if (movingIndex) {
    line << std::lround(now[*movingIndex].frame.minX()) << ", index " << *movingIndex;
  } else {
    line << "none";
  }
  line << ", target index ";
  if (targetIndex) {
    line << *targetIndex;
  } else {
    line << "none";
  }
  return line.str();
}

}  // namespace

ArrangeEntry entryFor(const MenuBarItem& item, bool isModern, Workspace& workspace) {
  ArrangeEntry entry;
  entry.id = item.windowID;
  entry.name = item.displayName(isModern);
  entry.kind = isFixedSystemItem(item) ? ArrangeEntry::Kind::fixed : ArrangeEntry::Kind::item;
  entry.isOnScreen = item.isOnScreen;
  if (item.owner) entry.appIcon = item.appIcon(workspace);
  return entry;
}

bool isImmediatelyLeft(uint32_t a, uint32_t b, const std::vector<Win>& layout) {
  const auto ia = indexOf(a, layout);
  const auto ib = indexOf(b, layout);
  return ia && ib && *ia + 1 == *ib;
}

std::shared_ptr<ArrangeModel> ArrangeModel::create(const Platform& platform,
                                                   const MenuBarLayout& layout, Diag& diag,
                                                   OwnIconFrame ownIconFrame, Images images) {
  return std::shared_ptr<ArrangeModel>(
      new ArrangeModel(platform, layout, diag, std::move(ownIconFrame), std::move(images)));
}

ArrangeModel::ArrangeModel(const Platform& platform, const MenuBarLayout& layout, Diag& diag,
                           OwnIconFrame ownIconFrame, Images images)
    : platform_(platform),
      layout_(layout),
      diag_(diag),
      ownIconFrame_(std::move(ownIconFrame)),
      images_(std::move(images)),
      gate_(platform.events, diag),
      queue_(platform.executors.makeSerialQueue(kQueueLabel, QualityOfService::userInitiated)),
      scanner_(std::make_unique<ItemScanner>(platform, layout, diag)) {}

std::vector<ArrangeEntry> ArrangeModel::pinned() const {
  return kestrune::pinned(desired.get());
}

std::vector<ArrangeEntry> ArrangeModel::movable() const {
  return kestrune::movable(desired.get());
}

bool ArrangeModel::isDirty() const {
  return kestrune::isDirty(desired.get(), entries.get());
}

std::vector<Win> ArrangeModel::currentLayout() const {
  const auto list = platform_.windowServer.copyWindowInfo(WindowListOption::all, 0);
  if (!list) return {};
  if (!layout_.isModern()) return statusWindows(*list);
  const auto snapshot = layout_.snapshot(kSnapshotTimeout);
  if (!snapshot) return {};
  return modernWindows(*snapshot, statusCandidates(*list), ItemScanner::kHostProximity);
}

MenuBarItem ArrangeModel::ownItem(uint32_t windowID) const {
  const pid_t pid = platform_.system.processIdentifier();
  MenuBarItem item;
  item.windowID = windowID;
  ItemOwner owner;
  owner.pid = pid;
  owner.name = kMenuTitle;
  for (const auto& app : platform_.workspace.runningApplications()) {
    if (app.pid != pid) continue;
    owner.name = app.localizedName.value_or(app.bundleIdentifier.value_or(kMenuTitle));
    owner.bundleID = app.bundleIdentifier;
  }
  item.owner = std::move(owner);
  return item;
}

std::vector<ArrangeEntry> ArrangeModel::entriesFrom(const std::vector<MenuBarItem>& items,
                                                    const std::vector<Win>& layout) const {
  const IdSet own = ownWindows(layout, ownIconFrame_ ? ownIconFrame_() : std::nullopt);
  const auto images = images_ ? images_() : std::map<uint32_t, Image>{};
  std::vector<ArrangeEntry> result;
  for (const Win& win : layout) {
    const auto scanned = std::find_if(items.begin(), items.end(),
                                      [&](const MenuBarItem& i) { return i.windowID == win.id; });
    const bool isOwn = own.contains(win.id);
    // Windows the scan does not know are not status items of an app. The
    // scan leaves Kestrune's own window out, so its row is named and drawn
    // from the running app itself.
    if (!isOwn && scanned == items.end()) continue;
    ArrangeEntry entry = entryFor(scanned != items.end() ? *scanned : ownItem(win.id),
                                  layout_.isModern(), platform_.workspace);
    entry.isOnScreen = win.onScreen;
    if (isOwn) entry.kind = ArrangeEntry::Kind::ownIcon;
    if (auto image = images.find(win.id); image != images.end()) entry.image = image->second;
    result.push_back(std::move(entry));
  }
  return result;
}

void ArrangeModel::fail(const ArrangeError& error) {
  lastError.set(error.message());
  diag_.log(std::string("arrange: ") + error.message());
}

void ArrangeModel::reload(std::function<void()> done) {
  load(/*keepEdit=*/true, std::move(done));
}

void ArrangeModel::load(bool keepEdit, std::function<void()> done) {
  std::weak_ptr<ArrangeModel> weak = weak_from_this();
  queue_->post([weak, keepEdit, done = std::move(done)] {
    auto self = weak.lock();
    if (!self) return;
    auto items = std::make_shared<std::vector<MenuBarItem>>(self->scanner_->scan());
    auto layout = std::make_shared<std::vector<Win>>(self->currentLayout());
    self->platform_.executors.main().post([weak, items, layout, keepEdit, done] {
      auto self = weak.lock();
      if (!self) return;
      const auto fresh = self->entriesFrom(*items, *layout);
      const auto original = self->entries.get();
      // Before the first scan there is no edit to carry over.
      const auto edited =
          !keepEdit || original.empty() ? fresh : rebase(self->desired.get(), original, fresh);
      self->entries.set(fresh);
      self->desired.set(edited);
      if (done) done();
    });
  });
}

void ArrangeModel::apply(const std::function<void()>& done) {
  if (isBusy.get() || !isDirty()) {
    if (done) done();
    return;
  }
  if (!platform_.accessibility.isProcessTrusted()) {
    fail(ArrangeError::accessibility());
    if (done) done();
    return;
  }
  isBusy.set(true);
  lastError.set(std::nullopt);
  Application& app = platform_.application;
  Application::Menu menu = app.mainMenu();
  // Active, with one menu, the app leaves the bar's left part almost empty,
  // so that as many status items as possible are drawn and can be grabbed.
  app.setMinimalMainMenu(kMenuTitle);
  app.setActivationPolicy(ActivationPolicy::regular);
  app.deactivate();
  std::weak_ptr<ArrangeModel> weak = weak_from_this();
  MainExecutor& main = platform_.executors.main();
  main.postAfter(kDeactivateWait, [weak, menu, done, &main] {
    auto self = weak.lock();
    if (!self) return;
    self->platform_.application.activateIgnoringOtherApps();
    main.postAfter(kActivateWait, [weak, menu, done] {
      auto self = weak.lock();
      if (!self) return;
      self->gate_.engage();
      self->runPlan([weak, menu, done](const std::optional<ArrangeError>& error) {
        if (auto self = weak.lock()) self->finishApply(menu, error, done);
      });
    });
  });
}

void ArrangeModel::finishApply(Application::Menu menu, const std::optional<ArrangeError>& error,
                               const std::function<void()>& done) {
  gate_.release();
  Application& app = platform_.application;
  app.setMainMenu(std::move(menu));
  app.setActivationPolicy(ActivationPolicy::accessory);
  std::weak_ptr<ArrangeModel> weak = weak_from_this();
  platform_.executors.main().postAfter(kAccessoryWait, [weak, error, done] {
    auto self = weak.lock();
    if (!self) return;
    if (error) self->fail(*error);
    // The list shows the real order afterwards, whatever happened: after a
    // failure the message says so, and after a success an item placed among
    // the » items has no order of its own to keep.
    self->load(/*keepEdit=*/false, [weak, done] {
      if (auto self = weak.lock()) {
        self->isBusy.set(false);
        self->status.set(std::nullopt);
      }
      if (done) done();
    });
  });
}

ArrangeModel::Plan ArrangeModel::plan(const std::vector<ArrangeEntry>& wanted) const {
  const std::vector<Win> layout = currentLayout();
  const IdSet grab = grabbable(wanted, layout);
  const auto name = [&](uint32_t id) {
    const auto it = std::find_if(wanted.begin(), wanted.end(),
                                 [id](const ArrangeEntry& e) { return e.id == id; });
    return it != wanted.end() ? it->name : "window " + std::to_string(id);
  };
  try {
    const IdSet keep =
        keepSet(idsOf(layout), idsOf(wanted), fixedSet(layout, grab), name, layout_.isModern());
    auto moves = planMoves(wanted, layout, keep, rightAnchor(wanted, layout_.isModern()),
                           layout_.isModern());
    return {std::move(moves), std::nullopt};
  } catch (const ArrangeError& error) {
    return {{}, error};
  }
}

void ArrangeModel::runPlan(Finish done) {
  std::weak_ptr<ArrangeModel> weak = weak_from_this();
  queue_->post([weak, wanted = desired.get(), done = std::move(done)] {
    auto self = weak.lock();
    if (!self) return;
    auto plan = std::make_shared<Plan>(self->plan(wanted));
    self->platform_.executors.main().post([weak, plan, done] {
      auto self = weak.lock();
      if (!self) return;
      if (plan->error) {
        done(plan->error);
        return;
      }
      self->runMoves(std::make_shared<const std::vector<PlannedMove>>(std::move(plan->moves)), 0,
                     done);
    });
  });
}

void ArrangeModel::runMoves(const std::shared_ptr<const std::vector<PlannedMove>>& moves,
                            size_t next, const Finish& done) {
  if (next == moves->size()) {
    done(std::nullopt);
    return;
  }
  const PlannedMove& move = (*moves)[next];
  status.set("Moving " + move.item.name);
  diag_.log("arrange: move " + move.item.name + " left of " + move.target.name);
  std::weak_ptr<ArrangeModel> weak = weak_from_this();
  drag(move, 1, [weak, moves, next, done](const std::optional<ArrangeError>& error) {
    auto self = weak.lock();
    if (!self) return;
    if (error) {
      done(error);
    } else {
      self->runMoves(moves, next + 1, done);
    }
  });
}

std::optional<ArrangeError> ArrangeModel::checkDrag(const PlannedMove& move,
                                                    const std::vector<Win>& layout) const {
  const auto from = indexOf(move.item.id, layout);
  if (!from) return ArrangeError::missing(move.item.name);
  const auto to = indexOf(move.target.id, layout);
  if (!to) return ArrangeError::missing(move.target.name);
  if (!layout[*from].onScreen) return ArrangeError::cannotGrab({move.item.name}, isModern());
  // In the hidden overflow the target has no place to drop against.
  if (isModern() && !layout[*to].onScreen) {
    return ArrangeError::dragFailed(move.item.name, move.target.name);
  }
  return std::nullopt;
}

void ArrangeModel::drag(const PlannedMove& move, int attempt, const Finish& done) {
  std::weak_ptr<ArrangeModel> weak = weak_from_this();
  queue_->post([weak, move, attempt, done] {
    auto self = weak.lock();
    if (!self) return;
    MainExecutor& main = self->platform_.executors.main();
    const std::vector<Win> layout = self->currentLayout();
    if (auto error = self->checkDrag(move, layout)) {
      main.post([done, error] { done(error); });
      return;
    }
    const Win& from = *std::find_if(layout.begin(), layout.end(),
                                    [&](const Win& w) { return w.id == move.item.id; });
    const Win& to = *std::find_if(layout.begin(), layout.end(),
                                  [&](const Win& w) { return w.id == move.target.id; });
    const DragPoints points = dragPoints(from.frame, to.frame);
    postDragGesture(self->platform_.events, self->platform_.executors, points);
    main.post([weak, move, points, onScreen = from.onScreen, attempt, done, &main] {
      main.postAfter(DragTiming::kSettle, [weak, move, points, onScreen, attempt, done] {
        if (auto self = weak.lock()) self->verify(move, points, onScreen, attempt, done);
      });
    });
  });
}

void ArrangeModel::verify(const PlannedMove& move, const DragPoints& points, bool wasOnScreen,
                          int attempt, const Finish& done) {
  std::weak_ptr<ArrangeModel> weak = weak_from_this();
  queue_->post([weak, move, points, wasOnScreen, attempt, done] {
    auto self = weak.lock();
    if (!self) return;
    const std::vector<Win> now = self->currentLayout();
    const bool moved = isImmediatelyLeft(move.item.id, move.target.id, now);
    if (!moved && attempt < kAttempts) {
      self->diag_.log(notVerifiedLine(move.item, move.target, points, wasOnScreen, attempt, now));
    }
    self->platform_.executors.main().post([weak, move, moved, attempt, done] {
      auto self = weak.lock();
      if (!self) return;
      if (moved) {
        done(std::nullopt);
      } else if (attempt < kAttempts) {
        self->drag(move, attempt + 1, done);
      } else {
        done(ArrangeError::dragFailed(move.item.name, move.target.name));
      }
    });
  });
}

}  // namespace kestrune
