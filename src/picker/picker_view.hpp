#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "core/geometry.hpp"
#include "core/image.hpp"
#include "discovery/menu_bar_item.hpp"
#include "platform/workspace.hpp"
#include "settings/settings.hpp"

namespace kestrune {

class OverflowModel;

// Measures and wording of the picker, shared by every renderer.
namespace PickerStyle {
inline constexpr double kStackWidth = 460;
inline constexpr double kColumnMinimumWidth = 84;
inline constexpr double kColumnMaximumWidth = 120;
inline constexpr double kColumnSpacing = 4;
inline constexpr double kRowSpacing = 4;
inline constexpr double kIconAreaHeight = 30;
inline constexpr double kAppIconSide = 22;
inline constexpr double kMaxCapturedWidth = 110;
inline constexpr double kEnabledOpacity = 1.0;
inline constexpr double kDisabledOpacity = 0.5;
// The hover highlight of cells and the footer button.
inline constexpr double kHoverOpacity = 0.12;
inline constexpr double kHoverCornerRadius = 7;
// The hint row: a divider with this much space above and below it.
inline constexpr double kHintDividerPadding = 2;
inline constexpr double kHintRowSpacing = 6;
inline constexpr double kFooterSymbolPointSize = 12;

inline constexpr const char* kScanningSymbol = "hourglass";
inline constexpr const char* kScannedSymbol = "checkmark.circle";
inline constexpr const char* kScanningText = "Scanning the menu bar\u2026";
inline constexpr const char* kNothingHiddenText =
    "Everything fits \u2014 no menu bar items are hidden right now.";
inline constexpr const char* kNothingFoundText = "No menu bar items found.";
inline constexpr const char* kDisabledTooltipSuffix = " \u2014 can't be opened while hidden";
inline constexpr const char* kHintSymbol = "photo.badge.exclamationmark";
inline constexpr const char* kHintText =
    "Showing app icons. Allow Screen Recording to see the real menu bar icons (the app "
    "relaunches once granted).";
inline constexpr const char* kSettingsTitle = "Settings";
inline constexpr const char* kSettingsSymbol = "gearshape";
}  // namespace PickerStyle

// An adaptive grid column: as many columns as fit, each between the two
// widths.
struct GridColumn {
  double minimumWidth = PickerStyle::kColumnMinimumWidth;
  double maximumWidth = PickerStyle::kColumnMaximumWidth;
  double spacing = PickerStyle::kColumnSpacing;
  friend bool operator==(const GridColumn&, const GridColumn&) = default;
};

// What a cell draws in its icon area, and why.
struct CellIcon {
  enum class Source { captured, symbol, appIcon };
  Source source = Source::appIcon;
  // A symbol is marked as a template so that it takes the foreground colour.
  Image image;
  // The size to draw at; absent: the image's natural size.
  std::optional<Size> displaySize;
  friend bool operator==(const CellIcon&, const CellIcon&) = default;
};

struct ItemCell {
  MenuBarItem item;
  uint32_t windowID = 0;
  std::optional<Image> image;  // the captured icon, when live icons are in use
  CellIcon icon;
  bool showLabel = true;
  std::string label;  // the item's display name, drawn under the icon when showLabel
  bool enabled = false;
  double opacity = PickerStyle::kEnabledOpacity;
  std::string tooltip;
};

struct EmptyState {
  std::string symbol;
  std::string text;
  friend bool operator==(const EmptyState&, const EmptyState&) = default;
};

struct ItemGrid {
  std::vector<GridColumn> columns;
  double rowSpacing = PickerStyle::kRowSpacing;
  std::vector<ItemCell> cells;
};

struct ScreenRecordingHint {
  std::string symbol = PickerStyle::kHintSymbol;
  std::string text = PickerStyle::kHintText;
  friend bool operator==(const ScreenRecordingHint&, const ScreenRecordingHint&) = default;
};

struct FooterButton {
  std::string title = PickerStyle::kSettingsTitle;
  std::string symbol = PickerStyle::kSettingsSymbol;
  friend bool operator==(const FooterButton&, const FooterButton&) = default;
};

// Everything the picker shows, top to bottom. Exactly one of emptyState and
// grid is present.
struct OverflowViewModel {
  double width = PickerStyle::kStackWidth;
  std::optional<EmptyState> emptyState;
  std::optional<ItemGrid> grid;
  std::optional<ScreenRecordingHint> hint;
  FooterButton footer;
};

// What the picker's clicks lead to; the panel supplies them.
struct OverflowViewActions {
  std::function<void(const MenuBarItem&)> onActivate;
  std::function<void()> onRequestScreenRecording;
  std::function<void()> onOpenSettings;
};

// The highlight under the pointer, or none: a disabled cell has none.
struct HoverHighlight {
  double opacity = PickerStyle::kHoverOpacity;
  double cornerRadius = PickerStyle::kHoverCornerRadius;
};
[[nodiscard]] std::optional<HoverHighlight> hoverHighlight(bool hovering, bool enabled = true);

// Whether two view models draw the same picker. Renderers rebuild their
// views only when they do not, so a refresh that changes nothing leaves the
// pointer's highlight, tooltips and VoiceOver's focus alone; the items
// behind the cells are taken from the newer one all the same.
[[nodiscard]] bool looksTheSame(const OverflowViewModel& a, const OverflowViewModel& b);

// How an adaptive column fills `available` points: as many columns as fit
// at the minimum width, then each as wide as the space allows, up to the
// maximum.
struct ColumnFit {
  int count = 1;
  double width = 0;
};
[[nodiscard]] ColumnFit fitColumns(const GridColumn& column, double available);

// The panel's one column description.
[[nodiscard]] std::vector<GridColumn> pickerColumns();

[[nodiscard]] EmptyState emptyState(bool hasScanned, const Settings& settings);

// One cell. `image` is the item's captured icon, if any is to be shown.
[[nodiscard]] ItemCell describeItemCell(const MenuBarItem& item, std::optional<Image> image,
                                        bool showLabel, bool isModern, Workspace& workspace);

// The picker for the model's state now. Renderers draw this and nothing
// else, so a change of the model or the settings means describing anew.
[[nodiscard]] OverflowViewModel describeOverflowView(const OverflowModel& model,
                                                     const Settings& settings, bool isModern,
                                                     Workspace& workspace);

// A click on a cell: a disabled cell cannot be clicked. True when the click
// was passed on.
bool clickCell(const ItemCell& cell, const OverflowViewActions& actions);

}  // namespace kestrune
