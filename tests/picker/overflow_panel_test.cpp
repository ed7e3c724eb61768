#include "picker/overflow_panel.hpp"

#include <gtest/gtest.h>

#include <sstream>

#include "core/virtual_executors.hpp"
#include "picker/panel_layout.hpp"
#include "settings/diag.hpp"
#include "sim/picker_stack.hpp"
#include "sim/sim_mac.hpp"
#include "support/scenarios.hpp"
#include "support/sim_picker.hpp"

namespace kestrune {
namespace {

using testing::app;
using testing::item;

// A window that records what the panel does with it, and lets a test play
// the user's mouse and keys through the monitors.
struct FakePanelWindow final : PanelWindow {
  Size fitting{300, 120};
  Point mouse{0, 0};
  bool visible = false;
  int frames = 0;
  Rect lastFrame;
  std::function<void()> onMouseDown;
  std::function<bool(int)> onKeyDown;
  std::function<void()> onResignKey;
  std::optional<OverflowViewModel> content;
  OverflowViewActions actions;

  void setContent(const OverflowViewModel& view, const OverflowViewActions& a) override {
    content = view;
    actions = a;
  }
  void setResignKeyHandler(std::function<void()> h) override { onResignKey = std::move(h); }
  Size fittingSize() override { return fitting; }
  void setAppearance(PanelAppearance) override {}
  void setFrame(const Rect& f) override {
    ++frames;
    lastFrame = f;
  }
  Rect frame() override { return lastFrame; }
  void showAndMakeKey() override { visible = true; }
  void orderOut() override { visible = false; }
  bool isVisible() override { return visible; }
  Point mouseLocation() override { return mouse; }
  std::optional<Subscription> addGlobalMouseDownMonitor(std::function<void()> h) override {
    onMouseDown = std::move(h);
    return Subscription([this] { onMouseDown = nullptr; });
  }
  std::optional<Subscription> addLocalKeyDownMonitor(std::function<bool(int)> h) override {
    onKeyDown = std::move(h);
    return Subscription([this] { onKeyDown = nullptr; });
  }
};

class OverflowPanelTest : public testing::SimPicker {
 protected:
  OverflowPanelTest() {
    auto mute = app(403, "com.example.mute", "Mute", {item("mute", 30)});
    mute.accessibility = sim::AXMode::never;
    make(testing::scenario(15, 1440, std::nullopt, 300,
                           {app(401, "com.example.tool", "Tool", {item("tool", 30)}), mute}));
    panel_ = OverflowPanel::create(
        model_, *store_, layout_->isModern(), mac_->platform(), window_,
        {[this](const MenuBarItem& i) { pressed_.push_back(i); }, [this] { ++requests_; }});
    model_->sweep(true);
    ex_.advance(seconds(3));
  }
  // The status item's frame, in AppKit space: top right of a 900-point screen.
  static constexpr Rect kAnchor{1380, 876, 24, 24};
  const MenuBarItem& itemNamed(const std::string& owner) {
    for (const auto& i : model_->items.get()) {
      if ((i.owner ? i.owner->name : "") == owner) return i;
    }
    throw std::runtime_error("no item of " + owner);
  }

  FakePanelWindow window_;
  std::shared_ptr<OverflowPanel> panel_;
  std::vector<MenuBarItem> pressed_;
  int requests_ = 0;
};

TEST_F(OverflowPanelTest, ShowingPlacesThePanelUnderTheAnchorAndMakesItKey) {
  panel_->show(kAnchor);
  EXPECT_TRUE(window_.visible);
  EXPECT_TRUE(panel_->isShown());
  // Right edges aligned; 6 points below the bar's bottom (900 − 24).
  EXPECT_EQ(window_.lastFrame, (Rect{1404 - 300, 876 - 6 - 120, 300, 120}));
}

TEST_F(OverflowPanelTest, EscapeClosesAndIsSwallowedOtherKeysPass) {
  panel_->show(kAnchor);
  ASSERT_TRUE(window_.onKeyDown);
  EXPECT_FALSE(window_.onKeyDown(0));  // "a": reaches the view
  EXPECT_TRUE(window_.visible);
  EXPECT_TRUE(window_.onKeyDown(53));
  EXPECT_FALSE(window_.visible);
  EXPECT_FALSE(window_.onKeyDown);  // the monitor is gone
}

TEST_F(OverflowPanelTest, ClickInsideTheAnchorKeepsThePanelOutsideClosesIt) {
  panel_->show(kAnchor);
  window_.mouse = {1390, 885};
  window_.onMouseDown();
  EXPECT_TRUE(window_.visible);
  window_.mouse = {700, 400};
  window_.onMouseDown();
  EXPECT_FALSE(window_.visible);
  EXPECT_FALSE(panel_->isShown());
}

TEST_F(OverflowPanelTest, RefreshesEveryOneAndAHalfSecondsWhileShownAndRefitsOnChanges) {
  panel_->show(kAnchor);
  const int afterShow = window_.frames;
  ex_.advance(seconds(1.5));  // a refresh publishes the items: the panel re-fits
  EXPECT_GT(window_.frames, afterShow);
  panel_->hide();
  const int afterHide = window_.frames;
  ex_.advance(seconds(10));
  EXPECT_EQ(window_.frames, afterHide);
}

TEST_F(OverflowPanelTest, CellWithoutOwnerOnlyClosesThePanel) {
  panel_->show(kAnchor);
  const MenuBarItem mute = itemNamed("");
  ASSERT_FALSE(mute.owner);
  panel_->activate(mute);
  EXPECT_FALSE(window_.visible);
  ex_.advance(seconds(1));
  EXPECT_TRUE(pressed_.empty());
}

TEST_F(OverflowPanelTest, CellWithOwnerIsPressedAFewHundredthsLater) {
  panel_->show(kAnchor);
  panel_->activate(itemNamed("Tool"));
  EXPECT_FALSE(window_.visible);
  ex_.advance(seconds(0.04));
  EXPECT_TRUE(pressed_.empty());
  ex_.advance(seconds(0.01));
  ASSERT_EQ(pressed_.size(), 1U);
  EXPECT_EQ(pressed_[0].owner->name, "Tool");
}

TEST_F(OverflowPanelTest, LosingKeyStatusAwayFromTheAnchorCloses) {
  panel_->show(kAnchor);
  window_.mouse = {1390, 885};
  panel_->resignKey();
  EXPECT_TRUE(window_.visible);
  window_.mouse = {10, 10};
  window_.onResignKey();  // as the window reports it
  EXPECT_FALSE(window_.visible);
}

TEST_F(OverflowPanelTest, ShowsTheViewOfTheModelAndItsClicksReachThePanel) {
  panel_->show(kAnchor);
  ASSERT_TRUE(window_.content && window_.content->grid);
  const auto& cells = window_.content->grid->cells;
  const auto tool =
      std::find_if(cells.begin(), cells.end(), [](const ItemCell& c) { return c.label == "Tool"; });
  ASSERT_NE(tool, cells.end());
  EXPECT_TRUE(clickCell(*tool, window_.actions));
  EXPECT_FALSE(window_.visible);
  ex_.advance(seconds(0.05));
  ASSERT_EQ(pressed_.size(), 1U);
  EXPECT_EQ(pressed_[0].windowID, tool->windowID);
}

TEST_F(OverflowPanelTest, TheHintHidesThenAsksForScreenRecording) {
  panel_->show(kAnchor);
  window_.actions.onRequestScreenRecording();
  EXPECT_FALSE(window_.visible);
  EXPECT_EQ(requests_, 1);
}

TEST_F(OverflowPanelTest, SettingsHidesThenOpensTheSettingsWhenSomeoneLeadsThere) {
  panel_->show(kAnchor);
  window_.actions.onOpenSettings();  // nowhere to go yet: only hides
  EXPECT_FALSE(window_.visible);
  int opened = 0;
  panel_->openSettings = [&] { ++opened; };
  panel_->show(kAnchor);
  window_.actions.onOpenSettings();
  EXPECT_FALSE(window_.visible);
  EXPECT_EQ(opened, 1);
}

TEST_F(OverflowPanelTest, ASettingsChangeWhileShownRedrawsTheView) {
  panel_->show(kAnchor);
  ASSERT_TRUE(window_.content && window_.content->grid);
  ASSERT_TRUE(window_.content->grid->cells.front().showLabel);
  store_->set(&Settings::showLabels, false);
  ex_.runUntilIdle();
  ASSERT_TRUE(window_.content->grid);
  EXPECT_FALSE(window_.content->grid->cells.front().showLabel);
}

}  // namespace
}  // namespace kestrune
