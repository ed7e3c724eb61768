#include "sim/picker_geometry.hpp"

#include <cmath>
#include <sstream>

namespace kestrune::sim {

using namespace PickerMetrics;

namespace {

// Counts code points, so that "…" and "—" are one glyph each.
size_t glyphCount(const std::string& text) {
  size_t count = 0;
  for (unsigned char c : text) count += (c & 0xC0) != 0x80 ? 1 : 0;
  return count;
}

double textWidth(const std::string& text, double fontSize) {
  return static_cast<double>(glyphCount(text)) * fontSize * kGlyphAdvance;
}

double cellHeight(bool showLabel) {
  return kCellInset * 2 + PickerStyle::kIconAreaHeight + (showLabel ? kLabelGap + kLabelHeight : 0);
}

}  // namespace

std::vector<std::string> wrapText(const std::string& text, double width, double fontSize) {
  std::vector<std::string> lines;
  std::istringstream words(text);
  std::string word;
  std::string line;
  while (words >> word) {
    std::string longer = line;
    if (!longer.empty()) longer += ' ';
    longer += word;
    if (!line.empty() && textWidth(longer, fontSize) > width) {
      lines.push_back(line);
      line = word;
    } else {
      line = longer;
    }
  }
  if (!line.empty()) lines.push_back(line);
  return lines;
}

PickerGeometry layoutPicker(const OverflowViewModel& view) {
  PickerGeometry g;
  const double inner = view.width - 2 * kPadding;
  double y = kPadding;
  if (view.emptyState) {
    g.emptySymbol =
        Rect{view.width / 2 - kEmptySymbolSide / 2, y + 14, kEmptySymbolSide, kEmptySymbolSide};
    g.emptyText = Rect{kPadding, y + 14 + kEmptySymbolSide + 10, inner, kCalloutFontSize + 4};
    y += kEmptyHeight;
  }
  if (view.grid && !view.grid->cells.empty()) {
    const ColumnFit fit = fitColumns(view.grid->columns.front(), inner);
    const double spacing = view.grid->columns.front().spacing;
    const double used = fit.count * fit.width + (fit.count - 1) * spacing;
    const double left = kPadding + (inner - used) / 2;
    const bool labels = view.grid->cells.front().showLabel;
    const double height = cellHeight(labels);
    const auto perRow = static_cast<size_t>(fit.count);
    size_t index = 0;
    for (const auto& cell : view.grid->cells) {
      const size_t rowIndex = index / perRow;  // whole rows
      const auto row = static_cast<double>(rowIndex);
      const auto column = static_cast<double>(index % perRow);
      PickerGeometry::Cell placed;
      placed.frame = Rect{left + column * (fit.width + spacing),
                          y + row * (height + view.grid->rowSpacing), fit.width, height};
      placed.iconArea = Rect{placed.frame.minX(), placed.frame.minY() + kCellInset, fit.width,
                             PickerStyle::kIconAreaHeight};
      if (cell.showLabel) {
        placed.label = Rect{placed.frame.minX() + 2, placed.iconArea.maxY() + kLabelGap,
                            fit.width - 4, kLabelHeight};
      }
      g.cells.push_back(placed);
      ++index;
    }
    const size_t rowCount = (view.grid->cells.size() + perRow - 1) / perRow;  // rounded up
    const auto rows = static_cast<double>(rowCount);
    y += rows * height + (rows - 1) * view.grid->rowSpacing;
  }
  if (view.hint) {
    y += kStackSpacing;
    g.hintDivider = Rect{kPadding, y + PickerStyle::kHintDividerPadding, inner, 1};
    y += 2 * PickerStyle::kHintDividerPadding + 1;
    const double textLeft = kHintSymbolSide + PickerStyle::kHintRowSpacing;
    g.hintLines = wrapText(view.hint->text, inner - textLeft, kCaptionFontSize);
    const double height = static_cast<double>(g.hintLines.size()) * kCaptionLineHeight;
    g.hint = Rect{kPadding, y, inner, height};
    y += height;
  }
  y += kStackSpacing;
  g.footer = Rect{kPadding, y, inner, kFooterHeight};
  y += kFooterHeight + kPadding;
  g.size = Size{view.width, std::ceil(y)};
  return g;
}

PickerGeometry::Hit PickerGeometry::hitTest(Point point) const {
  for (size_t i = 0; i < cells.size(); ++i) {
    if (cells[i].frame.contains(point)) return {Hit::Kind::cell, i};
  }
  if (hint && hint->contains(point)) return {Hit::Kind::hint, 0};
  if (footer.contains(point)) return {Hit::Kind::footer, 0};
  return {};
}

}  // namespace kestrune::sim
