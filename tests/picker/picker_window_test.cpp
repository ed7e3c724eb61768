// The picker's panel on the simulated Mac: the window, the user's clicks and
// keys around it, and the pictures drawn of it.
#include <gtest/gtest.h>

#include <cmath>

#include "core/virtual_executors.hpp"
#include "discovery/activator.hpp"
#include "picker/overflow_panel.hpp"
#include "picker/panel_layout.hpp"
#include "sim/builtin_scenarios.hpp"
#include "sim/picker_renderer.hpp"
#include "sim/sim_panel_window.hpp"
#include "support/sim_picker.hpp"

namespace kestrune {
namespace {

class PickerWindowTest : public testing::SimPicker {
 protected:
  void SetUp() override {
    make(sim::parseScenario(sim::builtinScenario("laptop14-macos15")->json));
    window_ = std::make_unique<sim::SimPanelWindow>(mac_->world());
    activator_ = std::make_unique<Activator>(mac_->platform(), layout_->isModern());
    panel_ = OverflowPanel::create(model_, *store_, layout_->isModern(), mac_->platform(), *window_,
                                   {[this](const MenuBarItem& i) { activator_->press(i); },
                                    [this] { ++screenRecordingRequests_; }});
    model_->startWarming();
    ex_.advance(seconds(10));
  }

  // Kestrune's own status item, right of the notch, in AppKit's space.
  Rect ownItem() {
    for (const auto& item : mac_->world().statusItems()) {
      if (item.pid == mac_->world().scenario().ownPID) {
        return flipVertically(item.placed.frame, screenHeight());
      }
    }
    throw std::runtime_error("no own item");
  }
  double screenHeight() { return mac_->world().mainDisplay().frame.height(); }
  // The centre of a cell in AppKit's screen space.
  Point cellCentre(size_t index) {
    const Rect cell = window_->geometry().cells.at(index).frame;
    const Rect frame = window_->frame();
    return {frame.minX() + cell.midX(), frame.maxY() - cell.midY()};
  }
  size_t cellNamed(const std::string& label) {
    const auto& cells = window_->content()->grid->cells;
    for (size_t i = 0; i < cells.size(); ++i) {
      if (cells[i].label == label) return i;
    }
    throw std::runtime_error("no cell " + label);
  }
  int accessibilityReads() {
    int reads = 0;
    for (const auto& app : mac_->world().apps()) reads += mac_->world().readCount(app.pid);
    return reads;
  }

  std::unique_ptr<sim::SimPanelWindow> window_;
  std::unique_ptr<Activator> activator_;
  std::shared_ptr<OverflowPanel> panel_;
  int screenRecordingRequests_ = 0;
};

TEST_F(PickerWindowTest, TheWindowIsCreatedAsAFloatingNonActivatingPopover) {
  const PanelWindowSetup& setup = window_->setup();
  EXPECT_EQ(setup.contentRect, (Rect{0, 0, 460, 100}));
  EXPECT_TRUE(setup.nonActivating && setup.fullSizeContentView && setup.floating);
  EXPECT_EQ(setup.level, 101);
  EXPECT_FALSE(setup.hidesOnDeactivate || setup.releasedWhenClosed || setup.opaque);
  EXPECT_TRUE(setup.joinsAllSpaces && setup.transient && setup.ignoresWindowCycling);
  EXPECT_TRUE(setup.clearBackground && setup.hasShadow && setup.utilityAnimation);
  EXPECT_TRUE(setup.popoverMaterial && setup.continuousCorners);
  EXPECT_EQ(setup.cornerRadius, 12);
  EXPECT_EQ(setup.borderWidth, 0.5);
  EXPECT_EQ(setup.borderSeparatorAlpha, 0.6);
}

TEST_F(PickerWindowTest, OpensUnderItsStatusItemRightEdgesAlignedSixPointsBelowTheBar) {
  const Rect anchor = ownItem();
  panel_->show(anchor);
  ASSERT_TRUE(window_->isVisible() && window_->isKey());
  const Rect frame = window_->frame();
  EXPECT_EQ(frame.size, window_->geometry().size);
  EXPECT_EQ(frame.maxX(), anchor.maxX());  // right of the notch
  // The safe-area inset is the bar's height: its bottom is the anchor's.
  EXPECT_EQ(frame.maxY(), anchor.minY() - 6);
}

TEST_F(PickerWindowTest, AnAnchorLeftOfTheNotchPutsThePanelSixPointsInFromTheRight) {
  const double bar = mac_->world().mainDisplay().menuBarHeight;
  panel_->show(Rect{400, screenHeight() - bar, 30, bar});
  const Rect frame = window_->frame();
  EXPECT_EQ(frame.maxX(), mac_->world().mainDisplay().frame.width() - 6);
  EXPECT_EQ(frame.maxY(), screenHeight() - bar - 6);
}

TEST_F(PickerWindowTest, OpeningMakesNoAccessibilityCallOnTheMainThread) {
  const int before = accessibilityReads();
  panel_->show(ownItem());  // work it starts elsewhere runs after this returns
  EXPECT_EQ(accessibilityReads(), before);
  ASSERT_TRUE(window_->content()->grid);
  EXPECT_EQ(window_->content()->grid->cells.size(), model_->listedItems().size());
}

TEST_F(PickerWindowTest, EscapeClosesAndNeverReachesTheViewOtherKeysDo) {
  panel_->show(ownItem());
  window_->pressKey(0);   // "a"
  window_->pressKey(36);  // Return
  EXPECT_TRUE(window_->isVisible());
  window_->pressKey(53);
  EXPECT_FALSE(window_->isVisible());
  EXPECT_EQ(window_->deliveredKeys(), (std::vector<int>{0, 36}));
  EXPECT_EQ(window_->monitorCount(), 0U);
}

TEST_F(PickerWindowTest, AClickOnTheStatusItemKeepsThePanelAClickElsewhereClosesIt) {
  const Rect anchor = ownItem();
  panel_->show(anchor);
  window_->click(anchor.mid());
  EXPECT_TRUE(window_->isVisible());
  window_->click({200, 300});
  EXPECT_FALSE(window_->isVisible());
  EXPECT_FALSE(panel_->isShown());
}

TEST_F(PickerWindowTest, ClickingAHiddenItemsCellOpensItsMenuAfterThePanelCloses) {
  panel_->show(ownItem());
  window_->click(cellCentre(cellNamed("Raycast")));
  EXPECT_FALSE(window_->isVisible());
  EXPECT_TRUE(mac_->world().presses().empty());
  ex_.advance(seconds(1));
  const auto menu = mac_->world().openMenu();
  ASSERT_TRUE(menu);
  EXPECT_EQ(menu->key, "raycast");
}

TEST_F(PickerWindowTest, ADimmedCellCannotBeClicked) {
  panel_->show(ownItem());
  const size_t dimmed = cellNamed("Menu bar item");
  ASSERT_FALSE(window_->content()->grid->cells[dimmed].enabled);
  window_->click(cellCentre(dimmed));
  ex_.advance(seconds(1));
  EXPECT_TRUE(window_->isVisible());
  EXPECT_TRUE(mac_->world().presses().empty());
}

TEST_F(PickerWindowTest, TheHintAndTheFooterCloseThePanelAndLeadOn) {
  mac_->world().revokeScreenRecording();
  store_->set(&Settings::liveIcons, true);
  ex_.advance(seconds(5));
  panel_->show(ownItem());
  ex_.runUntilIdle();
  const auto& g = window_->geometry();
  ASSERT_TRUE(g.hint);
  const Rect frame = window_->frame();
  window_->click({frame.minX() + g.hint->midX(), frame.maxY() - g.hint->midY()});
  EXPECT_FALSE(window_->isVisible());
  EXPECT_EQ(screenRecordingRequests_, 1);

  int settingsOpened = 0;
  panel_->openSettings = [&] { ++settingsOpened; };
  panel_->show(ownItem());
  window_->click({frame.minX() + g.footer.midX(), frame.maxY() - g.footer.midY()});
  EXPECT_FALSE(window_->isVisible());
  EXPECT_EQ(settingsOpened, 1);
}

TEST_F(PickerWindowTest, HoverFollowsThePointer) {
  panel_->show(ownItem());
  window_->movePointer(cellCentre(2));
  EXPECT_EQ(window_->hoveredCell(), 2U);
  window_->movePointer({5, 5});
  EXPECT_FALSE(window_->hoveredCell());
}

// The open panel refreshes every 1.5 s; while the bar stays as it is, its
// views are not built again, so the pointer's highlight, tooltips and
// VoiceOver's focus stay put. A change that shows rebuilds them once.
TEST_F(PickerWindowTest, ARefreshThatChangesNothingRebuildsNothing) {
  panel_->show(ownItem());
  ex_.advance(seconds(2));
  const int settled = window_->rebuilds();
  ASSERT_GE(settled, 1);
  ex_.advance(seconds(20));  // thirteen refreshes and the model's own ticks
  EXPECT_EQ(window_->rebuilds(), settled);
  store_->set(&Settings::showLabels, false);
  ex_.advance(seconds(3));
  EXPECT_EQ(window_->rebuilds(), settled + 1);
}

TEST_F(PickerWindowTest, TheLabelsSettingReshapesTheOpenPanel) {
  panel_->show(ownItem());
  const double withLabels = window_->frame().height();
  store_->set(&Settings::showLabels, false);
  ex_.runUntilIdle();
  EXPECT_LT(window_->frame().height(), withLabels);
  EXPECT_FALSE(window_->geometry().cells.front().label);
}

// Pictures: checked by pixels whose value follows from what was drawn.
class PickerPictureTest : public PickerWindowTest {
 protected:
  static constexpr double kScale = 2;
  Bitmap render() {
    const sim::PickerPicture picture{
        *window_->content(), window_->geometry(), window_->setup(), false, std::nullopt, false};
    return sim::renderPicker(picture, kScale);
  }
  // B, G, R, A at a point of the panel.
  static std::array<int, 4> at(const Bitmap& b, Point p) {
    const uint8_t* px = b.pixel(static_cast<int>(p.x * kScale), static_cast<int>(p.y * kScale));
    return {px[0], px[1], px[2], px[3]};
  }
  static int ink(const Bitmap& b, const Rect& r, std::array<int, 4> background) {
    int count = 0;
    for (double y = r.minY(); y < r.maxY(); y += 0.5) {
      for (double x = r.minX(); x < r.maxX(); x += 0.5) {
        const auto p = at(b, {x, y});
        if (std::abs(p[0] - background[0]) + std::abs(p[1] - background[1]) > 60) ++count;
      }
    }
    return count;
  }
};

TEST_F(PickerPictureTest, RoundedCornersAreTransparentTheBodyOpaque) {
  panel_->show(ownItem());
  const Bitmap b = render();
  EXPECT_EQ(b.width, 460 * 2);
  EXPECT_EQ(at(b, {0.5, 0.5})[3], 0);
  EXPECT_GE(at(b, {230, 5})[3], 240);
}

TEST_F(PickerPictureTest, ADimmedCellHasNoHoverHighlight) {
  panel_->show(ownItem());
  const auto drawnWithPointerOn = [&](size_t cell) {
    const sim::PickerPicture picture{
        *window_->content(), window_->geometry(), window_->setup(), false, cell, false};
    return sim::renderPicker(picture, kScale).data;
  };
  const auto resting = render().data;
  const size_t dimmed = cellNamed("Menu bar item");
  EXPECT_EQ(drawnWithPointerOn(dimmed), resting);
  EXPECT_NE(drawnWithPointerOn(dimmed == 0 ? 1 : 0), resting);
}

TEST_F(PickerPictureTest, ADimmedCellIsDrawnAtHalfStrength) {
  panel_->show(ownItem());
  const size_t cell = cellNamed("Raycast");  // an app icon tile
  const Point centre = window_->geometry().cells[cell].iconArea.mid();
  const auto background = at(render(), {3, window_->geometry().cells[cell].frame.midY()});
  const auto full = at(render(), centre);
  // The same cell as if its item had no owner.
  auto dimmed = *window_->content();
  dimmed.grid->cells[cell].opacity = PickerStyle::kDisabledOpacity;
  const sim::PickerPicture picture{dimmed, window_->geometry(), window_->setup(),
                                   false,  std::nullopt,        false};
  const auto half = at(sim::renderPicker(picture, kScale), centre);
  for (int channel = 0; channel < 3; ++channel) {
    const double expected = (full[channel] + background[channel]) / 2.0;
    EXPECT_NEAR(half[channel], expected, 3) << "channel " << channel;
  }
}

TEST_F(PickerPictureTest, LabelsAreDrawnOnlyWhenShown) {
  panel_->show(ownItem());
  const auto label = *window_->geometry().cells.front().label;
  const Bitmap with = render();
  const auto background = at(with, {3, label.midY()});
  EXPECT_GT(ink(with, label, background), 10);
  store_->set(&Settings::showLabels, false);
  ex_.runUntilIdle();
  const Bitmap without = render();
  EXPECT_EQ(ink(without, label, background), 0);
}

TEST_F(PickerPictureTest, TheMenuBarPictureShowsTheNotchAndTheDrawnItems) {
  const Bitmap bar = sim::renderMenuBar(mac_->world());
  const auto& display = mac_->world().mainDisplay();
  EXPECT_EQ(bar.width, static_cast<int>(display.frame.width() * display.scale));
  const auto notch = mac_->world().geometry().notchEdges();
  ASSERT_TRUE(notch);
  const double notchMid = (notch->first + notch->second) / 2;
  const uint8_t* black = bar.pixel(static_cast<int>(notchMid * display.scale), 10);
  EXPECT_EQ(black[0] + black[1] + black[2], 0);
  for (const auto& item : mac_->world().statusItems()) {
    if (!item.placed.isDrawn()) continue;
    int darkPixels = 0;
    for (double x = item.placed.frame.minX(); x < item.placed.frame.maxX(); x += 0.5) {
      const uint8_t* p = bar.pixel(static_cast<int>(x * display.scale),
                                   static_cast<int>(item.placed.frame.midY() * display.scale));
      if (p[0] < 100) ++darkPixels;
    }
    EXPECT_GT(darkPixels, 0) << item.item.key;
  }
}

}  // namespace
}  // namespace kestrune
