#include "picker/picker_view.hpp"

#include <gtest/gtest.h>

#include <map>
#include <sstream>

#include "discovery/menu_bar_layout.hpp"
#include "picker/overflow_model.hpp"
#include "settings/diag.hpp"
#include "settings/settings_store.hpp"
#include "support/fake_platform.hpp"

namespace kestrune {
namespace {

// Knows where every app lives, so app icons are file icons.
struct AppsWorkspace final : Workspace {
  std::vector<RunningApplication> runningApplications() override { return {}; }
  std::optional<std::string> urlForApplication(const std::string& bundleID) override {
    return "/Applications/" + bundleID + ".app";
  }
  Subscription observe(WorkspaceEvent, std::function<void(const RunningApplication&)>) override {
    return {};
  }
  bool openURL(const std::string&) override { return false; }
  void openApplication(const std::string&, bool, std::function<void(bool)> completion) override {
    completion(false);
  }
};

MenuBarItem appItem(uint32_t id, const std::string& name, bool onScreen = true) {
  MenuBarItem item;
  item.windowID = id;
  item.frame = Rect{1000.0 + id, 0, 30, 24};
  item.isOnScreen = onScreen;
  item.windowName = "Item-0";
  item.windowOwnerName = name;
  ItemOwner owner;
  owner.pid = static_cast<pid_t>(400 + id);
  owner.name = name;
  owner.bundleID = "com.example." + name;
  item.owner = owner;
  return item;
}

// A system item with a symbol of its own.
MenuBarItem wifiItem(uint32_t id) {
  MenuBarItem item;
  item.windowID = id;
  item.frame = Rect{900, 0, 30, 24};
  item.isOnScreen = true;
  item.windowName = "WiFi";
  item.windowOwnerName = "Control Center";
  ItemOwner owner;
  owner.pid = 301;
  owner.name = "Control Center";
  owner.bundleID = "com.apple.controlcenter";
  item.owner = owner;
  return item;
}

// An item whose app never answered Accessibility.
MenuBarItem ownerlessItem(uint32_t id) {
  MenuBarItem item;
  item.windowID = id;
  item.frame = Rect{800, 0, 30, 24};
  item.isOnScreen = false;
  item.windowName = "Item-0";
  item.windowOwnerName = "Mute";
  return item;
}

Image captured(double width, double height) {
  Bitmap bitmap;
  bitmap.width = static_cast<int>(width * 2);
  bitmap.height = static_cast<int>(height * 2);
  bitmap.bytesPerRow = static_cast<size_t>(bitmap.width) * 4;
  bitmap.data.assign(bitmap.bytesPerRow * static_cast<size_t>(bitmap.height), 0xff);
  return Image{std::make_shared<const Bitmap>(std::move(bitmap)), Size{width, height}, false};
}

class PickerViewTest : public ::testing::Test {
 protected:
  PickerViewTest()
      : platform_(fake_.platform()),
        layout_(platform_),
        store_(fake_.defaults),
        diag_(fake_.fileSystem, fake_.system, fake_.executors),
        model_(OverflowModel::create(platform_, layout_, store_, diag_, out_)) {}

  OverflowViewModel describe(bool isModern = false) {
    return describeOverflowView(*model_, store_.settings(), isModern, workspace_);
  }
  void scanned(std::vector<MenuBarItem> items) {
    model_->items.set(std::move(items));
    model_->hasScanned.set(true);
  }

  testing::FakePlatform fake_;
  Platform platform_;
  MenuBarLayout layout_;
  SettingsStore store_;
  Diag diag_;
  std::ostringstream out_;
  std::shared_ptr<OverflowModel> model_;
  AppsWorkspace workspace_;
};

TEST_F(PickerViewTest, BeforeTheFirstScanTheEmptyStateSaysScanning) {
  const auto view = describe();
  ASSERT_TRUE(view.emptyState.has_value());
  EXPECT_FALSE(view.grid.has_value());
  EXPECT_EQ(view.emptyState->symbol, "hourglass");
  EXPECT_EQ(view.emptyState->text, "Scanning the menu bar\u2026");
}

TEST_F(PickerViewTest, OnlyHiddenItemsWithEveryItemVisibleSaysEverythingFits) {
  store_.set(&Settings::onlyHiddenItems, true);
  scanned({appItem(1, "Tool"), appItem(2, "Sync")});
  ASSERT_FALSE(model_->items.get().empty());
  const auto view = describe();
  ASSERT_TRUE(view.emptyState.has_value());
  EXPECT_FALSE(view.grid.has_value());
  EXPECT_EQ(view.emptyState->symbol, "checkmark.circle");
  EXPECT_EQ(view.emptyState->text,
            "Everything fits \u2014 no menu bar items are hidden right now.");
}

TEST_F(PickerViewTest, AnEmptyBarAfterAScanSaysNothingFound) {
  scanned({});
  const auto view = describe();
  ASSERT_TRUE(view.emptyState.has_value());
  EXPECT_EQ(view.emptyState->symbol, "checkmark.circle");
  EXPECT_EQ(view.emptyState->text, "No menu bar items found.");
  EXPECT_FALSE(view.hint.has_value());  // nothing listed: no hint either
}

TEST_F(PickerViewTest, GridHasOneCellPerListedItemInOrder) {
  scanned({appItem(3, "Tool"), wifiItem(7), appItem(5, "Sync")});
  const auto view = describe();
  EXPECT_EQ(view.width, 460);
  EXPECT_FALSE(view.emptyState.has_value());
  ASSERT_TRUE(view.grid.has_value());
  ASSERT_EQ(view.grid->columns.size(), 1U);
  EXPECT_EQ(view.grid->columns[0].minimumWidth, 84);
  EXPECT_EQ(view.grid->columns[0].maximumWidth, 120);
  EXPECT_EQ(view.grid->columns[0].spacing, 4);
  EXPECT_EQ(view.grid->rowSpacing, 4);
  std::vector<uint32_t> ids;
  for (const auto& cell : view.grid->cells) {
    ids.push_back(cell.windowID);
    EXPECT_EQ(cell.item.windowID, cell.windowID);
  }
  EXPECT_EQ(ids, (std::vector<uint32_t>{3, 7, 5}));
  EXPECT_EQ(view.footer.title, "Settings");
  EXPECT_EQ(view.footer.symbol, "gearshape");
}

TEST_F(PickerViewTest, LiveIconsWithoutScreenRecordingShowsSymbolsAppIconsAndTheHint) {
  ASSERT_TRUE(store_.settings().liveIcons);
  scanned({wifiItem(7), appItem(3, "Tool")});
  // Old captures stay in the model but are not shown without the grant.
  model_->images.set({{7, captured(30, 24)}, {3, captured(30, 24)}});
  ASSERT_FALSE(model_->screenRecordingGranted.get());
  const auto view = describe(true);
  ASSERT_TRUE(view.grid.has_value());
  ASSERT_EQ(view.grid->cells.size(), 2U);
  const auto& wifi = view.grid->cells[0];
  EXPECT_FALSE(wifi.image.has_value());
  EXPECT_EQ(wifi.icon.source, CellIcon::Source::symbol);
  const auto& tool = view.grid->cells[1];
  EXPECT_FALSE(tool.image.has_value());
  EXPECT_EQ(tool.icon.source, CellIcon::Source::appIcon);
  ASSERT_TRUE(view.hint.has_value());
  EXPECT_EQ(view.hint->symbol, "photo.badge.exclamationmark");
  EXPECT_EQ(view.hint->text,
            "Showing app icons. Allow Screen Recording to see the real menu bar icons (the app "
            "relaunches once granted).");
}

TEST_F(PickerViewTest, LiveIconsOffNeverShowsTheHint) {
  store_.set(&Settings::liveIcons, false);
  scanned({appItem(3, "Tool")});
  model_->screenRecordingGranted.set(false);
  EXPECT_FALSE(describe().hint.has_value());
  model_->screenRecordingGranted.set(true);
  EXPECT_FALSE(describe().hint.has_value());
}

TEST_F(PickerViewTest, GrantedScreenRecordingShowsNoHintAndPassesCaptures) {
  scanned({appItem(3, "Tool"), appItem(4, "Sync")});
  const Image tool = captured(30, 24);
  model_->images.set({{3, tool}});
  model_->screenRecordingGranted.set(true);
  ASSERT_TRUE(model_->usesLiveIcons());
  const auto view = describe();
  EXPECT_FALSE(view.hint.has_value());
  ASSERT_EQ(view.grid->cells.size(), 2U);
  ASSERT_TRUE(view.grid->cells[0].image.has_value());
  EXPECT_EQ(*view.grid->cells[0].image, tool);
  EXPECT_EQ(view.grid->cells[0].icon.source, CellIcon::Source::captured);
  EXPECT_FALSE(view.grid->cells[1].image.has_value());  // not captured yet
  EXPECT_EQ(view.grid->cells[1].icon.source, CellIcon::Source::appIcon);
}

TEST_F(PickerViewTest, AnItemWithoutOwnerIsDimmedExplainedAndCannotBeClicked) {
  scanned({ownerlessItem(9), appItem(3, "Tool")});
  const auto view = describe();
  ASSERT_EQ(view.grid->cells.size(), 2U);
  const auto& mute = view.grid->cells[0];
  EXPECT_FALSE(mute.enabled);
  EXPECT_EQ(mute.opacity, 0.5);
  EXPECT_EQ(mute.tooltip, "Menu bar item \u2014 can't be opened while hidden");
  const auto& tool = view.grid->cells[1];
  EXPECT_TRUE(tool.enabled);
  EXPECT_EQ(tool.opacity, 1.0);
  EXPECT_EQ(tool.tooltip, "Tool");

  std::vector<uint32_t> activated;
  OverflowViewActions actions;
  actions.onActivate = [&](const MenuBarItem& item) { activated.push_back(item.windowID); };
  EXPECT_FALSE(clickCell(mute, actions));
  EXPECT_TRUE(activated.empty());
  EXPECT_TRUE(clickCell(tool, actions));
  EXPECT_EQ(activated, (std::vector<uint32_t>{3}));
}

TEST_F(PickerViewTest, AVeryWideCaptureIsShown110PointsWideAtItsOwnHeight) {
  scanned({appItem(3, "Wide"), appItem(4, "Narrow")});
  model_->images.set({{3, captured(180, 22)}, {4, captured(40, 24)}});
  model_->screenRecordingGranted.set(true);
  const auto view = describe(true);
  ASSERT_EQ(view.grid->cells.size(), 2U);
  const auto& wide = view.grid->cells[0].icon;
  EXPECT_EQ(wide.source, CellIcon::Source::captured);
  ASSERT_TRUE(wide.displaySize.has_value());
  EXPECT_EQ(*wide.displaySize, (Size{110, 22}));
  const auto& narrow = view.grid->cells[1].icon;
  ASSERT_TRUE(narrow.displaySize.has_value());
  EXPECT_EQ(*narrow.displaySize, (Size{40, 24}));
}

TEST_F(PickerViewTest, ShowLabelsOffRemovesTheNames) {
  scanned({appItem(3, "Tool")});
  auto view = describe();
  ASSERT_EQ(view.grid->cells.size(), 1U);
  EXPECT_TRUE(view.grid->cells[0].showLabel);
  EXPECT_EQ(view.grid->cells[0].label, "Tool");
  store_.set(&Settings::showLabels, false);
  view = describe();
  EXPECT_FALSE(view.grid->cells[0].showLabel);
}

TEST_F(PickerViewTest, IconChoiceOrder) {
  const Image capture = captured(30, 24);
  // The modern bar prefers a capture even over a system item's symbol.
  auto cell = describeItemCell(wifiItem(7), capture, true, true, workspace_);
  EXPECT_EQ(cell.icon.source, CellIcon::Source::captured);
  EXPECT_EQ(cell.icon.image, capture);
  // Before it, the symbol wins, drawn as a template.
  cell = describeItemCell(wifiItem(7), capture, true, false, workspace_);
  EXPECT_EQ(cell.icon.source, CellIcon::Source::symbol);
  ASSERT_NE(cell.icon.image.symbol(), nullptr);
  EXPECT_EQ(*wifiItem(7).symbolIconName(false), cell.icon.image.symbol()->name);
  EXPECT_TRUE(cell.icon.image.isTemplate);
  // An app item's capture comes next.
  cell = describeItemCell(appItem(3, "Tool"), capture, true, false, workspace_);
  EXPECT_EQ(cell.icon.source, CellIcon::Source::captured);
  EXPECT_EQ(cell.icon.image, capture);
  // A system item without a capture on the modern bar falls to its symbol.
  cell = describeItemCell(wifiItem(7), std::nullopt, true, true, workspace_);
  EXPECT_EQ(cell.icon.source, CellIcon::Source::symbol);
  // Last, the app's icon at 22 × 22.
  cell = describeItemCell(appItem(3, "Tool"), std::nullopt, true, true, workspace_);
  EXPECT_EQ(cell.icon.source, CellIcon::Source::appIcon);
  ASSERT_NE(cell.icon.image.fileIcon(), nullptr);
  EXPECT_EQ(cell.icon.image.fileIcon()->path, "/Applications/com.example.Tool.app");
  ASSERT_TRUE(cell.icon.displaySize.has_value());
  EXPECT_EQ(*cell.icon.displaySize, (Size{22, 22}));
}

TEST_F(PickerViewTest, HoverHighlightsOnlyUnderThePointer) {
  EXPECT_FALSE(hoverHighlight(false).has_value());
  const auto highlight = hoverHighlight(true);
  ASSERT_TRUE(highlight.has_value());
  EXPECT_EQ(highlight->opacity, 0.12);
  EXPECT_EQ(highlight->cornerRadius, 7);
}

}  // namespace
}  // namespace kestrune

namespace kestrune {
namespace {

TEST(PickerColumnsTest, AsManyColumnsAsFitAtTheMinimumThenAsWideAsAllowed) {
  const GridColumn column = pickerColumns().front();
  // 440 points: five columns of 84 and four gaps of 4 fit (436), six do not.
  const ColumnFit five = fitColumns(column, 440);
  EXPECT_EQ(five.count, 5);
  EXPECT_DOUBLE_EQ(five.width, (440 - 4 * 4) / 5.0);
  // Room for one column of 200 points: capped at 120.
  const ColumnFit one = fitColumns(column, 160);
  EXPECT_EQ(one.count, 1);
  EXPECT_DOUBLE_EQ(one.width, 120);
  // Narrower than one column: still one.
  EXPECT_EQ(fitColumns(column, 50).count, 1);
}

}  // namespace
}  // namespace kestrune
