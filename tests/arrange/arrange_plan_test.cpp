#include "arrange/arrange_plan.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "arrange/arrange_error.hpp"

namespace kestrune {
namespace {

using Kind = ArrangeEntry::Kind;

// Ids of the test bar: items are named after them ("E3"), so that any id
// can be named without a table.
std::string nameOf(uint32_t id) {
  return "E" + std::to_string(id);
}

ArrangeEntry entry(uint32_t id, Kind kind = Kind::item, bool onScreen = true) {
  ArrangeEntry e;
  e.id = id;
  e.name = nameOf(id);
  e.kind = kind;
  e.isOnScreen = onScreen;
  return e;
}

Image symbolImage(std::string name) {
  SymbolImage symbol;
  symbol.name = std::move(name);
  Image image;
  image.content = symbol;
  return image;
}

std::vector<ArrangeEntry> items(std::initializer_list<uint32_t> ids) {
  std::vector<ArrangeEntry> result;
  for (uint32_t id : ids) result.push_back(entry(id));
  return result;
}

// The same entries in the order of `ids`.
std::vector<ArrangeEntry> reordered(const std::vector<ArrangeEntry>& entries,
                                    const std::vector<uint32_t>& ids) {
  std::vector<ArrangeEntry> result;
  for (uint32_t id : ids) {
    result.push_back(*std::find_if(entries.begin(), entries.end(),
                                   [&](const ArrangeEntry& e) { return e.id == id; }));
  }
  return result;
}

// A fresh reading of a bar whose real order is `real`: 30-point items from
// x = 100, drawn as the entries say.
std::vector<Win> layoutOf(const std::vector<ArrangeEntry>& real) {
  std::vector<Win> layout;
  for (size_t i = 0; i < real.size(); ++i) {
    layout.push_back(
        {real[i].id, Rect{100 + 30.0 * static_cast<double>(i), 0, 30, 24}, real[i].isOnScreen});
  }
  return layout;
}

// The planning steps of an Apply, from one fresh reading.
std::vector<PlannedMove> plan(const std::vector<ArrangeEntry>& real,
                              const std::vector<ArrangeEntry>& desired, bool isModern) {
  const auto layout = layoutOf(real);
  const auto fixed = fixedSet(layout, grabbable(real, layout));
  const auto keep = keepSet(idsOf(layout), idsOf(desired), fixed, nameOf, isModern);
  return planMoves(desired, layout, keep, rightAnchor(desired, isModern), isModern);
}

// What a ⌘-drag does to the bar: the item leaves its place and lands
// immediately left of the target.
std::vector<uint32_t> applyMoves(std::vector<uint32_t> bar, const std::vector<PlannedMove>& moves) {
  for (const PlannedMove& m : moves) {
    bar.erase(std::find(bar.begin(), bar.end(), m.item.id));
    bar.insert(std::find(bar.begin(), bar.end(), m.target.id), m.item.id);
  }
  return bar;
}

std::vector<std::pair<uint32_t, uint32_t>> pairsOf(const std::vector<PlannedMove>& moves) {
  std::vector<std::pair<uint32_t, uint32_t>> pairs;
  for (const PlannedMove& m : moves) pairs.emplace_back(m.item.id, m.target.id);
  return pairs;
}

// The length of a longest strictly increasing subsequence, the slow way.
size_t referenceLISLength(const std::vector<int>& v) {
  std::vector<size_t> best(v.size(), 1);
  size_t longest = 0;
  for (size_t i = 0; i < v.size(); ++i) {
    for (size_t j = 0; j < i; ++j) {
      if (v[j] < v[i]) best[i] = std::max(best[i], best[j] + 1);
    }
    longest = std::max(longest, best[i]);
  }
  return longest;
}

bool isSubsequence(const std::vector<int>& run, const std::vector<int>& of) {
  size_t k = 0;
  for (size_t i = 0; i < of.size() && k < run.size(); ++i) {
    if (of[i] == run[k]) ++k;
  }
  return k == run.size();
}

// ---- Longest increasing subsequence

TEST(LongestIncreasingSubsequenceTest, EmptyInputGivesEmptyRun) {
  EXPECT_TRUE(longestIncreasingSubsequence({}).empty());
}

TEST(LongestIncreasingSubsequenceTest, KnownRuns) {
  EXPECT_EQ(longestIncreasingSubsequence({7}), std::vector<int>{7});
  EXPECT_EQ(longestIncreasingSubsequence({1, 2, 3}), (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(longestIncreasingSubsequence({3, 1, 2}), (std::vector<int>{1, 2}));
  EXPECT_EQ(longestIncreasingSubsequence({0, 8, 4, 12, 2, 10, 6, 14, 1, 9, 5, 13, 3, 11, 7, 15}),
            (std::vector<int>{0, 2, 6, 9, 11, 15}));
}

TEST(LongestIncreasingSubsequenceTest, EqualValuesNeverBothBelongToTheRun) {
  EXPECT_EQ(longestIncreasingSubsequence({2, 2, 2}), std::vector<int>{2});
  EXPECT_EQ(longestIncreasingSubsequence({1, 2, 2, 3}), (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(longestIncreasingSubsequence({5, 1, 5, 2, 5}), (std::vector<int>{1, 2, 5}));
}

TEST(LongestIncreasingSubsequenceTest, TiesGoToTheRunTheLeftmostTailRuleBuilds) {
  // A later smaller value replaces the tail, so the run ends in it.
  EXPECT_EQ(longestIncreasingSubsequence({2, 1}), std::vector<int>{1});
  EXPECT_EQ(longestIncreasingSubsequence({3, 4, 1, 2}), (std::vector<int>{1, 2}));
  EXPECT_EQ(longestIncreasingSubsequence({1, 3, 2}), (std::vector<int>{1, 2}));
  // The parent is the tail one place left at the time the value came.
  EXPECT_EQ(longestIncreasingSubsequence({1, 5, 2, 6, 0}), (std::vector<int>{1, 2, 6}));
}

TEST(LongestIncreasingSubsequenceTest, RandomInputsMatchTheQuadraticReference) {
  std::mt19937 random(20240531);
  for (int round = 0; round < 2000; ++round) {
    std::uniform_int_distribution<int> length(0, 40);
    // Small value ranges give many equal values.
    std::uniform_int_distribution<int> value(-5, round % 3 == 0 ? 5 : 1000);
    std::vector<int> v(static_cast<size_t>(length(random)));
    for (int& x : v) x = value(random);
    const auto run = longestIncreasingSubsequence(v);
    ASSERT_EQ(run.size(), referenceLISLength(v)) << "round " << round;
    ASSERT_TRUE(std::adjacent_find(run.begin(), run.end(), std::greater_equal<>()) == run.end())
        << "not strictly increasing, round " << round;
    ASSERT_TRUE(isSubsequence(run, v)) << "round " << round;
  }
}

// ---- Dirty, pinned and movable

TEST(ArrangePlanTest, DesiredOrderEqualToTheRealOneIsNotDirtyAndPlansNothing) {
  const auto real = items({1, 2, 3});
  auto desired = real;
  desired[0].image = symbolImage("wifi");  // only ids count
  desired[1].name = "Renamed";
  EXPECT_FALSE(isDirty(desired, real));
  EXPECT_TRUE(plan(real, desired, false).empty());
  EXPECT_TRUE(plan(real, desired, true).empty());
}

TEST(ArrangePlanTest, AnyDifferenceInIdsIsDirty) {
  const auto real = items({1, 2, 3});
  EXPECT_TRUE(isDirty(items({2, 1, 3}), real));
  EXPECT_TRUE(isDirty(items({1, 2}), real));
  EXPECT_TRUE(isDirty(items({1, 2, 3, 4}), real));
  EXPECT_TRUE(isDirty({}, real));
  EXPECT_FALSE(isDirty({}, {}));
}

TEST(ArrangePlanTest, PinnedAndMovableSplitByKindKeepingListOrder) {
  const std::vector<ArrangeEntry> list{entry(1), entry(2, Kind::fixed), entry(3, Kind::item, false),
                                       entry(4, Kind::ownIcon), entry(5)};
  EXPECT_EQ(idsOf(pinned(list)), (std::vector<uint32_t>{2, 4}));
  EXPECT_EQ(idsOf(movable(list)), (std::vector<uint32_t>{1, 3, 5}));
}

// ---- Edge cases of a plan

TEST(ArrangePlanTest, FarLeftToFarRightMovesOnlyThatItemAgainstTheRightAnchor) {
  std::vector<ArrangeEntry> real = items({1, 2, 3, 4});
  real.push_back(entry(50, Kind::ownIcon));
  real.push_back(entry(60, Kind::fixed));
  const auto desired = reordered(real, {2, 3, 4, 1, 50, 60});
  for (bool modern : {false, true}) {
    const auto moves = plan(real, desired, modern);
    ASSERT_EQ(pairsOf(moves), (std::vector<std::pair<uint32_t, uint32_t>>{{1, 50}})) << modern;
    EXPECT_EQ(applyMoves(idsOf(real), moves), idsOf(desired));
  }
}

TEST(ArrangePlanTest, ReversingThreeMovableItemsMovesExactlyTwo) {
  std::vector<ArrangeEntry> real = items({1, 2, 3});
  real.push_back(entry(50, Kind::ownIcon));
  const auto desired = reordered(real, {3, 2, 1, 50});
  for (bool modern : {false, true}) {
    const auto moves = plan(real, desired, modern);
    EXPECT_EQ(moves.size(), 2U) << modern;
    EXPECT_EQ(applyMoves(idsOf(real), moves), idsOf(desired)) << modern;
  }
}

TEST(ArrangePlanTest, AnItemBehindTheNotchPlacedElsewhereCannotBeGrabbed) {
  // Two items behind the notch at the left end; the user puts the first one
  // among the drawn items, past the second one, which can't move either.
  std::vector<ArrangeEntry> real{entry(1, Kind::item, false), entry(2, Kind::item, false), entry(3),
                                 entry(4), entry(50, Kind::ownIcon)};
  const auto desired = reordered(real, {2, 3, 1, 4, 50});
  try {
    (void)plan(real, desired, false);
    FAIL() << "planned moves that need a hidden item to move";
  } catch (const ArrangeError& e) {
    EXPECT_EQ(e.which(), ArrangeError::Case::cannotGrab);
    EXPECT_EQ(e.names(), std::vector<std::string>{"E1"});
    EXPECT_EQ(e.message(),
              "macOS won't let \u201C"
              "E1\u201D be dragged while hidden behind the notch. Move other items around it "
              "instead, or arrange on a display without a notch.");
  }
}

TEST(ArrangePlanTest, AHiddenItemPlacedPastOurIconOnTheModernBarCannotBeGrabbed) {
  std::vector<ArrangeEntry> real{entry(1, Kind::item, false), entry(2), entry(3),
                                 entry(50, Kind::ownIcon)};
  const auto desired = reordered(real, {2, 3, 50, 1});
  try {
    (void)plan(real, desired, true);
    FAIL() << "planned moves that need a hidden item to move";
  } catch (const ArrangeError& e) {
    EXPECT_EQ(e.names(), std::vector<std::string>{"E1"});
    EXPECT_TRUE(e.isModern());
  }
}

TEST(ArrangePlanTest, OtherItemsArePlacedAroundASingleHiddenItem) {
  // The one hidden item keeps its place; the items the user put left of it
  // are moved there instead.
  std::vector<ArrangeEntry> real{entry(1, Kind::item, false), entry(2), entry(3), entry(4),
                                 entry(50, Kind::ownIcon)};
  const auto desired = reordered(real, {2, 3, 1, 4, 50});
  const auto moves = plan(real, desired, false);
  EXPECT_EQ(pairsOf(moves), (std::vector<std::pair<uint32_t, uint32_t>>{{3, 1}, {2, 3}}));
  EXPECT_EQ(applyMoves(idsOf(real), moves), idsOf(desired));
}

TEST(ArrangePlanTest, EndPointNeverLeftOfXTwo) {
  const Rect moving{300, 0, 30, 24};
  EXPECT_EQ(dragPoints(moving, Rect{4, 0, 30, 24}), (DragPoints{{315, 12}, {2, 12}}));
  EXPECT_EQ(dragPoints(moving, Rect{5, 0, 30, 24}).end, (Point{2, 12}));
  EXPECT_EQ(dragPoints(moving, Rect{5.5, 0, 30, 24}).end, (Point{2.5, 12}));
  EXPECT_EQ(dragPoints(moving, Rect{100, 0, 30, 24}), (DragPoints{{315, 12}, {97, 12}}));
}

TEST(ArrangePlanTest, DragStaysOnTheMovingItemsMiddleLine) {
  const auto points = dragPoints(Rect{40, 2, 20, 30}, Rect{200, 0, 30, 24});
  EXPECT_EQ(points.start, (Point{50, 17}));
  EXPECT_EQ(points.end, (Point{197, 17}));
}

// ---- Keep set

TEST(KeepSetTest, EqualOrdersKeepEverything) {
  EXPECT_EQ(keepSet({1, 2, 3}, {1, 2, 3}, {}, nameOf, false), (IdSet{1, 2, 3}));
}

TEST(KeepSetTest, OnlyIdsInBothOrdersTakePart) {
  // 9 is only real, 8 only wanted: neither stays nor moves.
  EXPECT_EQ(keepSet({1, 9, 2, 3}, {3, 1, 8, 2}, {}, nameOf, false), (IdSet{1, 2}));
}

TEST(KeepSetTest, FixedItemsOutsideThePlainRunAreForcedToStay) {
  // Wanted 2 1 4 3 5 by position: the plain run keeps 2, 4 and 5 and would
  // move the fixed 3. Keeping 3 leaves 2 before it and 5 after it.
  const IdSet keep = keepSet({1, 2, 3, 4, 5}, {2, 1, 4, 3, 5}, {3}, nameOf, false);
  EXPECT_EQ(keep, (IdSet{2, 3, 5}));
}

TEST(KeepSetTest, FixedItemsInThePlainRunKeepThatRun) {
  // 1 and 2 tie; the later, smaller wanted place ends the run.
  EXPECT_EQ(keepSet({1, 2, 3, 4}, {2, 1, 3, 4}, {3, 4}, nameOf, false), (IdSet{2, 3, 4}));
}

TEST(KeepSetTest, NothingStaysBetweenFixedItemsThatIsWantedElsewhere) {
  // Real 1 F 2, wanted 2 F 1: both items must cross the fixed one.
  EXPECT_EQ(keepSet({1, 7, 2}, {2, 7, 1}, {7}, nameOf, false), (IdSet{7}));
}

TEST(KeepSetTest, FixedItemsOutOfOrderNameTheOnesThatWouldMove) {
  const auto name = [](uint32_t id) { return "Hidden " + std::to_string(id); };
  try {
    (void)keepSet({1, 2, 3, 4, 5, 6}, {6, 5, 4, 3, 1, 2}, {1, 2, 3, 4, 5}, name, true);
    FAIL() << "no error";
  } catch (const ArrangeError& e) {
    // 1 2 3 4 5 are wanted at 4 5 3 2 1: only one run of two stays.
    EXPECT_EQ(e.names(), (std::vector<std::string>{"Hidden 3", "Hidden 4", "Hidden 5"}));
    EXPECT_NE(e.message().find("hidden overflow"), std::string::npos);
  }
}

// The most items a plan can keep when every fixed item stays: the longest
// increasing run that holds every fixed element, the slow way.
size_t referenceKeepCount(const std::vector<int>& wanted, const std::vector<bool>& isFixed) {
  const size_t n = wanted.size();
  std::vector<long> best(n, -1);  // -1: no valid run ends here
  long answer = -1;
  for (size_t i = 0; i < n; ++i) {
    bool fixedBefore = false;
    for (size_t j = 0; j < i; ++j) fixedBefore = fixedBefore || isFixed[j];
    if (!fixedBefore) best[i] = 1;
    for (size_t j = 0; j < i; ++j) {
      bool fixedBetween = false;
      for (size_t k = j + 1; k < i; ++k) fixedBetween = fixedBetween || isFixed[k];
      if (best[j] >= 0 && wanted[j] < wanted[i] && !fixedBetween) {
        best[i] = std::max(best[i], best[j] + 1);
      }
    }
    bool fixedAfter = false;
    for (size_t k = i + 1; k < n; ++k) fixedAfter = fixedAfter || isFixed[k];
    if (!fixedAfter) answer = std::max(answer, best[i]);
  }
  return n == 0 ? 0 : static_cast<size_t>(answer);
}

TEST(KeepSetTest, RandomFixedItemsAreAllKeptAndAsManyOthersAsPossible) {
  std::mt19937 random(77);
  for (int round = 0; round < 3000; ++round) {
    const size_t n = std::uniform_int_distribution<size_t>(1, 12)(random);
    std::vector<uint32_t> order(n);
    for (size_t i = 0; i < n; ++i) order[i] = static_cast<uint32_t>(i + 1);
    std::vector<bool> isFixed(n);
    IdSet fixed;
    for (size_t i = 0; i < n; ++i) {
      isFixed[i] = std::bernoulli_distribution(0.25)(random);
      if (isFixed[i]) fixed.insert(order[i]);
    }
    // A random wanted order in which the fixed items keep their order.
    std::vector<uint32_t> want = order;
    std::shuffle(want.begin(), want.end(), random);
    std::vector<uint32_t> fixedInOrder;
    for (uint32_t id : order) {
      if (fixed.contains(id)) fixedInOrder.push_back(id);
    }
    size_t next = 0;
    for (uint32_t& id : want) {
      if (fixed.contains(id)) id = fixedInOrder[next++];
    }

    const IdSet keep = keepSet(order, want, fixed, nameOf, false);
    for (uint32_t id : fixed) ASSERT_TRUE(keep.contains(id)) << "round " << round;
    std::vector<int> wanted;
    std::vector<int> keptWanted;
    for (uint32_t id : order) {
      const int at = static_cast<int>(std::find(want.begin(), want.end(), id) - want.begin());
      wanted.push_back(at);
      if (keep.contains(id)) keptWanted.push_back(at);
    }
    ASSERT_TRUE(std::is_sorted(keptWanted.begin(), keptWanted.end())) << "round " << round;
    ASSERT_EQ(keep.size(), referenceKeepCount(wanted, isFixed)) << "round " << round;
  }
}

// ---- Planned moves

TEST(PlanMovesTest, OnTheLegacyBarTheTargetIsTheNextEntryEvenWhenHidden) {
  const std::vector<ArrangeEntry> desired{entry(1), entry(2, Kind::item, false), entry(3),
                                          entry(50, Kind::ownIcon)};
  const std::vector<Win> layout{{2, {100, 0, 30, 24}, false},
                                {3, {130, 0, 30, 24}, true},
                                {1, {160, 0, 30, 24}, true},
                                {50, {190, 0, 30, 24}, true}};
  const auto moves = planMoves(desired, layout, {2, 3, 50}, rightAnchor(desired, false), false);
  EXPECT_EQ(pairsOf(moves), (std::vector<std::pair<uint32_t, uint32_t>>{{1, 2}}));
}

TEST(PlanMovesTest, OnTheModernBarTheTargetIsTheNearestDrawnEntryToTheRight) {
  const std::vector<ArrangeEntry> desired{entry(1), entry(2, Kind::item, false),
                                          entry(3, Kind::item, false), entry(4),
                                          entry(50, Kind::ownIcon)};
  const std::vector<Win> layout{{2, {0, 0, 30, 24}, false},
                                {3, {0, 0, 30, 24}, false},
                                {4, {130, 0, 30, 24}, true},
                                {1, {160, 0, 30, 24}, true},
                                {50, {190, 0, 30, 24}, true}};
  const auto moves = planMoves(desired, layout, {2, 3, 4, 50}, rightAnchor(desired, true), true);
  EXPECT_EQ(pairsOf(moves), (std::vector<std::pair<uint32_t, uint32_t>>{{1, 4}}));
}

TEST(PlanMovesTest, TheFreshLayoutDecidesWhatIsDrawnNotTheEntrysFlag) {
  // The entries say 2 is drawn and 3 is not; the fresh reading says the
  // opposite.
  const std::vector<ArrangeEntry> desired{entry(1), entry(2), entry(3, Kind::item, false),
                                          entry(50, Kind::ownIcon)};
  const std::vector<Win> layout{{2, {0, 0, 30, 24}, false},
                                {3, {130, 0, 30, 24}, true},
                                {1, {160, 0, 30, 24}, true},
                                {50, {190, 0, 30, 24}, true}};
  const auto moves = planMoves(desired, layout, {2, 3, 50}, rightAnchor(desired, true), true);
  EXPECT_EQ(pairsOf(moves), (std::vector<std::pair<uint32_t, uint32_t>>{{1, 3}}));
}

TEST(PlanMovesTest, WithNothingDrawnToTheRightTheModernTargetIsTheAnchor) {
  // The last scan drew our icon; the fresh reading no longer does.
  const std::vector<ArrangeEntry> desired{entry(1), entry(2, Kind::item, false),
                                          entry(50, Kind::ownIcon)};
  const std::vector<Win> layout{
      {2, {0, 0, 30, 24}, false}, {1, {160, 0, 30, 24}, true}, {50, {190, 0, 30, 24}, false}};
  const auto anchor = rightAnchor(desired, true);
  ASSERT_TRUE(anchor.has_value());
  EXPECT_EQ(pairsOf(planMoves(desired, layout, {2, 50}, anchor, true)),
            (std::vector<std::pair<uint32_t, uint32_t>>{{1, 50}}));
  // Without an anchor the item is not moved.
  EXPECT_TRUE(planMoves(desired, layout, {2, 50}, std::nullopt, true).empty());
}

TEST(PlanMovesTest, AnItemWithoutTargetOrAnchorIsLeftWhereItIs) {
  const auto desired = items({2, 1});
  const std::vector<Win> layout{{1, {100, 0, 30, 24}, true}, {2, {130, 0, 30, 24}, true}};
  ASSERT_FALSE(rightAnchor(desired, false).has_value());
  const auto moves = planMoves(desired, layout, {2}, std::nullopt, false);
  EXPECT_TRUE(moves.empty());
  // The other way round the moving item has a target.
  EXPECT_EQ(pairsOf(planMoves(desired, layout, {1}, std::nullopt, false)),
            (std::vector<std::pair<uint32_t, uint32_t>>{{2, 1}}));
}

TEST(PlanMovesTest, ItemsAbsentFromTheFreshLayoutAndKeptItemsAreSkipped) {
  std::vector<ArrangeEntry> desired = items({3, 2, 1});
  desired.push_back(entry(50, Kind::ownIcon));
  // 2 quit since the edit.
  const std::vector<Win> layout{
      {1, {100, 0, 30, 24}, true}, {3, {160, 0, 30, 24}, true}, {50, {190, 0, 30, 24}, true}};
  const auto moves = planMoves(desired, layout, {1, 50}, rightAnchor(desired, false), false);
  EXPECT_EQ(pairsOf(moves), (std::vector<std::pair<uint32_t, uint32_t>>{{3, 2}}));
}

TEST(PlanMovesTest, MovesRunFromTheRightEndOfTheWantedOrder) {
  std::vector<ArrangeEntry> real = items({1, 2, 3, 4, 5});
  real.push_back(entry(50, Kind::ownIcon));
  const auto desired = reordered(real, {5, 4, 3, 2, 1, 50});
  const auto moves = plan(real, desired, false);
  EXPECT_EQ(pairsOf(moves),
            (std::vector<std::pair<uint32_t, uint32_t>>{{1, 50}, {2, 1}, {3, 2}, {4, 3}}));
}

// The property behind the plan: for any edit, the planned moves turn the
// real order into the wanted one, and they are as few as possible.
TEST(PlanMovesTest, RandomPermutationsAreReachedWithTheFewestMoves) {
  std::mt19937 random(4242);
  for (int round = 0; round < 2000; ++round) {
    const size_t n = std::uniform_int_distribution<size_t>(1, 15)(random);
    std::vector<ArrangeEntry> real;
    for (size_t i = 0; i < n; ++i) real.push_back(entry(static_cast<uint32_t>(10 + i)));
    real.push_back(entry(1, Kind::ownIcon));
    real.push_back(entry(2, Kind::fixed));
    std::vector<uint32_t> wanted = idsOf(movable(real));
    std::shuffle(wanted.begin(), wanted.end(), random);
    wanted.push_back(1);
    wanted.push_back(2);
    const auto desired = reordered(real, wanted);

    std::vector<int> positions;  // wanted positions in real order
    for (const auto& e : movable(real)) {
      positions.push_back(
          static_cast<int>(std::find(wanted.begin(), wanted.end(), e.id) - wanted.begin()));
    }
    const size_t fewest = n - longestIncreasingSubsequence(positions).size();
    for (bool modern : {false, true}) {
      const auto moves = plan(real, desired, modern);
      ASSERT_EQ(applyMoves(idsOf(real), moves), wanted) << "round " << round;
      ASSERT_EQ(moves.size(), fewest) << "round " << round;
    }
  }
}

TEST(PlanMovesTest, RandomEditsAroundFixedItemsAreReached) {
  std::mt19937 random(9001);
  for (int round = 0; round < 2000; ++round) {
    const size_t n = std::uniform_int_distribution<size_t>(1, 12)(random);
    std::vector<ArrangeEntry> real;
    for (size_t i = 0; i < n; ++i) {
      const bool hidden = std::bernoulli_distribution(0.2)(random);
      real.push_back(entry(static_cast<uint32_t>(10 + i), Kind::item, !hidden));
    }
    real.push_back(entry(1, Kind::ownIcon));
    std::vector<uint32_t> wanted = idsOf(movable(real));
    std::shuffle(wanted.begin(), wanted.end(), random);
    // Hidden items keep their relative order, or no plan exists.
    std::vector<uint32_t> hidden;
    for (const auto& e : real) {
      if (!e.isOnScreen) hidden.push_back(e.id);
    }
    size_t next = 0;
    for (uint32_t& id : wanted) {
      if (std::find(hidden.begin(), hidden.end(), id) != hidden.end()) id = hidden[next++];
    }
    wanted.push_back(1);
    const auto desired = reordered(real, wanted);
    const auto moves = plan(real, desired, false);
    ASSERT_EQ(applyMoves(idsOf(real), moves), wanted) << "round " << round;
    for (const auto& m : moves) ASSERT_TRUE(m.item.isOnScreen) << "round " << round;
  }
}

// ---- Right anchor

TEST(RightAnchorTest, LegacyTakesTheLeftmostOfTheTrailingRun) {
  const std::vector<ArrangeEntry> desired{entry(1), entry(7, Kind::fixed), entry(2),
                                          entry(50, Kind::ownIcon, false), entry(60, Kind::fixed)};
  const auto anchor = rightAnchor(desired, false);
  ASSERT_TRUE(anchor.has_value());
  EXPECT_EQ(anchor->id, 50U);
}

TEST(RightAnchorTest, ModernTakesTheFirstDrawnEntryOfTheRun) {
  const std::vector<ArrangeEntry> desired{entry(1), entry(50, Kind::ownIcon, false),
                                          entry(60, Kind::fixed), entry(70, Kind::fixed)};
  const auto anchor = rightAnchor(desired, true);
  ASSERT_TRUE(anchor.has_value());
  EXPECT_EQ(anchor->id, 60U);
}

TEST(RightAnchorTest, ModernWithoutADrawnEntryInTheRunHasNone) {
  const std::vector<ArrangeEntry> desired{entry(1), entry(50, Kind::ownIcon, false),
                                          entry(60, Kind::fixed, false)};
  EXPECT_FALSE(rightAnchor(desired, true).has_value());
  EXPECT_EQ(rightAnchor(desired, false)->id, 50U);
}

TEST(RightAnchorTest, NoneWhenAnItemIsRightmostOrThereIsNoItem) {
  const std::vector<ArrangeEntry> itemLast{entry(50, Kind::ownIcon), entry(1)};
  const std::vector<ArrangeEntry> noItem{entry(50, Kind::ownIcon), entry(60, Kind::fixed)};
  for (bool modern : {false, true}) {
    EXPECT_FALSE(rightAnchor(itemLast, modern).has_value());
    EXPECT_FALSE(rightAnchor(noItem, modern).has_value());
    EXPECT_FALSE(rightAnchor({}, modern).has_value());
  }
}

// ---- Layout readings

WindowInfo statusWindow(uint32_t number, double x, double width = 30) {
  WindowInfo w;
  w.layer = 25;
  w.number = number;
  w.bounds = WindowBounds{x, 0, width, 24};
  w.alpha = 1;
  w.isOnscreen = true;
  w.ownerPID = static_cast<pid_t>(number * 10);
  return w;
}

TEST(StatusWindowsTest, OnlyStatusItemWindowsOfTheTopBarAreKeptLeftToRight) {
  std::vector<WindowInfo> list;
  list.push_back(statusWindow(1, 500));
  auto layer = statusWindow(2, 100);
  layer.layer = 24;
  list.push_back(layer);
  auto noLayer = statusWindow(3, 100);
  noLayer.layer.reset();
  list.push_back(noLayer);
  auto noNumber = statusWindow(4, 100);
  noNumber.number.reset();
  list.push_back(noNumber);
  for (uint32_t key = 0; key < 4; ++key) {  // each bounds key missing in turn
    auto w = statusWindow(10 + key, 100);
    std::optional<double>* keys[] = {&w.bounds->x, &w.bounds->y, &w.bounds->width,
                                     &w.bounds->height};
    keys[key]->reset();
    list.push_back(w);
  }
  auto noBounds = statusWindow(5, 100);
  noBounds.bounds.reset();
  list.push_back(noBounds);
  auto lowered = statusWindow(6, 100);
  lowered.bounds->y = 1;
  list.push_back(lowered);
  auto tall = statusWindow(7, 100);
  tall.bounds->height = 48.5;
  list.push_back(tall);
  auto tallest = statusWindow(20, 300);
  tallest.bounds->height = 48;
  list.push_back(tallest);
  list.push_back(statusWindow(8, 100, 7.9));
  list.push_back(statusWindow(21, 250, 8));
  auto clear = statusWindow(9, 100);
  clear.alpha = 0;
  list.push_back(clear);
  auto negative = statusWindow(30, 100);
  negative.alpha = -0.5;
  list.push_back(negative);
  auto noAlpha = statusWindow(22, 200);
  noAlpha.alpha.reset();
  list.push_back(noAlpha);
  auto faint = statusWindow(23, 400);
  faint.alpha = 0.01;
  list.push_back(faint);
  auto unknownScreen = statusWindow(24, 50);
  unknownScreen.isOnscreen.reset();
  list.push_back(unknownScreen);
  auto hidden = statusWindow(25, 60);
  hidden.isOnscreen = false;
  list.push_back(hidden);

  const auto windows = statusWindows(list);
  EXPECT_EQ(idsOf(windows), (std::vector<uint32_t>{24, 25, 22, 21, 20, 23, 1}));
  EXPECT_EQ(windows[0], (Win{24, Rect{50, 0, 30, 24}, false}));
  EXPECT_FALSE(windows[1].onScreen);
  EXPECT_TRUE(windows[2].onScreen);
  EXPECT_EQ(windows[3].frame, (Rect{250, 0, 8, 24}));
}

TEST(StatusWindowsTest, EqualLeftEdgesKeepWindowListOrderAndEmptyListGivesNothing) {
  EXPECT_EQ(idsOf(statusWindows({statusWindow(3, 100), statusWindow(1, 100), statusWindow(2, 50)})),
            (std::vector<uint32_t>{2, 3, 1}));
  EXPECT_TRUE(statusWindows({}).empty());
}

TEST(StatusWindowsTest, CandidatesCarryTheOwnerInWindowListOrder) {
  auto noOwner = statusWindow(3, 10);
  noOwner.ownerPID.reset();
  auto lowered = statusWindow(4, 10);
  lowered.bounds->y = 3;
  const auto candidates = statusCandidates({statusWindow(2, 100), noOwner, lowered});
  ASSERT_EQ(candidates.size(), 2U);
  EXPECT_EQ(candidates[0].id, 2U);
  EXPECT_EQ(candidates[0].pid, 20);
  EXPECT_EQ(candidates[0].frame, (Rect{100, 0, 30, 24}));
  EXPECT_EQ(candidates[1].id, 3U);
  EXPECT_EQ(candidates[1].pid, 0);
}

TEST(ModernWindowsTest, HostedWindowsAreDrawnAtTheirHostsOthersHiddenAtTheLeft) {
  MenuBarLayout::Snapshot snapshot;
  snapshot.hosts = {{Rect{1000, 0, 28, 37}, 300}, {Rect{1100, 0, 40, 37}, 200}};
  snapshot.showHiddenButton = Rect{900, 0, 24, 37};
  snapshot.barHeight = 37;
  const std::vector<MenuBarLayout::Candidate> windows{
      {1, 200, Rect{1101, 0, 40, 37}},  // drawn at the second host
      {2, 400, Rect{700, 0, 30, 37}},   // no host: hidden
      {3, 300, Rect{1000, 0, 28, 37}},  // drawn at the first host
      {4, 500, Rect{600, 0, 30, 37}},   // hidden, further left
      {5, 600, Rect{925, 0, 10, 37}},   // 1 point beside the » button: the button
      {6, 700, Rect{905, 0, 10, 37}},   // over the button
  };
  const auto wins = modernWindows(snapshot, windows, 8);
  EXPECT_EQ(wins, (std::vector<Win>{{4, Rect{600, 0, 30, 37}, false},
                                    {2, Rect{700, 0, 30, 37}, false},
                                    {3, Rect{1000, 0, 28, 37}, true},
                                    {1, Rect{1100, 0, 40, 37}, true}}));
}

TEST(ModernWindowsTest, HiddenWindowsStayLeftOfDrawnOnesWhateverTheirFrames) {
  MenuBarLayout::Snapshot snapshot;
  snapshot.hosts = {{Rect{100, 0, 30, 37}, 10}};
  const std::vector<MenuBarLayout::Candidate> windows{{1, 10, Rect{100, 0, 30, 37}},
                                                      {2, 20, Rect{1400, 0, 30, 37}}};
  EXPECT_EQ(idsOf(modernWindows(snapshot, windows, 8)), (std::vector<uint32_t>{2, 1}));
  EXPECT_TRUE(modernWindows(MenuBarLayout::Snapshot{}, {}, 8).empty());
}

TEST(OwnWindowsTest, MatchesByLeftEdgeAndWidthWithinTwoPoints) {
  const std::vector<Win> wins{{1, Rect{1201.9, 0, 28.1, 24}, true},
                              {2, Rect{1202, 0, 30, 24}, true},
                              {3, Rect{1200, 0, 32, 24}, true},
                              {4, Rect{1198.5, 0, 31.5, 24}, true},
                              {5, Rect{900, 0, 30, 24}, true}};
  EXPECT_EQ(ownWindows(wins, Rect{1200, 0, 30, 24}), (IdSet{1, 4}));
  EXPECT_TRUE(ownWindows(wins, std::nullopt).empty());
}

TEST(FixedSetTest, EverythingADragCannotTakeIsFixed) {
  const std::vector<ArrangeEntry> entries{entry(1), entry(2, Kind::ownIcon), entry(3, Kind::fixed),
                                          entry(4), entry(5)};
  // 4 is drawn by the entry's flag, not by the fresh reading; 9 is unknown
  // to the entries.
  const std::vector<Win> layout{{1, Rect{}, true},
                                {2, Rect{}, true},
                                {3, Rect{}, true},
                                {4, Rect{}, false},
                                {9, Rect{}, true}};
  const IdSet grab = grabbable(entries, layout);
  EXPECT_EQ(grab, (IdSet{1}));
  EXPECT_EQ(fixedSet(layout, grab), (IdSet{2, 3, 4, 9}));
}

// ---- Rebase

std::vector<uint32_t> rebased(const std::vector<uint32_t>& edited,
                              const std::vector<uint32_t>& original,
                              const std::vector<uint32_t>& fresh) {
  auto all = [](const std::vector<uint32_t>& ids) {
    std::vector<ArrangeEntry> list;
    for (uint32_t id : ids) list.push_back(entry(id));
    return list;
  };
  return idsOf(rebase(all(edited), all(original), all(fresh)));
}

TEST(RebaseTest, WithoutAnEditTheFreshScanIsTaken) {
  EXPECT_EQ(rebased({1, 2, 3}, {1, 2, 3}, {3, 1, 4}), (std::vector<uint32_t>{3, 1, 4}));
}

TEST(RebaseTest, TheUsersMoveIsCarriedOver) {
  EXPECT_EQ(rebased({2, 3, 1, 4}, {1, 2, 3, 4}, {1, 2, 3, 4}), (std::vector<uint32_t>{2, 3, 1, 4}));
  // The fresh scan moved 4 and 2 around; the user's move of 1 still lands
  // right of 3.
  EXPECT_EQ(rebased({2, 3, 1, 4}, {1, 2, 3, 4}, {4, 1, 2, 3}), (std::vector<uint32_t>{4, 2, 3, 1}));
}

TEST(RebaseTest, AMoveToTheFrontStaysAtTheFront) {
  EXPECT_EQ(rebased({4, 1, 2, 3}, {1, 2, 3, 4}, {9, 1, 2, 3, 4}),
            (std::vector<uint32_t>{4, 9, 1, 2, 3}));
}

TEST(RebaseTest, VanishedEntriesAreDroppedAndNewOnesKeepTheirFreshPlace) {
  // 2 (kept) and 5 (moved) quit; 7 is new, at the left end as macOS puts it.
  EXPECT_EQ(rebased({1, 5, 2, 3, 4}, {1, 2, 3, 4, 5}, {7, 1, 3, 4}),
            (std::vector<uint32_t>{7, 1, 3, 4}));
  // 6 is new between 3 and 4.
  EXPECT_EQ(rebased({3, 1, 2, 4}, {1, 2, 3, 4}, {1, 2, 3, 6, 4}),
            (std::vector<uint32_t>{3, 1, 2, 6, 4}));
}

TEST(RebaseTest, AMovedEntryWhoseLeftNeighbourVanishedFollowsTheNextOneLeft) {
  // The user put 1 right of 3; 3 then quit, so 1 goes right of 2.
  EXPECT_EQ(rebased({2, 3, 1, 4}, {1, 2, 3, 4}, {1, 2, 4}), (std::vector<uint32_t>{2, 1, 4}));
}

TEST(RebaseTest, MovesThatSucceededLeaveNothingDirty) {
  // The Apply made the first of two moves before it failed.
  const auto original = items({1, 2, 3, 4});
  const auto edited = reordered(original, {4, 2, 3, 1});
  const auto fresh = reordered(original, {2, 3, 1, 4});
  const auto result = rebase(edited, original, fresh);
  EXPECT_EQ(idsOf(result), (std::vector<uint32_t>{4, 2, 3, 1}));
  // Applied in full, the edit and the real order agree.
  EXPECT_FALSE(isDirty(rebase(edited, original, edited), edited));
}

TEST(RebaseTest, EntriesComeFromTheFreshScan) {
  const auto original = items({1, 2, 3});
  const auto edited = reordered(original, {2, 1, 3});
  auto fresh = original;
  fresh[0].isOnScreen = false;
  fresh[0].name = "Now hidden";
  fresh[1].image = symbolImage("battery.100");
  const auto result = rebase(edited, original, fresh);
  ASSERT_EQ(idsOf(result), (std::vector<uint32_t>{2, 1, 3}));
  EXPECT_EQ(result[0], fresh[1]);
  EXPECT_EQ(result[1], fresh[0]);
}

TEST(RebaseTest, EmptyListsGiveTheFreshScan) {
  EXPECT_EQ(rebased({}, {}, {1, 2}), (std::vector<uint32_t>{1, 2}));
  EXPECT_TRUE(rebased({1, 2}, {1, 2}, {}).empty());
}

}  // namespace
}  // namespace kestrune
