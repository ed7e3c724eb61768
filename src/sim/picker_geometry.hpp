#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/geometry.hpp"
#include "picker/picker_view.hpp"

namespace kestrune::sim {

// Where the simulated Mac puts each part of the picker, in points, origin at
// the panel's top left. Text is measured with a fixed average glyph width
// so that sizes do not depend on the fonts installed.
struct PickerGeometry {
  struct Cell {
    Rect frame;     // the whole cell: the hit shape and the hover highlight
    Rect iconArea;  // 30 points high
    std::optional<Rect> label;
  };
  Size size;
  std::vector<Cell> cells;  // in the view model's order
  std::optional<Rect> emptySymbol;
  std::optional<Rect> emptyText;
  std::optional<Rect> hintDivider;
  std::optional<Rect> hint;  // the button: its symbol and wrapped text
  std::vector<std::string> hintLines;
  Rect footer;

  // What a point inside the panel falls on.
  struct Hit {
    enum class Kind { none, cell, hint, footer };
    Kind kind = Kind::none;
    size_t cell = 0;
  };
  [[nodiscard]] Hit hitTest(Point point) const;
};

namespace PickerMetrics {
inline constexpr double kPadding = 10;
inline constexpr double kStackSpacing = 8;
inline constexpr double kCellInset = 5;
inline constexpr double kLabelFontSize = 10;
inline constexpr double kLabelHeight = 13;
inline constexpr double kLabelGap = 2;
inline constexpr double kCalloutFontSize = 12;
inline constexpr double kCaptionFontSize = 10;
inline constexpr double kCaptionLineHeight = 13;
inline constexpr double kEmptySymbolSide = 24;
inline constexpr double kEmptyHeight = 80;
inline constexpr double kHintSymbolSide = 14;
inline constexpr double kFooterHeight = 26;
// Average glyph advance as a share of the font size.
inline constexpr double kGlyphAdvance = 0.56;
}  // namespace PickerMetrics

[[nodiscard]] PickerGeometry layoutPicker(const OverflowViewModel& view);

// Splits `text` at spaces into lines no wider than `width` points.
[[nodiscard]] std::vector<std::string> wrapText(const std::string& text, double width,
                                                double fontSize);

}  // namespace kestrune::sim
