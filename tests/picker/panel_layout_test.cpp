#include "picker/panel_layout.hpp"

#include <gtest/gtest.h>

#include "core/virtual_executors.hpp"

namespace kestrune {
namespace {

// A 14-inch laptop display: 1512 × 982 points, a 37-point menu bar, a
// 150-point notch in the middle of it and the Dock at the bottom.
ScreenInfo notchedScreen() {
  ScreenInfo s;
  s.frame = Rect{0, 0, 1512, 982};
  s.visibleFrame = Rect{0, 70, 1512, 875};
  s.safeAreaInsets.top = 32;
  s.auxiliaryTopLeftArea = Rect{0, 945, 681, 37};
  s.auxiliaryTopRightArea = Rect{831, 945, 681, 37};
  s.backingScaleFactor = 2;
  return s;
}

// A plain display with a 24-point menu bar, `x` points right of the primary.
ScreenInfo plainScreen(double x = 0) {
  ScreenInfo s;
  s.frame = Rect{x, 0, 1440, 900};
  s.visibleFrame = Rect{x, 0, 1440, 876};
  return s;
}

constexpr double kThickness = 24;
constexpr Size kPanel{300, 200};

Rect frameFor(Rect anchor, const ScreenInfo& screen) {
  auto frame = panelFrame(anchor, kPanel, {screen}, screen, kThickness);
  EXPECT_TRUE(frame.has_value());
  return frame.value_or(Rect{});
}

TEST(PanelLayoutTest, EscapeClosesThePanelAndIsSwallowedOtherKeysPass) {
  EXPECT_EQ(onKeyDown(53), (KeyDecision{true, true}));
  for (int key : {0, 17, 36, 48, 49, 51, 123, 126}) {
    const auto decision = onKeyDown(key);
    EXPECT_FALSE(decision.hidesPanel) << key;
    EXPECT_FALSE(decision.swallowsEvent) << key;
  }
}

TEST(PanelLayoutTest, MouseDownInsideTheAnchorKeepsThePanelOutsideClosesIt) {
  const Rect anchor{1200, 945, 30, 37};
  EXPECT_FALSE(closesOnMouseDown({1215, 960}, anchor));
  EXPECT_FALSE(closesOnMouseDown({1200, 945}, anchor));
  EXPECT_TRUE(closesOnMouseDown({1100, 960}, anchor));
  EXPECT_TRUE(closesOnMouseDown({1215, 500}, anchor));
}

TEST(PanelLayoutTest, LosingKeyAwayFromTheAnchorClosesAVisiblePanel) {
  const Rect anchor{1200, 945, 30, 37};
  EXPECT_TRUE(closesOnResignKey(true, {100, 100}, anchor));
  EXPECT_FALSE(closesOnResignKey(true, {1210, 950}, anchor));
  EXPECT_FALSE(closesOnResignKey(false, {100, 100}, anchor));
}

TEST(PanelLayoutTest, AnchorLeftOfTheNotchPutsThePanelAtTheRightEdgeSixPointsIn) {
  const ScreenInfo screen = notchedScreen();
  const Rect frame = frameFor(Rect{600, 945, 30, 37}, screen);
  EXPECT_EQ(frame.maxX(), 1512 - 6);
  EXPECT_EQ(frame.origin.x, 1512 - 6 - 300);
  EXPECT_EQ(frame.size, kPanel);
}

TEST(PanelLayoutTest, AnchorRightOfTheNotchAlignsRightEdges) {
  const ScreenInfo screen = notchedScreen();
  const Rect frame = frameFor(Rect{1000, 945, 30, 37}, screen);
  EXPECT_EQ(frame.maxX(), 1030);
}

TEST(PanelLayoutTest, WithoutANotchRightEdgesMeetButStaySixPointsFromTheEdges) {
  const ScreenInfo screen = plainScreen();
  EXPECT_EQ(frameFor(Rect{1000, 876, 30, 24}, screen).maxX(), 1030);
  // Near the right edge: kept 6 points in.
  EXPECT_EQ(frameFor(Rect{1415, 876, 24, 24}, screen).maxX(), 1440 - 6);
  // Near the left edge: kept 6 points in.
  EXPECT_EQ(frameFor(Rect{10, 876, 30, 24}, screen).origin.x, 6);
  // The visible frame's own left edge counts, on a screen right of the
  // primary.
  const ScreenInfo second = plainScreen(1440);
  EXPECT_EQ(frameFor(Rect{1450, 876, 30, 24}, second).origin.x, 1446);
}

TEST(PanelLayoutTest, TopIsSixPointsBelowTheLowerOfAnchorAndMenuBar) {
  // The anchor's bottom is the lower one.
  EXPECT_EQ(frameFor(Rect{1000, 850, 30, 24}, plainScreen()).maxY(), 850 - 6);
  // The menu bar's bottom (the status bar thickness) is the lower one.
  EXPECT_EQ(frameFor(Rect{1000, 880, 30, 20}, plainScreen()).maxY(), 900 - 24 - 6);
  // Beside a notch the camera housing's inset, not the thickness, sets the
  // menu bar's bottom.
  EXPECT_EQ(frameFor(Rect{1000, 960, 30, 22}, notchedScreen()).maxY(), 982 - 32 - 6);
  EXPECT_EQ(frameFor(Rect{1000, 945, 30, 37}, notchedScreen()).maxY(), 945 - 6);
  EXPECT_EQ(frameFor(Rect{1000, 945, 30, 37}, notchedScreen()).origin.y, 945 - 6 - 200);
}

TEST(PanelLayoutTest, ScreenIsTheOneUnderTheAnchorElseMainElseFirst) {
  const ScreenInfo left = plainScreen();
  const ScreenInfo right = plainScreen(1440);
  const Rect onRight{2000, 876, 30, 24};
  auto frame = panelFrame(onRight, kPanel, {left, right}, left, kThickness);
  ASSERT_TRUE(frame.has_value());
  EXPECT_EQ(frame->maxX(), 2030);
  // An anchor on no screen: the main screen's edges clamp it.
  const Rect nowhere{5000, 5000, 30, 24};
  frame = panelFrame(nowhere, kPanel, {left, right}, right, kThickness);
  ASSERT_TRUE(frame.has_value());
  EXPECT_EQ(frame->maxX(), 2880 - 6);
  // No main screen: the first one.
  frame = panelFrame(nowhere, kPanel, {left, right}, std::nullopt, kThickness);
  ASSERT_TRUE(frame.has_value());
  EXPECT_EQ(frame->maxX(), 1440 - 6);
  EXPECT_FALSE(panelFrame(nowhere, kPanel, {}, std::nullopt, kThickness).has_value());
}

TEST(PanelLayoutTest, ContentWithoutPositiveSizeLeavesTheFrameAlone) {
  const ScreenInfo screen = plainScreen();
  const Rect anchor{1000, 876, 30, 24};
  EXPECT_FALSE(panelFrame(anchor, {0, 200}, {screen}, screen, kThickness).has_value());
  EXPECT_FALSE(panelFrame(anchor, {300, 0}, {screen}, screen, kThickness).has_value());
  EXPECT_FALSE(panelFrame(anchor, {-1, 200}, {screen}, screen, kThickness).has_value());
}

TEST(PanelLayoutTest, AppearanceKeepsCapturedGlyphsReadable) {
  EXPECT_EQ(appearanceFor(std::nullopt, true), PanelAppearance::system);
  EXPECT_EQ(appearanceFor(true, false), PanelAppearance::system);
  EXPECT_EQ(appearanceFor(false, false), PanelAppearance::system);
  EXPECT_EQ(appearanceFor(true, true), PanelAppearance::dark);
  EXPECT_EQ(appearanceFor(false, true), PanelAppearance::light);
}

MenuBarItem item(bool owned) {
  MenuBarItem i;
  i.windowID = 42;
  if (owned) i.owner = ItemOwner{};
  return i;
}

TEST(PanelLayoutTest, ClickingACellWithoutOwnerOnlyClosesThePanel) {
  VirtualExecutors ex;
  int hides = 0;
  int presses = 0;
  activateItem(
      item(false), ex.main(), [&] { ++hides; }, [&](const MenuBarItem&) { ++presses; });
  EXPECT_EQ(hides, 1);
  ex.advance(seconds(1));
  ex.runUntilIdle();
  EXPECT_EQ(presses, 0);
}

TEST(PanelLayoutTest, ClickingAnOwnedCellHidesThenPressesAfterTheDelay) {
  VirtualExecutors ex;
  int hides = 0;
  std::vector<uint32_t> pressed;
  activateItem(
      item(true), ex.main(), [&] { ++hides; },
      [&](const MenuBarItem& i) {
        EXPECT_EQ(hides, 1);  // the panel is gone first
        pressed.push_back(i.windowID);
      });
  EXPECT_EQ(hides, 1);
  ex.runUntilIdle();
  ex.advance(std::chrono::milliseconds(49));
  EXPECT_TRUE(pressed.empty());
  ex.advance(std::chrono::milliseconds(1));
  EXPECT_EQ(pressed, (std::vector<uint32_t>{42}));
}

TEST(PanelLayoutTest, WindowConstants) {
  EXPECT_EQ(PanelStyle::kContentRect, (Rect{0, 0, 460, 100}));
  EXPECT_EQ(PanelStyle::kWindowLevel, 101);
  EXPECT_EQ(PanelStyle::kCornerRadius, 12);
  EXPECT_EQ(PanelStyle::kBorderWidth, 0.5);
  EXPECT_EQ(PanelStyle::kSeparatorAlpha, 0.6);
  EXPECT_EQ(PanelStyle::kRefreshInterval, seconds(1.5));
  EXPECT_EQ(PanelStyle::kActivationDelay, seconds(0.05));
}

}  // namespace
}  // namespace kestrune
