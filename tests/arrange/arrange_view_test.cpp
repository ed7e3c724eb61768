#include "arrange/arrange_view.hpp"

#include <gtest/gtest.h>

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

// Left to right: items 1, 2, 3, then Kestrune (9) and the clock (10).
const std::vector<ArrangeEntry> kMovable{entry(1), entry(2), entry(3)};
const std::vector<ArrangeEntry> kPinned{entry(9, ArrangeEntry::Kind::ownIcon),
                                        entry(10, ArrangeEntry::Kind::fixed)};

TEST(ArrangeViewTest, DraggingTheTopMovableRowToTheBottomMakesItTheLeftmost) {
  // Displayed right to left: 3, 2, 1. Row 0 (item 3) goes below the last.
  EXPECT_EQ(ids(moveRows(kMovable, kPinned, {0}, 3)), (std::vector<uint32_t>{3, 1, 2, 9, 10}));
}

TEST(ArrangeViewTest, DraggingTheBottomRowToTheTopMakesItTheRightmostMovable) {
  EXPECT_EQ(ids(moveRows(kMovable, kPinned, {2}, 0)), (std::vector<uint32_t>{2, 3, 1, 9, 10}));
}

TEST(ArrangeViewTest, AMoveOntoItsOwnPlaceChangesNothing) {
  EXPECT_EQ(ids(moveRows(kMovable, kPinned, {1}, 1)), (std::vector<uint32_t>{1, 2, 3, 9, 10}));
  EXPECT_EQ(ids(moveRows(kMovable, kPinned, {1}, 2)), (std::vector<uint32_t>{1, 2, 3, 9, 10}));
}

TEST(ArrangeViewTest, SeveralRowsMoveTogetherInTheirOrder) {
  // Rows 0 and 2 (items 3 and 1) go to the bottom: display 2, 3, 1.
  EXPECT_EQ(ids(moveRows(kMovable, kPinned, {0, 2}, 3)), (std::vector<uint32_t>{1, 3, 2, 9, 10}));
}

TEST(ArrangeViewTest, PinnedEntriesAlwaysEndTheEditedOrder) {
  for (size_t from = 0; from < kMovable.size(); ++from) {
    for (size_t to = 0; to <= kMovable.size(); ++to) {
      const auto result = moveRows(kMovable, kPinned, {from}, to);
      ASSERT_EQ(result.size(), 5U);
      EXPECT_EQ(result[3].id, 9U);
      EXPECT_EQ(result[4].id, 10U);
    }
  }
}

}  // namespace
}  // namespace kestrune
