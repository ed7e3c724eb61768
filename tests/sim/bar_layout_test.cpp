#include "sim/bar_layout.hpp"

#include <gtest/gtest.h>

namespace kestrune::sim {
namespace {

BarGeometry display(double width, std::optional<double> notch, double menus, bool modern) {
  BarGeometry g;
  g.screenWidth = width;
  g.barHeight = notch ? 37 : 24;
  g.notchWidth = notch;
  g.appMenusWidth = menus;
  g.rightMargin = 8;
  g.overflowButtonWidth = 24;
  g.modern = modern;
  return g;
}

TEST(BarLayout, ItemsPackFromTheRightEdgeWhenEverythingFits) {
  const auto plan = layOutBar(display(1440, std::nullopt, 300, false), {100, 30, 40});
  ASSERT_EQ(plan.items.size(), 3U);
  EXPECT_EQ(plan.items[0].frame, (Rect{1332, 0, 100, 24}));
  EXPECT_EQ(plan.items[1].frame, (Rect{1302, 0, 30, 24}));
  EXPECT_EQ(plan.items[2].frame, (Rect{1262, 0, 40, 24}));
  for (const auto& i : plan.items) EXPECT_TRUE(i.isDrawn());
  EXPECT_EQ(plan.overflowButton, std::nullopt);
}

TEST(BarLayout, LegacyItemsThatReachTheNotchAreHiddenBehindIt) {
  // Notch from 661 to 851; room right of it: 851 to 1504.
  const auto g = display(1512, 190, 330, false);
  EXPECT_EQ(g.leftLimit(), 851);
  std::vector<double> widths(25, 30);  // 21 fit in 653 points
  const auto plan = layOutBar(g, widths);
  for (size_t i = 0; i < widths.size(); ++i) {
    EXPECT_EQ(plan.items[i].isDrawn(), i < 21) << i;
    if (i >= 21) {
      EXPECT_EQ(plan.items[i].placement, Placement::behindNotch);
    }
  }
  EXPECT_GE(plan.items[20].frame.minX(), 851);
  // Hidden items keep going leftward, under the notch.
  EXPECT_EQ(plan.items[21].frame.maxX(), plan.items[20].frame.minX());
  EXPECT_LT(plan.items[21].frame.minX(), 851);
  EXPECT_EQ(plan.overflowButton, std::nullopt);
}

TEST(BarLayout, OnceOneItemIsHiddenAllFurtherLeftAreToo) {
  const auto plan = layOutBar(display(1512, 190, 330, false), {600, 100, 10});
  EXPECT_TRUE(plan.items[0].isDrawn());
  EXPECT_FALSE(plan.items[1].isDrawn());
  EXPECT_FALSE(plan.items[2].isDrawn());  // would fit, but macOS does not skip
}

TEST(BarLayout, WithoutANotchTheAppMenusHideItems) {
  const auto plan = layOutBar(display(1000, std::nullopt, 900, false), {50, 50, 50});
  EXPECT_TRUE(plan.items[0].isDrawn());
  EXPECT_EQ(plan.items[1].placement, Placement::underAppMenus);
  EXPECT_EQ(plan.items[2].placement, Placement::underAppMenus);
}

TEST(BarLayout, AppMenusLongerThanTheLeftSideSpillPastTheNotch) {
  const auto g = display(1512, 190, 700, false);
  EXPECT_EQ(g.leftLimit(), 851 + (700 - 661));
  const auto plan = layOutBar(g, {300, 300, 100});
  EXPECT_TRUE(plan.items[1].isDrawn());
  EXPECT_EQ(plan.items[2].placement, Placement::underAppMenus);
}

TEST(BarLayout, ModernBarPutsHiddenItemsInTheOverflowBehindAButton) {
  const auto g = display(1512, 190, 330, true);
  std::vector<double> widths(25, 30);
  const auto plan = layOutBar(g, widths);
  // 21 items fit alone; the button and its air (4 points each side) take
  // the room of one.
  size_t drawn = 0;
  for (const auto& i : plan.items) drawn += i.isDrawn() ? 1 : 0;
  EXPECT_EQ(drawn, 20U);
  ASSERT_TRUE(plan.overflowButton);
  EXPECT_EQ(plan.overflowButton->maxX() + 4, plan.items[19].frame.minX());
  EXPECT_EQ(plan.overflowButton->width(), 24);
  EXPECT_GE(plan.overflowButton->minX() - 4, 851);
  EXPECT_EQ(plan.items[20].placement, Placement::inOverflow);
  EXPECT_EQ(plan.items[20].frame.maxX() + 4, plan.overflowButton->minX());
}

TEST(BarLayout, ModernBarWithRoomForEverythingHasNoButton) {
  const auto plan = layOutBar(display(1512, 190, 330, true), {30, 30});
  EXPECT_EQ(plan.overflowButton, std::nullopt);
  EXPECT_TRUE(plan.items[1].isDrawn());
}

TEST(BarLayout, SpacingSeparatesItems) {
  auto g = display(1440, std::nullopt, 0, false);
  g.itemSpacing = 4;
  const auto plan = layOutBar(g, {30, 30});
  EXPECT_EQ(plan.items[0].frame.minX() - plan.items[1].frame.maxX(), 4);
}

}  // namespace
}  // namespace kestrune::sim
