#include "arrange/arrange_view.hpp"

#include <gtest/gtest.h>

#include "mac/arrange_list.hpp"

namespace kestrune {
namespace {

ArrangeEntry entry(uint32_t id, ArrangeEntry::Kind kind = ArrangeEntry::Kind::item,
                   bool onScreen = true) {
  return {id, "item " + std::to_string(id), kind, onScreen, std::nullopt, std::nullopt};
}

std::vector<uint32_t> ids(const std::vector<ArrangeEntry>& entries) {
  std::vector<uint32_t> result;
  for (const auto& e : entries) result.push_back(e.id);
  return result;
}

constexpr auto kOwn = ArrangeEntry::Kind::ownIcon;
constexpr auto kFixed = ArrangeEntry::Kind::fixed;

// Left to right: items 1, 2, 3, then Kestrune (9) and the clock (10).
// Shown right to left: 10, 9, 3, 2, 1.
const std::vector<ArrangeEntry> kBar{entry(1), entry(2), entry(3), entry(9, kOwn),
                                     entry(10, kFixed)};

TEST(ArrangeViewTest, DraggingTheTopMovableRowToTheBottomMakesItTheLeftmost) {
  // Row 2 (item 3) goes below the last row.
  EXPECT_EQ(ids(moveRows(kBar, {2}, 5)), (std::vector<uint32_t>{3, 1, 2, 9, 10}));
}

TEST(ArrangeViewTest, DraggingTheBottomRowToTheTopOfTheMovableRowsMakesItTheRightmostMovable) {
  EXPECT_EQ(ids(moveRows(kBar, {4}, 2)), (std::vector<uint32_t>{2, 3, 1, 9, 10}));
}

TEST(ArrangeViewTest, AMoveOntoItsOwnPlaceChangesNothing) {
  EXPECT_EQ(ids(moveRows(kBar, {3}, 3)), ids(kBar));
  EXPECT_EQ(ids(moveRows(kBar, {3}, 4)), ids(kBar));
}

TEST(ArrangeViewTest, SeveralRowsMoveTogetherInTheirOrder) {
  // Rows 2 and 4 (items 3 and 1) go to the bottom: shown 10, 9, 2, 3, 1.
  EXPECT_EQ(ids(moveRows(kBar, {2, 4}, 5)), (std::vector<uint32_t>{1, 3, 2, 9, 10}));
}

TEST(ArrangeViewTest, PinnedRowsCannotBeMovedWhateverTheUserDoes) {
  for (size_t from = 0; from < kBar.size(); ++from) {
    for (size_t to = 0; to <= kBar.size(); ++to) {
      const auto result = moveRows(kBar, {from}, to);
      ASSERT_EQ(result.size(), 5U);
      // The pinned entries keep their order, and at the right end they stay
      // at the right end.
      EXPECT_EQ(result[3].id, 9U) << from << " to " << to;
      EXPECT_EQ(result[4].id, 10U) << from << " to " << to;
    }
  }
  // Dragging a pinned row does nothing.
  EXPECT_EQ(ids(moveRows(kBar, {0}, 5)), ids(kBar));
  EXPECT_EQ(ids(moveRows(kBar, {1}, 3)), ids(kBar));
}

// Where a movable item stands right of Kestrune's icon, moving another row
// leaves it there: Apply moves only what the user moved.
TEST(ArrangeViewTest, RowsRightOfAPinnedRowStayWhereTheyAre) {
  // Left to right: 1, 2, Kestrune, 3, clock. Shown: 10, 3, 9, 2, 1.
  const std::vector<ArrangeEntry> bar{entry(1), entry(2), entry(9, kOwn), entry(3),
                                      entry(10, kFixed)};
  EXPECT_EQ(ids(moveRows(bar, {4}, 3)), (std::vector<uint32_t>{2, 1, 9, 3, 10}));
  // A row may be dropped beside a pinned one below the top: item 1 goes
  // right of Kestrune; never above the clock at the top.
  EXPECT_EQ(ids(moveRows(bar, {4}, 2)), (std::vector<uint32_t>{2, 9, 1, 3, 10}));
  EXPECT_EQ(ids(moveRows(bar, {4}, 0)), (std::vector<uint32_t>{2, 9, 3, 1, 10}));
}

ArrangeRow row(bool pinned) {
  ArrangeRow r;
  r.isPinned = pinned;
  return r;
}

// The Mac list's table asks these before a row may be dragged or dropped.
TEST(ArrangeListTest, PinnedRowsCannotBeDraggedAndDropsStayInTheTable) {
  std::vector<ArrangeRow> rows;
  for (const bool pinned : {true, false, true, false}) rows.push_back(row(pinned));
  EXPECT_EQ(draggableOffset(rows, 0), std::nullopt);
  EXPECT_EQ(draggableOffset(rows, 1), std::optional<size_t>(1));
  EXPECT_EQ(draggableOffset(rows, 2), std::nullopt);
  EXPECT_EQ(draggableOffset(rows, 3), std::optional<size_t>(3));
  EXPECT_EQ(draggableOffset(rows, 4), std::nullopt);
  EXPECT_EQ(draggableOffset(rows, -1), std::nullopt);
  EXPECT_EQ(dropOffset(rows, 0), std::nullopt);  // above the pinned row at the top
  EXPECT_EQ(dropOffset(rows, 1), std::optional<size_t>(1));
  EXPECT_EQ(dropOffset(rows, 2), std::optional<size_t>(2));  // beside a pinned row below
  EXPECT_EQ(dropOffset(rows, 4), std::optional<size_t>(4));  // below the last row
  EXPECT_EQ(dropOffset(rows, 5), std::nullopt);
  EXPECT_EQ(dropOffset(rows, -1), std::nullopt);
}

}  // namespace
}  // namespace kestrune
