#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "arrange/arrange_entry.hpp"
#include "core/geometry.hpp"
#include "discovery/menu_bar_layout.hpp"
#include "platform/window_server.hpp"

// The arrangement's planning: which items stay, which move and where each
// one is dropped, and how a layout reading is built. Pure functions; the
// arrange model does the reading, the dragging and the waiting.
namespace kestrune {

using IdSet = std::unordered_set<uint32_t>;

namespace ArrangeLimits {
inline constexpr int64_t kStatusWindowLayer = 25;
inline constexpr double kMaxWindowHeight = 48;
inline constexpr double kMinWindowWidth = 8;
// A window is one of ours when its left edge and its width are each closer
// than this to our status item's.
inline constexpr double kOwnFrameTolerance = 2;
// The drop lands this far inside the gap left of the target...
inline constexpr double kDropGap = 3;
// ...but never left of this x.
inline constexpr double kMinDropX = 2;
}  // namespace ArrangeLimits

// One longest strictly increasing subsequence of `values`, as values, in
// increasing order. Patience sorting: among runs of equal length, the one
// the leftmost-tail rule of the binary search builds is returned.
[[nodiscard]] std::vector<int> longestIncreasingSubsequence(const std::vector<int>& values);

// The ids that stay where they are when the real order `order` (left to
// right, fixed windows included) is turned into `want`, keeping as many as
// possible. Every id of `fixed` stays. Throws ArrangeError::cannotGrab
// naming the fixed items that would have to move when `want` puts fixed
// items in another relative order than the real one.
[[nodiscard]] IdSet keepSet(const std::vector<uint32_t>& order, const std::vector<uint32_t>& want,
                            const IdSet& fixed, const std::function<std::string(uint32_t)>& name,
                            bool isModern);

// The edited order carried over onto a fresh scan: the entries the user
// moved (those outside the longest run that kept its order from
// `original`) keep their placement, the rest follow `fresh`, vanished
// entries are dropped and new ones stay where the fresh scan has them.
[[nodiscard]] std::vector<ArrangeEntry> rebase(const std::vector<ArrangeEntry>& edited,
                                               const std::vector<ArrangeEntry>& original,
                                               const std::vector<ArrangeEntry>& fresh);

[[nodiscard]] std::vector<uint32_t> idsOf(const std::vector<ArrangeEntry>& entries);
[[nodiscard]] std::vector<uint32_t> idsOf(const std::vector<Win>& windows);

// The edit differs from the real order; only the ids are compared.
[[nodiscard]] bool isDirty(const std::vector<ArrangeEntry>& desired,
                           const std::vector<ArrangeEntry>& entries);
// The entries that are not of kind item, in list order.
[[nodiscard]] std::vector<ArrangeEntry> pinned(const std::vector<ArrangeEntry>& entries);
// The entries of kind item, in list order.
[[nodiscard]] std::vector<ArrangeEntry> movable(const std::vector<ArrangeEntry>& entries);

// The entry that the rightmost moved item is dropped against: from the run
// of non-item entries at the right end of `desired`, its leftmost entry, or
// on the modern bar its leftmost drawn one. None without such a run, or
// without an item left of it.
[[nodiscard]] std::optional<ArrangeEntry> rightAnchor(const std::vector<ArrangeEntry>& desired,
                                                      bool isModern);

// The status item windows of the raw window list (legacy bar), left to
// right.
[[nodiscard]] std::vector<Win> statusWindows(const std::vector<WindowInfo>& list);
// The same windows with their owners, as candidates for the modern bar's
// hosts, in window-list order.
[[nodiscard]] std::vector<MenuBarLayout::Candidate> statusCandidates(
    const std::vector<WindowInfo>& list);
// The modern bar's windows, left to right: the windows the menu bar agent
// draws, at the frames it draws them, are on screen; the others are in the
// hidden overflow, which lies left of every drawn item. Windows over the »
// button are the button and not listed.
[[nodiscard]] std::vector<Win> modernWindows(const MenuBarLayout::Snapshot& snapshot,
                                             const std::vector<MenuBarLayout::Candidate>& windows,
                                             double proximity);

// The windows that are Kestrune's own status item, found by frame. None
// without a frame.
[[nodiscard]] IdSet ownWindows(const std::vector<Win>& windows, std::optional<Rect> ownFrame);

// The entries a drag can take: of kind item and drawn in `layout`.
[[nodiscard]] IdSet grabbable(const std::vector<ArrangeEntry>& entries,
                              const std::vector<Win>& layout);
// Every window of `layout` that a drag cannot take.
[[nodiscard]] IdSet fixedSet(const std::vector<Win>& layout, const IdSet& grabbable);

struct PlannedMove {
  ArrangeEntry item;    // dropped immediately left of...
  ArrangeEntry target;  // ...this one
  friend bool operator==(const PlannedMove&, const PlannedMove&) = default;
};

// The moves that turn the real order into `desired`, in the order they are
// made: the wanted order walked right to left, so that each target already
// stands at its final place. Kept items and items absent from `freshLayout`
// are not moved; an item without a target and without `anchor` is left
// where it is.
[[nodiscard]] std::vector<PlannedMove> planMoves(const std::vector<ArrangeEntry>& desired,
                                                 const std::vector<Win>& freshLayout,
                                                 const IdSet& keep,
                                                 const std::optional<ArrangeEntry>& anchor,
                                                 bool isModern);

struct DragPoints {
  Point start;
  Point end;
  friend bool operator==(const DragPoints&, const DragPoints&) = default;
};

// A horizontal drag from the middle of `moving` into the gap left of
// `target`.
[[nodiscard]] DragPoints dragPoints(Rect moving, Rect target);

}  // namespace kestrune
