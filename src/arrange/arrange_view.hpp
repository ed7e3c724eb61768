#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "arrange/arrange_entry.hpp"
#include "core/image.hpp"

namespace kestrune {

class ArrangeModel;

// Wording and measures of the arrangement list, shared by every renderer.
namespace ArrangeStyle {
inline constexpr const char* kCaption = "Menu bar, right to left";
inline constexpr const char* kHandleSymbol = "line.3.horizontal";
inline constexpr const char* kFixedLabel = "Fixed";
inline constexpr double kRowSpacing = 10;
inline constexpr double kPinnedOpacity = 0.6;
inline constexpr double kMovableOpacity = 1.0;
inline constexpr const char* kScanningText = "Scanning the menu bar\u2026";
inline constexpr const char* kModernTooltip =
    "In macOS's hidden overflow (\u00BB): macOS doesn't draw this item, so it can't be dragged. "
    "Other items can still be placed around it.";
inline constexpr const char* kLegacyTooltip =
    "Hidden behind the notch: macOS never draws this item, so it can't be dragged. Other items "
    "can still be placed around it.";
inline constexpr const char* kModernIntro =
    "Drag rows to reorder, then Apply: Kestrune \u2318-drags the real icons for you. Items macOS "
    "has moved into its hidden overflow (the \u00BB button) can't be dragged and have no order of "
    "their own, but other items can still be placed around them.";
inline constexpr const char* kLegacyIntro =
    "Drag rows to reorder, then Apply: Kestrune \u2318-drags the real icons for you. macOS won't "
    "let an item hidden behind the notch be dragged, but other items can still be placed around "
    "it.";
inline constexpr const char* kRefresh = "Refresh";
inline constexpr const char* kRevert = "Revert";
inline constexpr const char* kApply = "Apply";
}  // namespace ArrangeStyle

struct ArrangeRow {
  ArrangeEntry entry;
  std::optional<Image> image;  // the live capture, else the app's icon
  bool isPinned = false;
  // A drag handle symbol on movable rows, the label "Fixed" on pinned ones.
  std::optional<std::string> handleSymbol;
  std::optional<std::string> fixedLabel;
  double opacity = ArrangeStyle::kMovableOpacity;
  std::optional<std::string> tooltip;  // only for items macOS does not draw
};

struct ArrangeButton {
  std::string title;
  bool enabled = false;
  bool isDefault = false;  // answers Return
};

// Everything the arrangement tab shows, top to bottom.
struct ArrangeViewModel {
  std::string intro;
  std::string caption = ArrangeStyle::kCaption;
  // While the first scan runs: the list area shows this with a spinner.
  std::optional<std::string> scanning;
  // The edited order from right to left, pinned rows where they stand.
  std::vector<ArrangeRow> rows;
  // While applying: the progress text beside a spinner.
  std::optional<std::string> progress;
  std::optional<std::string> error;  // drawn in red
  ArrangeButton refresh;
  ArrangeButton revert;
  ArrangeButton apply;
};

[[nodiscard]] ArrangeViewModel describeArrangeView(const ArrangeModel& model);

// The list's re-ordering, offsets in display order (right to left, every
// row counted): the movable rows at `fromOffsets`, in their order, go before
// the row at `toOffset` (the row count: to the bottom), but never above the
// pinned rows at the top, the right end of the bar that macOS keeps. Pinned
// rows are never taken along, so they keep their order and every row the
// user did not move keeps its place beside them: Apply moves only what the
// user moved. Returns the new edited order, left to right.
[[nodiscard]] std::vector<ArrangeEntry> moveRows(const std::vector<ArrangeEntry>& desired,
                                                 const std::vector<size_t>& fromOffsets,
                                                 size_t toOffset);
// The number of pinned rows at the top of a list shown right to left: no row
// can be dropped above them.
[[nodiscard]] size_t leadingPinnedRows(const std::vector<ArrangeEntry>& rightToLeft);
// Publishes moveRows of the model's lists as its edited order.
void move(ArrangeModel& model, const std::vector<size_t>& fromOffsets, size_t toOffset);
// Puts the edited order back to the real one.
void revert(ArrangeModel& model);

}  // namespace kestrune
