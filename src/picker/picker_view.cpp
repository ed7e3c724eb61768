#include "picker/picker_view.hpp"

#include <algorithm>
#include <utility>

#include "picker/overflow_model.hpp"

namespace kestrune {

namespace {

// A captured image's size in points: the one it was captured at, else its
// pixels.
std::optional<Size> naturalSize(const Image& image) {
  if (image.size) return image.size;
  if (const Bitmap* bitmap = image.bitmap()) {
    return Size{static_cast<double>(bitmap->width), static_cast<double>(bitmap->height)};
  }
  return std::nullopt;
}

// Its own height and width, but a wide capture is squeezed to fit a cell.
CellIcon capturedIcon(const Image& image) {
  CellIcon icon{CellIcon::Source::captured, image, std::nullopt};
  if (auto size = naturalSize(image)) {
    icon.displaySize = Size{std::min(size->width, PickerStyle::kMaxCapturedWidth), size->height};
  }
  return icon;
}

CellIcon chooseIcon(const MenuBarItem& item, const std::optional<Image>& image, bool isModern,
                    Workspace& workspace) {
  // The modern bar's captures are what the user sees in the bar; before it,
  // a system item's own symbol reads better than a capture of it.
  if (isModern && image) return capturedIcon(*image);
  if (auto symbol = item.symbolIcon(isModern)) {
    symbol->isTemplate = true;
    return {CellIcon::Source::symbol, std::move(*symbol), std::nullopt};
  }
  if (image) return capturedIcon(*image);
  const Size side{PickerStyle::kAppIconSide, PickerStyle::kAppIconSide};
  return {CellIcon::Source::appIcon, item.appIcon(workspace), side};
}

}  // namespace

std::optional<HoverHighlight> hoverHighlight(bool hovering, bool enabled) {
  if (!hovering || !enabled) return std::nullopt;
  return HoverHighlight{};
}

namespace {

bool cellsLookTheSame(const ItemCell& a, const ItemCell& b) {
  return a.windowID == b.windowID && a.icon == b.icon && a.showLabel == b.showLabel &&
         a.label == b.label && a.enabled == b.enabled && a.opacity == b.opacity &&
         a.tooltip == b.tooltip;
}

bool gridsLookTheSame(const std::optional<ItemGrid>& a, const std::optional<ItemGrid>& b) {
  if (!a || !b) return a.has_value() == b.has_value();
  return a->columns == b->columns && a->rowSpacing == b->rowSpacing &&
         std::equal(a->cells.begin(), a->cells.end(), b->cells.begin(), b->cells.end(),
                    cellsLookTheSame);
}

}  // namespace

bool looksTheSame(const OverflowViewModel& a, const OverflowViewModel& b) {
  return a.width == b.width && a.emptyState == b.emptyState && gridsLookTheSame(a.grid, b.grid) &&
         a.hint == b.hint && a.footer == b.footer;
}

std::vector<GridColumn> pickerColumns() {
  return {GridColumn{}};
}

EmptyState emptyState(bool hasScanned, const Settings& settings) {
  if (!hasScanned) return {PickerStyle::kScanningSymbol, PickerStyle::kScanningText};
  return {PickerStyle::kScannedSymbol, settings.onlyHiddenItems ? PickerStyle::kNothingHiddenText
                                                                : PickerStyle::kNothingFoundText};
}

ItemCell describeItemCell(const MenuBarItem& item, std::optional<Image> image, bool showLabel,
                          bool isModern, Workspace& workspace) {
  ItemCell cell;
  cell.item = item;
  cell.windowID = item.windowID;
  cell.icon = chooseIcon(item, image, isModern, workspace);
  cell.image = std::move(image);
  cell.showLabel = showLabel;
  cell.label = item.displayName(isModern);
  // Without an owner there is no element to press.
  cell.enabled = item.owner.has_value();
  cell.opacity = cell.enabled ? PickerStyle::kEnabledOpacity : PickerStyle::kDisabledOpacity;
  cell.tooltip = cell.enabled ? cell.label : cell.label + PickerStyle::kDisabledTooltipSuffix;
  return cell;
}

OverflowViewModel describeOverflowView(const OverflowModel& model, const Settings& settings,
                                       bool isModern, Workspace& workspace) {
  OverflowViewModel view;
  const std::vector<MenuBarItem> listed = model.listedItems();
  if (listed.empty()) {
    view.emptyState = emptyState(model.hasScanned.get(), settings);
  } else {
    ItemGrid grid;
    grid.columns = pickerColumns();
    const bool live = model.usesLiveIcons();
    const auto& images = model.images.get();
    for (const auto& item : listed) {
      std::optional<Image> image;
      if (live) {
        if (auto found = images.find(item.windowID); found != images.end()) image = found->second;
      }
      grid.cells.push_back(
          describeItemCell(item, std::move(image), settings.showLabels, isModern, workspace));
    }
    view.grid = std::move(grid);
  }
  if (settings.liveIcons && !model.screenRecordingGranted.get() && !listed.empty()) {
    view.hint = ScreenRecordingHint{};
  }
  return view;
}

ColumnFit fitColumns(const GridColumn& column, double available) {
  const int count = std::max(
      1, static_cast<int>((available + column.spacing) / (column.minimumWidth + column.spacing)));
  const double share = (available - column.spacing * (count - 1)) / count;
  return {count, std::min(share, column.maximumWidth)};
}

bool clickCell(const ItemCell& cell, const OverflowViewActions& actions) {
  if (!cell.enabled || !actions.onActivate) return false;
  actions.onActivate(cell.item);
  return true;
}

}  // namespace kestrune
