#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "arrange/arrange_entry.hpp"
#include "arrange/arrange_error.hpp"
#include "arrange/arrange_plan.hpp"
#include "arrange/mouse_gate.hpp"
#include "core/observable.hpp"
#include "discovery/item_scanner.hpp"
#include "discovery/menu_bar_layout.hpp"
#include "platform/platform.hpp"
#include "settings/diag.hpp"

namespace kestrune {

// The model behind the arrangement list: the real order of the status items
// as last scanned (`entries`), the order the user is editing (`desired`),
// and Apply, which moves the fewest items needed by ⌘-dragging them on the
// real menu bar, checking each move against a fresh reading.
//
// State lives on the main thread. Everything that waits — scanning, reading
// the bar, the gesture and its pauses — runs on the serial queue
// "Kestrune.arrange", so the main thread stays free for the mouse gate's
// tap. Lives in a shared_ptr; queued work holds it weakly.
class ArrangeModel : public std::enable_shared_from_this<ArrangeModel> {
 public:
  // Kestrune's own status item, in global top-left coordinates, if shown.
  using OwnIconFrame = std::function<std::optional<Rect>()>;
  // The live captures of the items, by window number.
  using Images = std::function<std::map<uint32_t, Image>()>;

  static constexpr const char* kMenuTitle = "Kestrune";
  static constexpr const char* kQueueLabel = "Kestrune.arrange";
  static constexpr Duration kDeactivateWait = std::chrono::milliseconds(150);
  static constexpr Duration kActivateWait = std::chrono::milliseconds(500);
  static constexpr Duration kAccessoryWait = std::chrono::milliseconds(500);
  static constexpr Duration kSnapshotTimeout = std::chrono::milliseconds(500);
  static constexpr int kAttempts = 2;

  [[nodiscard]] static std::shared_ptr<ArrangeModel> create(const Platform& platform,
                                                            const MenuBarLayout& layout, Diag& diag,
                                                            OwnIconFrame ownIconFrame,
                                                            Images images = {});

  ObjectWillChange objectWillChange;
  Published<std::vector<ArrangeEntry>> entries{{}, &objectWillChange};
  Published<std::vector<ArrangeEntry>> desired{{}, &objectWillChange};
  Published<bool> isBusy{false, &objectWillChange};
  Published<std::optional<std::string>> status{std::nullopt, &objectWillChange};
  Published<std::optional<std::string>> lastError{std::nullopt, &objectWillChange};

  [[nodiscard]] std::vector<ArrangeEntry> pinned() const;
  [[nodiscard]] std::vector<ArrangeEntry> movable() const;
  [[nodiscard]] bool isDirty() const;
  [[nodiscard]] bool isModern() const { return layout_.isModern(); }

  // Scans the bar and replaces `entries`; the edit is carried over onto the
  // fresh scan. `done` runs on the main thread afterwards.
  void reload(std::function<void()> done = {});
  // Arranges the real bar as `desired`; nothing while busy or not dirty.
  // `done` runs on the main thread when the model is idle again.
  void apply(const std::function<void()>& done = {});

  // The status item windows now, left to right. Blocks: off the main thread.
  [[nodiscard]] std::vector<Win> currentLayout() const;

 private:
  struct Plan {
    std::vector<PlannedMove> moves;
    std::optional<ArrangeError> error;
  };
  using Finish = std::function<void(const std::optional<ArrangeError>&)>;

  ArrangeModel(const Platform& platform, const MenuBarLayout& layout, Diag& diag,
               OwnIconFrame ownIconFrame, Images images);
  // Scans and replaces `entries`; the edit is carried over, or given up for
  // the real order.
  void load(bool keepEdit, std::function<void()> done);
  // Shows and logs an arrangement failure.
  void fail(const ArrangeError& error);
  [[nodiscard]] std::vector<ArrangeEntry> entriesFrom(const std::vector<MenuBarItem>& items,
                                                      const std::vector<Win>& layout) const;
  // Kestrune's own status item as the scan would have seen it.
  [[nodiscard]] MenuBarItem ownItem(uint32_t windowID) const;
  void runPlan(Finish done);
  [[nodiscard]] Plan plan(const std::vector<ArrangeEntry>& wanted) const;
  void runMoves(const std::shared_ptr<const std::vector<PlannedMove>>& moves, size_t next,
                const Finish& done);
  // One move, tried at most twice: the gesture on the queue, the settling
  // wait on the main thread (where the bar takes the events), and the check
  // against a fresh reading. `done` gets the outcome on the main thread.
  void drag(const PlannedMove& move, int attempt, const Finish& done);
  void verify(const PlannedMove& move, const DragPoints& points, bool wasOnScreen, int attempt,
              const Finish& done);
  // Why the move cannot be tried on `layout`, if it cannot.
  [[nodiscard]] std::optional<ArrangeError> checkDrag(const PlannedMove& move,
                                                      const std::vector<Win>& layout) const;
  void finishApply(Application::Menu menu, const std::optional<ArrangeError>& error,
                   const std::function<void()>& done);

  const Platform& platform_;
  const MenuBarLayout& layout_;
  Diag& diag_;
  OwnIconFrame ownIconFrame_;
  Images images_;
  MouseGate gate_;
  std::shared_ptr<TaskQueue> queue_;
  // Used on the queue only.
  std::unique_ptr<ItemScanner> scanner_;
};

// The row of one scanned status item that is not one of Kestrune's own.
[[nodiscard]] ArrangeEntry entryFor(const MenuBarItem& item, bool isModern, Workspace& workspace);

// True when `a` stands immediately left of `b` in `layout`.
[[nodiscard]] bool isImmediatelyLeft(uint32_t a, uint32_t b, const std::vector<Win>& layout);

}  // namespace kestrune
