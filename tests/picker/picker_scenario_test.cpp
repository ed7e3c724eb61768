// The picker on the crowded notched laptop, end to end: the model warms up,
// a hidden item is opened through the activator, and after its app rebuilds
// the item the stale element is found again and the menu still opens.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <tuple>

#include "core/virtual_executors.hpp"
#include "discovery/activator.hpp"
#include "picker/overflow_model.hpp"
#include "picker/picker_view.hpp"
#include "settings/diag.hpp"
#include "sim/builtin_scenarios.hpp"
#include "sim/picker_stack.hpp"
#include "sim/sim_mac.hpp"
#include "support/sim_picker.hpp"

namespace kestrune {
namespace {

class PickerScenario : public testing::SimPicker,
                       public ::testing::WithParamInterface<const char*> {
 protected:
  void SetUp() override {
    make(sim::parseScenario(sim::builtinScenario(GetParam())->json));
    activator_ = std::make_unique<Activator>(mac_->platform(), layout_->isModern());
  }
  std::optional<MenuBarItem> listed(const std::string& name) {
    for (const auto& item : model_->listedItems()) {
      if (item.displayName(layout_->isModern()) == name) return item;
    }
    return std::nullopt;
  }

  std::unique_ptr<Activator> activator_;
};

TEST_P(PickerScenario, OpensAHiddenItemAndAgainAfterItsAppRebuiltIt) {
  model_->startWarming();
  ex_.advance(seconds(10));
  ASSERT_TRUE(model_->hasScanned.get());
  const auto raycast = listed("Raycast");
  ASSERT_TRUE(raycast);
  ASSERT_FALSE(raycast->isOnScreen) << "hidden behind the notch or in the overflow";
  ASSERT_TRUE(raycast->owner);

  activator_->press(*raycast);
  ex_.advance(seconds(1));
  ASSERT_EQ(mac_->world().presses().size(), 1U);
  EXPECT_EQ(mac_->world().presses().back().key, "raycast");
  EXPECT_EQ(mac_->world().presses().back().windowID, raycast->windowID);

  // Raycast recreates its status item: a new window, and the element the
  // picker holds is stale. The press fails once and is retried on the
  // element found again.
  const auto rebuilt = mac_->world().rebuildItem("raycast");
  ASSERT_TRUE(rebuilt);
  ASSERT_NE(*rebuilt, raycast->windowID);
  activator_->press(*raycast);
  ex_.advance(seconds(1));
  ASSERT_EQ(mac_->world().presses().size(), 2U);
  EXPECT_EQ(mac_->world().presses().back().key, "raycast");
  EXPECT_EQ(mac_->world().presses().back().windowID, *rebuilt);
}

// Backblaze never answers Accessibility. Its item is listed on both bars,
// hidden, dimmed and unpressable, with the tooltip that says why.
TEST_P(PickerScenario, ASilentAppsHiddenItemIsListedDimmed) {
  model_->startWarming();
  ex_.advance(seconds(10));
  const auto listed = model_->listedItems();
  const auto backblaze = std::find_if(listed.begin(), listed.end(), [](const MenuBarItem& i) {
    return i.windowOwnerName == "Backblaze";
  });
  ASSERT_NE(backblaze, listed.end());
  EXPECT_FALSE(backblaze->owner);
  EXPECT_FALSE(backblaze->isOnScreen);
  const auto view = describeOverflowView(*model_, store_->settings(), layout_->isModern(),
                                         mac_->platform().workspace);
  ASSERT_TRUE(view.grid);
  const auto cell =
      std::find_if(view.grid->cells.begin(), view.grid->cells.end(),
                   [&](const ItemCell& c) { return c.windowID == backblaze->windowID; });
  ASSERT_NE(cell, view.grid->cells.end());
  EXPECT_FALSE(cell->enabled);
  EXPECT_EQ(cell->opacity, 0.5);
  EXPECT_EQ(cell->tooltip, "Menu bar item \u2014 can't be opened while hidden");
}

INSTANTIATE_TEST_SUITE_P(BothMenuBars, PickerScenario,
                         ::testing::Values("laptop14-macos15", "laptop14-macos27"));

// Every built-in Mac, on a light and on a dark menu bar: each drawn item the
// picker lists gets its live icon once the model has warmed up, and the
// judgement of the glyphs follows the bar.
class LiveIconScenario : public testing::SimPicker,
                         public ::testing::WithParamInterface<std::tuple<const char*, bool>> {};

TEST_P(LiveIconScenario, DrawnItemsGetLiveIconsOnLightAndDarkBars) {
  const auto [name, dark] = GetParam();
  auto scenario = sim::parseScenario(sim::builtinScenario(name)->json);
  scenario.menuBar.darkAppearance = dark;
  make(std::move(scenario));
  model_->startWarming();
  ex_.advance(seconds(10));
  ASSERT_TRUE(model_->usesLiveIcons());
  size_t drawn = 0;
  for (const auto& item : model_->listedItems()) {
    if (!item.isOnScreen) continue;
    ++drawn;
    EXPECT_TRUE(model_->images.get().contains(item.windowID))
        << item.displayName(layout_->isModern());
  }
  EXPECT_GT(drawn, 5U);
  EXPECT_EQ(model_->glyphsAreLight.get(), std::optional<bool>(dark));
}

INSTANTIATE_TEST_SUITE_P(BuiltinMacs, LiveIconScenario,
                         ::testing::Combine(::testing::Values("laptop14-macos15",
                                                              "laptop14-macos27",
                                                              "studio27-macos15"),
                                            ::testing::Bool()),
                         [](const auto& info) {
                           std::string name = std::get<0>(info.param);
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name + (std::get<1>(info.param) ? "_dark" : "_light");
                         });

}  // namespace
}  // namespace kestrune
