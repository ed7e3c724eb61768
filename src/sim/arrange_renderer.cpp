#include "sim/arrange_renderer.hpp"

#include <cmath>

#include "sim/cairo_bitmap.hpp"
#include "sim/canvas.hpp"
#include "sim/picker_geometry.hpp"
#include "sim/symbols.hpp"

namespace kestrune::sim {
namespace {

constexpr double kWidth = 500;
constexpr double kPadding = 16;
constexpr double kTextSize = 11;
constexpr double kLineHeight = 15;
constexpr double kRowHeight = 28;
constexpr double kIconSide = 18;
constexpr double kButtonWidth = 84;
constexpr double kButtonHeight = 24;
constexpr Colour kRed{0.86, 0.18, 0.16};
constexpr Colour kAccent{0.1, 0.45, 0.95};

double textBlock(cairo_t* cr, const std::string& text, double y, Colour c) {
  const double inner = kWidth - 2 * kPadding;
  for (const auto& line : wrapText(text, inner, kTextSize)) {
    if (cr) drawText(cr, line, {kPadding, y, inner, kLineHeight}, kTextSize, c, Align::left);
    y += kLineHeight;
  }
  return y;
}

double drawRow(cairo_t* cr, const ArrangeRow& row, double y, const Palette& palette) {
  cairo_push_group(cr);
  const double inner = kWidth - 2 * kPadding;
  double x = kPadding + 6;
  const Rect icon{x, y + (kRowHeight - kIconSide) / 2, kIconSide, kIconSide};
  if (row.image) drawImage(cr, *row.image, icon, palette);
  x += kIconSide + ArrangeStyle::kRowSpacing;
  const double trailing = 90;
  drawText(cr, row.entry.name, {x, y, kPadding + inner - trailing - x, kRowHeight}, 12,
           palette.foreground, Align::left);
  const Rect end{kPadding + inner - trailing + ArrangeStyle::kRowSpacing, y + 4,
                 trailing - ArrangeStyle::kRowSpacing - 6, kRowHeight - 8};
  if (row.fixedLabel) drawText(cr, *row.fixedLabel, end, 11, palette.secondary, Align::centre);
  if (row.handleSymbol) {
    drawSymbolGlyph(cr, *row.handleSymbol,
                    {end.maxX() - kIconSide, end.midY() - kIconSide / 2, kIconSide, kIconSide},
                    palette.secondary);
  }
  setColour(cr, palette.separator);
  cairo_rectangle(cr, kPadding, y + kRowHeight - 0.5, inner, 0.5);
  cairo_fill(cr);
  cairo_pop_group_to_source(cr);
  cairo_paint_with_alpha(cr, row.opacity);
  return y + kRowHeight;
}

void drawButton(cairo_t* cr, const ArrangeButton& button, const Rect& box, const Palette& palette) {
  cairo_push_group(cr);
  roundedRect(cr, box, 6);
  if (button.isDefault) {
    setColour(cr, kAccent);
    cairo_fill(cr);
  } else {
    setColour(cr, palette.separator);
    cairo_set_line_width(cr, 1);
    cairo_stroke(cr);
  }
  drawText(cr, button.title, box, 12, button.isDefault ? Colour{1, 1, 1} : palette.foreground,
           Align::centre);
  cairo_pop_group_to_source(cr);
  cairo_paint_with_alpha(cr, button.enabled ? 1.0 : 0.4);
}

// Lays out and, with a context, draws; returns the height used.
double paint(cairo_t* cr, const ArrangeViewModel& view, const Palette& palette) {
  double y = textBlock(cr, view.intro, kPadding, palette.secondary) + 8;
  if (cr) {
    drawText(cr, view.caption, {kPadding, y, kWidth, kLineHeight}, kTextSize, palette.secondary,
             Align::left, FontWeight::semibold);
  }
  y += kLineHeight + 4;
  if (view.scanning) {
    if (cr) {
      drawSpinner(cr, {kPadding + 8, y + kRowHeight / 2}, 8, palette.secondary);
      drawText(cr, *view.scanning, {kPadding + 24, y, kWidth, kRowHeight}, 12, palette.secondary,
               Align::left);
    }
    y += kRowHeight;
  }
  for (const auto& row : view.rows) y = cr ? drawRow(cr, row, y, palette) : y + kRowHeight;
  y += 8;
  if (view.progress) {
    if (cr) {
      drawSpinner(cr, {kPadding + 8, y + kLineHeight / 2}, 6, palette.secondary);
      drawText(cr, *view.progress, {kPadding + 24, y, kWidth, kLineHeight}, kTextSize,
               palette.foreground, Align::left);
    }
    y += kLineHeight + 4;
  }
  if (view.error) y = textBlock(cr, *view.error, y, kRed) + 4;
  y += 4;
  if (cr) {
    double x = kWidth - kPadding - 3 * kButtonWidth - 16;
    for (const auto* button : {&view.refresh, &view.revert, &view.apply}) {
      drawButton(cr, *button, {x, y, kButtonWidth, kButtonHeight}, palette);
      x += kButtonWidth + 8;
    }
  }
  return y + kButtonHeight + kPadding;
}

}  // namespace

Bitmap renderArrangeView(const ArrangeViewModel& view, double scale, bool dark) {
  const Palette palette = paletteFor(dark);
  const double height = paint(nullptr, view, palette);
  Surface surface = surfaceOf(static_cast<int>(std::ceil(kWidth * scale)),
                              static_cast<int>(std::ceil(height * scale)));
  Context context(cairo_create(surface.get()), cairo_destroy);
  cairo_t* cr = context.get();
  cairo_scale(cr, scale, scale);
  setColour(cr, palette.background);
  cairo_paint(cr);
  paint(cr, view, palette);
  return bitmapOf(surface.get());
}

}  // namespace kestrune::sim
