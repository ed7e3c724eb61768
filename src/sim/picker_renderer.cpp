#include "sim/picker_renderer.hpp"

#include <cmath>
#include <fstream>
#include <functional>

#include "sim/bar_drawing.hpp"
#include "sim/cairo_bitmap.hpp"
#include "sim/canvas.hpp"
#include "sim/sim_screen_capture.hpp"
#include "sim/symbols.hpp"

namespace kestrune::sim {
namespace {

using namespace PickerMetrics;

// A symbol's side when its image names no point size.
constexpr double kDefaultSymbolSize = 18;

void drawIcon(cairo_t* cr, const CellIcon& icon, const Rect& area, const Palette& palette) {
  const Image& image = icon.image;
  if (const Bitmap* bitmap = image.bitmap()) {
    const Size size = icon.displaySize.value_or(image.size.value_or(
        Size{static_cast<double>(bitmap->width), static_cast<double>(bitmap->height)}));
    drawBitmap(cr, *bitmap, centred(area, size));
  } else if (const SymbolImage* symbol = image.symbol()) {
    const double side = symbol->pointSize.value_or(kDefaultSymbolSize);
    drawSymbolGlyph(cr, symbol->name, centred(area, {side, side}),
                    image.isTemplate ? palette.foreground : palette.secondary);
  } else if (const FileIconImage* file = image.fileIcon()) {
    drawAppIcon(cr, file->path, centred(area, icon.displaySize.value_or(Size{22, 22})));
  }
}

void drawHighlight(cairo_t* cr, const Rect& box, const Palette& palette) {
  const auto highlight = hoverHighlight(true);
  setColour(cr, palette.foreground, highlight->opacity);
  roundedRect(cr, box, highlight->cornerRadius);
  cairo_fill(cr);
}

void drawCell(cairo_t* cr, const ItemCell& cell, const PickerGeometry::Cell& place, bool hovered,
              const Palette& palette) {
  // Drawn apart, then laid down at the cell's opacity, as a view's alpha.
  cairo_push_group(cr);
  if (hoverHighlight(hovered, cell.enabled)) drawHighlight(cr, place.frame, palette);
  drawIcon(cr, cell.icon, place.iconArea, palette);
  if (place.label) {
    drawText(cr, cell.label, *place.label, kLabelFontSize, palette.foreground, Align::centre);
  }
  cairo_pop_group_to_source(cr);
  cairo_paint_with_alpha(cr, cell.opacity);
}

void drawPanelBackground(cairo_t* cr, const PickerPicture& p, const Palette& palette) {
  const Rect bounds{0, 0, p.geometry.size.width, p.geometry.size.height};
  roundedRect(cr, bounds, p.setup.cornerRadius);
  setColour(cr, palette.background, 0.97);  // the popover material lets a little through
  cairo_fill_preserve(cr);
  cairo_clip(cr);
  const double half = p.setup.borderWidth / 2;
  roundedRect(cr, {half, half, bounds.width() - 2 * half, bounds.height() - 2 * half},
              p.setup.cornerRadius - half);
  setColour(cr, palette.separator, p.setup.borderSeparatorAlpha);
  cairo_set_line_width(cr, p.setup.borderWidth);
  cairo_stroke(cr);
}

void drawHint(cairo_t* cr, const PickerPicture& p, const Palette& palette) {
  const auto& g = p.geometry;
  setColour(cr, palette.separator);
  cairo_rectangle(cr, g.hintDivider->minX(), g.hintDivider->minY(), g.hintDivider->width(), 1);
  cairo_fill(cr);
  const Rect symbol{g.hint->minX(), g.hint->minY(), kHintSymbolSide, kHintSymbolSide};
  drawSymbolGlyph(cr, p.view.hint->symbol, symbol, palette.secondary);
  double y = g.hint->minY();
  for (const auto& line : g.hintLines) {
    const Rect box{g.hint->minX() + kHintSymbolSide + PickerStyle::kHintRowSpacing, y,
                   g.hint->width(), kCaptionLineHeight};
    drawText(cr, line, box, kCaptionFontSize, palette.secondary, Align::left);
    y += kCaptionLineHeight;
  }
}

void drawFooter(cairo_t* cr, const PickerPicture& p, const Palette& palette) {
  const Rect& box = p.geometry.footer;
  if (p.footerHovered) drawHighlight(cr, box, palette);
  const double side = PickerStyle::kFooterSymbolPointSize;
  const Rect gear{box.minX() + 6, box.midY() - side / 2, side, side};
  drawSymbolGlyph(cr, p.view.footer.symbol, gear, palette.foreground);
  drawText(cr, p.view.footer.title, {gear.maxX() + 6, box.minY(), box.width() - 30, box.height()},
           12, palette.foreground, Align::left);
}

Bitmap finish(const Surface& surface) {
  return bitmapOf(surface.get());
}

}  // namespace

Bitmap renderPicker(const PickerPicture& p, double scale) {
  const auto width = static_cast<int>(std::ceil(p.geometry.size.width * scale));
  const auto height = static_cast<int>(std::ceil(p.geometry.size.height * scale));
  Surface surface = surfaceOf(std::max(width, 1), std::max(height, 1));
  Context context(cairo_create(surface.get()), cairo_destroy);
  cairo_t* cr = context.get();
  cairo_scale(cr, scale, scale);
  const Palette palette = paletteFor(p.dark);
  drawPanelBackground(cr, p, palette);
  if (p.view.emptyState && p.geometry.emptySymbol) {
    drawSymbolGlyph(cr, p.view.emptyState->symbol, *p.geometry.emptySymbol, palette.secondary);
    drawText(cr, p.view.emptyState->text, *p.geometry.emptyText, kCalloutFontSize,
             palette.secondary, Align::centre);
  }
  if (p.view.grid) {
    for (size_t i = 0; i < p.view.grid->cells.size() && i < p.geometry.cells.size(); ++i) {
      drawCell(cr, p.view.grid->cells[i], p.geometry.cells[i], p.hoveredCell == i, palette);
    }
  }
  if (p.view.hint && p.geometry.hint) drawHint(cr, p, palette);
  drawFooter(cr, p, palette);
  return finish(surface);
}

Bitmap renderMenuBar(const World& world) {
  const ScenarioScreen& display = world.mainDisplay();
  const double barHeight = display.menuBarHeight;
  constexpr double kLegendHeight = 20;
  const double scale = display.scale;
  Surface surface = surfaceOf(static_cast<int>(std::ceil(display.frame.width() * scale)),
                              static_cast<int>(std::ceil((barHeight + kLegendHeight) * scale)));
  Context context(cairo_create(surface.get()), cairo_destroy);
  cairo_t* cr = context.get();
  cairo_scale(cr, scale, scale);
  drawMenuBar(cr, world);
  if (const auto notch = world.geometry().notchEdges()) {
    setColour(cr, {0, 0, 0});
    roundedRect(cr, {notch->first, -10, notch->second - notch->first, barHeight + 10}, 8);
    cairo_fill(cr);
  }
  std::vector<std::string> hiddenNames;  // left to right
  for (const auto& item : world.statusItems()) {
    if (item.placed.isDrawn()) continue;
    const auto app = world.app(item.pid);
    const std::string name = !item.item.description.empty() ? item.item.description
                             : app && app->name             ? *app->name
                                                            : item.item.key;
    hiddenNames.insert(hiddenNames.begin(), name);
  }
  setColour(cr, {1, 1, 1});
  cairo_rectangle(cr, 0, barHeight, display.frame.width(), kLegendHeight);
  cairo_fill(cr);
  std::string hidden;
  for (const auto& name : hiddenNames) {
    if (!hidden.empty()) hidden += ", ";
    hidden += name;
  }
  drawText(cr, hidden.empty() ? "macOS hides no status item" : "Hidden by macOS: " + hidden,
           {8, barHeight, display.frame.width() - 16, kLegendHeight}, 11, {0.3, 0.3, 0.3},
           Align::left);
  return finish(surface);
}

bool writePngFile(const Bitmap& image, const std::string& path) {
  const auto png = SimImageCodec().encodePNG(image);
  if (!png) return false;
  std::ofstream file(path, std::ios::binary);
  file.write(png->data(), static_cast<std::streamsize>(png->size()));
  return static_cast<bool>(file.flush());
}

}  // namespace kestrune::sim
