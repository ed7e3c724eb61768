#include "sim/picker_renderer.hpp"

#include <cmath>
#include <fstream>
#include <functional>

#include "sim/bar_drawing.hpp"
#include "sim/cairo_bitmap.hpp"
#include "sim/canvas.hpp"
#include "sim/sim_screen_capture.hpp"

namespace kestrune::sim {
namespace {

using namespace PickerMetrics;

void drawIcon(cairo_t* cr, const CellIcon& icon, const Rect& area, const Palette& palette) {
  const Image& image = icon.image;
  if (const Bitmap* bitmap = image.bitmap()) {
    const Size size = icon.displaySize.value_or(image.size.value_or(
        Size{static_cast<double>(bitmap->width), static_cast<double>(bitmap->height)}));
    drawBitmap(cr, *bitmap, centred(area, size));
  } else if (const SymbolImage* symbol = image.symbol()) {
    drawSymbol(cr, symbol->name, centred(area, {std::min(area.width() - 8, 60.0), 20}),
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
  drawSymbol(cr, "!", symbol, palette.secondary);
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
  setColour(cr, palette.foreground);
  cairo_set_line_width(cr, 1.5);
  cairo_new_path(cr);  // text leaves a current point that arcs would join
  cairo_arc(cr, gear.midX(), gear.midY(), side / 2 - 1, 0, 2 * M_PI);
  cairo_stroke(cr);
  cairo_arc(cr, gear.midX(), gear.midY(), side / 6, 0, 2 * M_PI);
  cairo_fill(cr);
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
    drawSymbol(cr, p.view.emptyState->symbol,
               {p.geometry.emptySymbol->midX() - 45, p.geometry.emptySymbol->minY(), 90,
                p.geometry.emptySymbol->height()},
               palette.secondary);
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
  const bool dark = world.scenario().menuBar.darkAppearance;
  const double barHeight = display.menuBarHeight;
  constexpr double kLegendHeight = 20;
  const double scale = display.scale;
  Surface surface = surfaceOf(static_cast<int>(std::ceil(display.frame.width() * scale)),
                              static_cast<int>(std::ceil((barHeight + kLegendHeight) * scale)));
  Context context(cairo_create(surface.get()), cairo_destroy);
  cairo_t* cr = context.get();
  cairo_scale(cr, scale, scale);
  const Colour bar = barColour(dark);
  setColour(cr, bar);
  cairo_rectangle(cr, 0, 0, display.frame.width(), barHeight);
  cairo_fill(cr);
  const Colour ink = glyphColour(dark);
  drawText(cr, "\u25CF  Finder   File   Edit   View   Go   Window   Help",
           {12, 0, world.scenario().menuBar.appMenusWidth - 12, barHeight}, 13, ink, Align::left);
  if (const auto notch = world.geometry().notchEdges()) {
    setColour(cr, {0, 0, 0});
    roundedRect(cr, {notch->first, -10, notch->second - notch->first, barHeight + 10}, 8);
    cairo_fill(cr);
  }
  std::vector<std::string> hiddenNames;  // left to right
  for (const auto& item : world.statusItems()) {
    if (item.placed.isDrawn()) {
      drawGlyph(cr, item.placed.frame, item.item.key, ink);
    } else {
      const auto app = world.app(item.pid);
      const std::string name = !item.item.description.empty() ? item.item.description
                               : app && app->name             ? *app->name
                                                              : item.item.key;
      hiddenNames.insert(hiddenNames.begin(), name);
    }
  }
  if (const auto button = world.overflowButton()) {
    drawText(cr, "\u00BB", *button, 15, ink, Align::centre, true);
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
