#include "core/geometry.hpp"

#include <gtest/gtest.h>

namespace kestrune {
namespace {

TEST(Rect, EdgesAndMidpoints) {
  const Rect r{10, 20, 30, 40};
  EXPECT_EQ(r.minX(), 10);
  EXPECT_EQ(r.midX(), 25);
  EXPECT_EQ(r.maxX(), 40);
  EXPECT_EQ(r.minY(), 20);
  EXPECT_EQ(r.midY(), 40);
  EXPECT_EQ(r.maxY(), 60);
  EXPECT_EQ(r.mid(), (Point{25, 40}));
}

TEST(Rect, NegativeSizesAreStandardised) {
  const Rect r{40, 60, -30, -40};
  EXPECT_EQ(r.minX(), 10);
  EXPECT_EQ(r.maxY(), 60);
  EXPECT_EQ(r.standardized(), (Rect{10, 20, 30, 40}));
}

TEST(Rect, ContainsIncludesMinEdgesOnly) {
  const Rect r{0, 0, 10, 10};
  EXPECT_TRUE(r.contains({0, 0}));
  EXPECT_TRUE(r.contains({9.999, 9.999}));
  EXPECT_FALSE(r.contains({10, 5}));
  EXPECT_FALSE(r.contains({5, 10}));
  EXPECT_FALSE(r.contains({-0.001, 5}));
  EXPECT_FALSE((Rect{5, 5, 0, 0}).contains({5, 5}));
}

TEST(Rect, IntersectionNeedsSharedArea) {
  const Rect a{0, 0, 10, 10};
  EXPECT_TRUE(a.intersects({5, 5, 10, 10}));
  EXPECT_EQ(a.intersection({5, 5, 10, 10}), (Rect{5, 5, 5, 5}));
  EXPECT_FALSE(a.intersects({10, 0, 5, 5}));  // touching edges share no area
  EXPECT_EQ(a.intersection({20, 20, 1, 1}), Rect{});
  EXPECT_FALSE(a.intersects({2, 2, 0, 5}));
}

TEST(Rect, InsetShrinksAndNegativeInsetGrows) {
  const Rect r{10, 10, 20, 20};
  EXPECT_EQ(r.insetBy(2, 3), (Rect{12, 13, 16, 14}));
  EXPECT_EQ(r.insetBy(-2, 0), (Rect{8, 10, 24, 20}));
}

TEST(Rect, IntegralRoundsOutward) {
  EXPECT_EQ((Rect{1.2, 2.7, 3.1, 0.2}).integral(), (Rect{1, 2, 4, 1}));
  EXPECT_EQ((Rect{-0.5, 0, 1, 1}).integral(), (Rect{-1, 0, 2, 1}));
  EXPECT_EQ((Rect{2, 3, 4, 5}).integral(), (Rect{2, 3, 4, 5}));
}

TEST(Rect, FlipBetweenTopLeftAndBottomLeftSpaces) {
  // A 24-point menu bar at the top of a 900-point-high primary display.
  const Rect bar{0, 0, 1440, 24};
  EXPECT_EQ(flipVertically(bar, 900), (Rect{0, 876, 1440, 24}));
  EXPECT_EQ(flipVertically(flipVertically(bar, 900), 900), bar);
}

}  // namespace
}  // namespace kestrune
