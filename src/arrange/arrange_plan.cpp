#include "arrange/arrange_plan.hpp"

#include <algorithm>
#include <climits>
#include <cmath>
#include <iterator>
#include <unordered_map>
#include <utility>

#include "arrange/arrange_error.hpp"

namespace kestrune {
namespace {

using namespace ArrangeLimits;

// A window over the » button, or this close beside it, is the button.
constexpr double kButtonMargin = 2;

// The frame of a status item window of the raw list, or none when the entry
// is not one.
std::optional<Rect> statusFrame(const WindowInfo& w) {
  if (w.layer != kStatusWindowLayer || !w.number || !w.bounds) return std::nullopt;
  const WindowBounds& b = *w.bounds;
  if (!b.x || !b.y || !b.width || !b.height) return std::nullopt;
  // Only the bar of the display at the top of the global space; written so
  // that a NaN fails every test.
  if (!(*b.y == 0) || !(*b.height <= kMaxWindowHeight) || !(*b.width >= kMinWindowWidth)) {
    return std::nullopt;
  }
  if (w.alpha && !(*w.alpha > 0)) return std::nullopt;
  return Rect{*b.x, *b.y, *b.width, *b.height};
}

void sortLeftToRight(std::vector<Win>& windows) {
  std::stable_sort(windows.begin(), windows.end(),
                   [](const Win& a, const Win& b) { return a.frame.minX() < b.frame.minX(); });
}

// One id of the real order that also stands in the wanted one.
struct Step {
  uint32_t id = 0;
  int wanted = 0;  // its index in the wanted order
  bool isFixed = false;
};

std::vector<Step> stepsOf(const std::vector<uint32_t>& order, const std::vector<uint32_t>& want,
                          const IdSet& fixed) {
  std::unordered_map<uint32_t, int> position;
  position.reserve(want.size());
  for (size_t i = 0; i < want.size(); ++i) position.emplace(want[i], static_cast<int>(i));
  std::vector<Step> steps;
  steps.reserve(order.size());
  for (uint32_t id : order) {
    auto it = position.find(id);
    if (it != position.end()) steps.push_back({id, it->second, fixed.contains(id)});
  }
  return steps;
}

// Fixed items can only stay, so they must already stand in the wanted
// relative order. Names the ones that would have to move, left to right.
void requireFixedInOrder(const std::vector<Step>& steps,
                         const std::function<std::string(uint32_t)>& name, bool isModern) {
  std::vector<int> fixedWanted;
  for (const Step& s : steps) {
    if (s.isFixed) fixedWanted.push_back(s.wanted);
  }
  const auto run = longestIncreasingSubsequence(fixedWanted);
  if (run.size() == fixedWanted.size()) return;
  const std::unordered_set<int> stays(run.begin(), run.end());
  std::vector<std::string> names;
  for (const Step& s : steps) {
    if (s.isFixed && !stays.contains(s.wanted)) names.push_back(name(s.id));
  }
  throw ArrangeError::cannotGrab(std::move(names), isModern);
}

// Every fixed item stays. Between two fixed neighbours in the real order an
// item can stay only when its wanted place lies between theirs too, and
// those segments' runs join into one increasing run, so the longest run of
// each segment gives the most items that stay.
IdSet keepAroundFixed(const std::vector<Step>& steps, const std::vector<uint32_t>& want) {
  IdSet keep;
  std::vector<int> segment;
  int low = -1;
  auto closeSegment = [&](int high) {
    std::erase_if(segment, [&](int w) { return w <= low || w >= high; });
    for (int w : longestIncreasingSubsequence(segment)) keep.insert(want[static_cast<size_t>(w)]);
    segment.clear();
  };
  for (const Step& s : steps) {
    if (!s.isFixed) {
      segment.push_back(s.wanted);
      continue;
    }
    closeSegment(s.wanted);
    keep.insert(s.id);
    low = s.wanted;
  }
  closeSegment(INT_MAX);
  return keep;
}

}  // namespace

std::vector<int> longestIncreasingSubsequence(const std::vector<int>& values) {
  std::vector<size_t> tails;  // tails[k]: the index ending the best run of length k + 1
  std::vector<ptrdiff_t> parent(values.size(), -1);
  for (size_t i = 0; i < values.size(); ++i) {
    // The leftmost tail not less than the value: equal values never extend
    // a run.
    auto slot = std::lower_bound(tails.begin(), tails.end(), values[i],
                                 [&](size_t tail, int value) { return values[tail] < value; });
    if (slot != tails.begin()) parent[i] = static_cast<ptrdiff_t>(*std::prev(slot));
    if (slot == tails.end()) {
      tails.push_back(i);
    } else {
      *slot = i;
    }
  }
  std::vector<int> run;
  run.reserve(tails.size());
  for (ptrdiff_t i = tails.empty() ? -1 : static_cast<ptrdiff_t>(tails.back()); i >= 0;
       i = parent[static_cast<size_t>(i)]) {
    run.push_back(values[static_cast<size_t>(i)]);
  }
  std::reverse(run.begin(), run.end());
  return run;
}

IdSet keepSet(const std::vector<uint32_t>& order, const std::vector<uint32_t>& want,
              const IdSet& fixed, const std::function<std::string(uint32_t)>& name, bool isModern) {
  const auto steps = stepsOf(order, want, fixed);
  requireFixedInOrder(steps, name, isModern);

  std::vector<int> wanted;
  wanted.reserve(steps.size());
  for (const Step& s : steps) wanted.push_back(s.wanted);
  IdSet keep;
  for (int w : longestIncreasingSubsequence(wanted)) keep.insert(want[static_cast<size_t>(w)]);
  const bool fixedKept = std::all_of(
      steps.begin(), steps.end(), [&](const Step& s) { return !s.isFixed || keep.contains(s.id); });
  return fixedKept ? keep : keepAroundFixed(steps, want);
}

// Tie-breaks: when several runs of the edit keep their original order
// equally long, the leftmost-tail rule of the subsequence decides which
// entries count as moved. A moved entry goes right after the nearest entry
// left of it in the edit that the fresh scan still has (an earlier moved
// one included), or to the front when there is none.
std::vector<ArrangeEntry> rebase(const std::vector<ArrangeEntry>& edited,
                                 const std::vector<ArrangeEntry>& original,
                                 const std::vector<ArrangeEntry>& fresh) {
  std::unordered_map<uint32_t, int> originalIndex;
  for (size_t i = 0; i < original.size(); ++i) {
    originalIndex.emplace(original[i].id, static_cast<int>(i));
  }
  std::vector<int> indexes;
  for (const ArrangeEntry& e : edited) {
    auto it = originalIndex.find(e.id);
    if (it != originalIndex.end()) indexes.push_back(it->second);
  }
  IdSet stayed;
  for (int i : longestIncreasingSubsequence(indexes)) {
    stayed.insert(original[static_cast<size_t>(i)].id);
  }

  std::unordered_map<uint32_t, const ArrangeEntry*> freshByID;
  for (const ArrangeEntry& e : fresh) freshByID.emplace(e.id, &e);
  IdSet moved;
  for (const ArrangeEntry& e : edited) {
    if (!stayed.contains(e.id) && freshByID.contains(e.id)) moved.insert(e.id);
  }

  std::vector<ArrangeEntry> result;
  std::copy_if(fresh.begin(), fresh.end(), std::back_inserter(result),
               [&](const ArrangeEntry& e) { return !moved.contains(e.id); });
  for (size_t i = 0; i < edited.size(); ++i) {
    if (!moved.contains(edited[i].id)) continue;
    auto at = result.begin();
    for (size_t j = i; j-- > 0;) {
      const uint32_t left = edited[j].id;
      if (!freshByID.contains(left)) continue;
      at = std::next(std::find_if(result.begin(), result.end(),
                                  [&](const ArrangeEntry& e) { return e.id == left; }));
      break;
    }
    result.insert(at, *freshByID.at(edited[i].id));
  }
  return result;
}

std::vector<uint32_t> idsOf(const std::vector<ArrangeEntry>& entries) {
  std::vector<uint32_t> ids;
  ids.reserve(entries.size());
  for (const ArrangeEntry& e : entries) ids.push_back(e.id);
  return ids;
}

std::vector<uint32_t> idsOf(const std::vector<Win>& windows) {
  std::vector<uint32_t> ids;
  ids.reserve(windows.size());
  for (const Win& w : windows) ids.push_back(w.id);
  return ids;
}

bool isDirty(const std::vector<ArrangeEntry>& desired, const std::vector<ArrangeEntry>& entries) {
  return idsOf(desired) != idsOf(entries);
}

std::vector<ArrangeEntry> pinned(const std::vector<ArrangeEntry>& entries) {
  std::vector<ArrangeEntry> result;
  std::copy_if(entries.begin(), entries.end(), std::back_inserter(result),
               [](const ArrangeEntry& e) { return e.kind != ArrangeEntry::Kind::item; });
  return result;
}

std::vector<ArrangeEntry> movable(const std::vector<ArrangeEntry>& entries) {
  std::vector<ArrangeEntry> result;
  std::copy_if(entries.begin(), entries.end(), std::back_inserter(result),
               [](const ArrangeEntry& e) { return e.kind == ArrangeEntry::Kind::item; });
  return result;
}

std::optional<ArrangeEntry> rightAnchor(const std::vector<ArrangeEntry>& desired, bool isModern) {
  auto isItem = [](const ArrangeEntry& e) { return e.kind == ArrangeEntry::Kind::item; };
  // The trailing run of non-item entries starts right of the last item.
  const auto lastItem = std::find_if(desired.rbegin(), desired.rend(), isItem);
  if (lastItem == desired.rend() || lastItem == desired.rbegin()) return std::nullopt;
  const auto run = lastItem.base();
  if (!isModern) return *run;
  const auto drawn =
      std::find_if(run, desired.end(), [](const ArrangeEntry& e) { return e.isOnScreen; });
  if (drawn == desired.end()) return std::nullopt;
  return *drawn;
}

std::vector<Win> statusWindows(const std::vector<WindowInfo>& list) {
  std::vector<Win> windows;
  for (const WindowInfo& w : list) {
    if (const auto frame = statusFrame(w)) {
      windows.push_back({*w.number, *frame, w.isOnscreen.value_or(false)});
    }
  }
  sortLeftToRight(windows);
  return windows;
}

std::vector<MenuBarLayout::Candidate> statusCandidates(const std::vector<WindowInfo>& list) {
  std::vector<MenuBarLayout::Candidate> candidates;
  for (const WindowInfo& w : list) {
    if (const auto frame = statusFrame(w)) {
      candidates.push_back({*w.number, w.ownerPID.value_or(0), *frame});
    }
  }
  return candidates;
}

std::vector<Win> modernWindows(const MenuBarLayout::Snapshot& snapshot,
                               const std::vector<MenuBarLayout::Candidate>& windows,
                               double proximity) {
  std::vector<MenuBarLayout::Candidate> items;
  for (const auto& c : windows) {
    const auto& button = snapshot.showHiddenButton;
    if (button && c.frame.intersects(button->insetBy(-kButtonMargin, 0))) continue;
    items.push_back(c);
  }
  const auto hosts = MenuBarLayout::matchHosts(items, snapshot, proximity);
  std::vector<Win> hidden;
  std::vector<Win> drawn;
  for (const auto& c : items) {
    auto host = hosts.find(c.id);
    if (host == hosts.end()) {
      hidden.push_back({c.id, c.frame, false});
    } else {
      drawn.push_back({c.id, host->second.frame, true});
    }
  }
  sortLeftToRight(hidden);
  sortLeftToRight(drawn);
  hidden.insert(hidden.end(), drawn.begin(), drawn.end());
  return hidden;
}

IdSet ownWindows(const std::vector<Win>& windows, std::optional<Rect> ownFrame) {
  IdSet own;
  if (!ownFrame) return own;
  for (const Win& w : windows) {
    if (std::abs(w.frame.minX() - ownFrame->minX()) < kOwnFrameTolerance &&
        std::abs(w.frame.width() - ownFrame->width()) < kOwnFrameTolerance) {
      own.insert(w.id);
    }
  }
  return own;
}

IdSet grabbable(const std::vector<ArrangeEntry>& entries, const std::vector<Win>& layout) {
  IdSet drawn;
  for (const Win& w : layout) {
    if (w.onScreen) drawn.insert(w.id);
  }
  IdSet result;
  for (const ArrangeEntry& e : entries) {
    if (e.kind == ArrangeEntry::Kind::item && drawn.contains(e.id)) result.insert(e.id);
  }
  return result;
}

IdSet fixedSet(const std::vector<Win>& layout, const IdSet& grabbable) {
  IdSet fixed;
  for (const Win& w : layout) {
    if (!grabbable.contains(w.id)) fixed.insert(w.id);
  }
  return fixed;
}

// On the modern bar an item is dropped against the nearest entry to its
// right that the fresh layout shows drawn: items in the hidden overflow
// have no place of their own, and an entry the fresh layout lacks is not
// drawn either. The fresh reading is the truth here, not the entry's flag,
// which may date from an older scan.
std::vector<PlannedMove> planMoves(const std::vector<ArrangeEntry>& desired,
                                   const std::vector<Win>& freshLayout, const IdSet& keep,
                                   const std::optional<ArrangeEntry>& anchor, bool isModern) {
  std::unordered_map<uint32_t, bool> onScreen;
  onScreen.reserve(freshLayout.size());
  for (const Win& w : freshLayout) onScreen.emplace(w.id, w.onScreen);
  auto isDrawn = [&](uint32_t id) {
    auto it = onScreen.find(id);
    return it != onScreen.end() && it->second;
  };

  std::vector<PlannedMove> moves;
  // Entries are large; growing the list would copy them again and again.
  moves.reserve(desired.size() - std::min(desired.size(), keep.size()));
  std::optional<size_t> nearestDrawn;  // right of the entry being walked
  for (size_t i = desired.size(); i-- > 0;) {
    const ArrangeEntry& item = desired[i];
    if (!keep.contains(item.id) && onScreen.contains(item.id)) {
      const ArrangeEntry* target = nullptr;
      if (!isModern && i + 1 < desired.size()) target = &desired[i + 1];
      if (isModern && nearestDrawn) target = &desired[*nearestDrawn];
      if (!target && anchor) target = &*anchor;
      if (target) moves.push_back({item, *target});
    }
    if (isDrawn(item.id)) nearestDrawn = i;
  }
  return moves;
}

DragPoints dragPoints(Rect moving, Rect target) {
  return {moving.mid(), {std::max(target.minX() - kDropGap, kMinDropX), moving.midY()}};
}

}  // namespace kestrune
