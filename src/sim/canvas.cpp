#include "sim/canvas.hpp"

#include <cmath>
#include <functional>

#include "sim/cairo_bitmap.hpp"
#include "sim/drawing_renderer.hpp"
#include "sim/symbols.hpp"

namespace kestrune::sim {
namespace {

// Drops whole code points from the end until the text and "…" fit.
std::string truncated(cairo_t* cr, std::string text, double width) {
  if (textWidth(cr, text) <= width) return text;
  while (!text.empty() && textWidth(cr, text + "\u2026") > width) {
    do {
      text.pop_back();
    } while (!text.empty() && (static_cast<unsigned char>(text.back()) & 0xC0) == 0x80);
    if (!text.empty()) text.pop_back();
  }
  return text + "\u2026";
}

}  // namespace

double textWidth(cairo_t* cr, const std::string& text) {
  cairo_text_extents_t extents;
  cairo_text_extents(cr, text.c_str(), &extents);
  return extents.x_advance;
}

Palette paletteFor(bool dark) {
  if (dark) return {{0.17, 0.17, 0.18}, {0.95, 0.95, 0.96}, {0.62, 0.62, 0.64}, {0.4, 0.4, 0.42}};
  return {{0.95, 0.95, 0.96}, {0.1, 0.1, 0.1}, {0.45, 0.45, 0.47}, {0.75, 0.75, 0.77}};
}

void setColour(cairo_t* cr, Colour c, double alpha) {
  cairo_set_source_rgba(cr, c.r, c.g, c.b, alpha);
}

void roundedRect(cairo_t* cr, const Rect& r, double radius) {
  const double x = r.minX();
  const double y = r.minY();
  const double w = r.width();
  const double h = r.height();
  cairo_new_sub_path(cr);
  cairo_arc(cr, x + w - radius, y + radius, radius, -M_PI / 2, 0);
  cairo_arc(cr, x + w - radius, y + h - radius, radius, 0, M_PI / 2);
  cairo_arc(cr, x + radius, y + h - radius, radius, M_PI / 2, M_PI);
  cairo_arc(cr, x + radius, y + radius, radius, M_PI, 3 * M_PI / 2);
  cairo_close_path(cr);
}

void drawText(cairo_t* cr, const std::string& text, const Rect& box, double fontSize, Colour c,
              Align align, FontWeight weight) {
  useTextFont(cr, fontSize, weight);
  const std::string shown = truncated(cr, text, box.width());
  const double width = textWidth(cr, shown);
  const double x = align == Align::centre  ? box.midX() - width / 2
                   : align == Align::right ? box.maxX() - width
                                           : box.minX();
  setColour(cr, c);
  cairo_move_to(cr, x, box.midY() + fontSize * 0.35);
  cairo_show_text(cr, shown.c_str());
}

void drawAppIcon(cairo_t* cr, const std::string& bundlePath, const Rect& box) {
  const size_t hash = std::hash<std::string>{}(bundlePath);
  const double hue = static_cast<double>(hash % 360) / 360.0;
  const Colour tile{0.35 + 0.4 * std::fabs(std::sin(hue * M_PI * 2)),
                    0.35 + 0.4 * std::fabs(std::sin((hue + 0.33) * M_PI * 2)),
                    0.35 + 0.4 * std::fabs(std::sin((hue + 0.66) * M_PI * 2))};
  setColour(cr, tile);
  roundedRect(cr, box, box.width() * 0.22);
  cairo_fill(cr);
  const std::string name = bundleName(bundlePath);
  if (knownGlyph(name)) {
    drawSymbolGlyph(cr, name, box.insetBy(box.width() * 0.18, box.height() * 0.18), {1, 1, 1});
    return;
  }
  const std::string initial = name.empty() ? "?" : name.substr(0, 1);
  drawText(cr, initial, box, box.height() * 0.6, {1, 1, 1}, Align::centre, FontWeight::semibold);
}

void drawSpinner(cairo_t* cr, Point centre, double radius, Colour c) {
  constexpr int kSpokes = 12;
  cairo_save(cr);
  cairo_new_path(cr);
  cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
  cairo_set_line_width(cr, radius / 4);
  for (int i = 0; i < kSpokes; ++i) {
    const double angle = 2 * M_PI * i / kSpokes;
    setColour(cr, c, 0.25 + 0.75 * i / (kSpokes - 1));
    cairo_move_to(cr, centre.x + std::cos(angle) * radius / 2,
                  centre.y + std::sin(angle) * radius / 2);
    cairo_line_to(cr, centre.x + std::cos(angle) * radius, centre.y + std::sin(angle) * radius);
    cairo_stroke(cr);
  }
  cairo_restore(cr);
}

void drawBitmap(cairo_t* cr, const Bitmap& bitmap, const Rect& box) {
  auto surface = surfaceOfBitmap(bitmap);
  if (!surface || bitmap.width == 0 || bitmap.height == 0) return;
  cairo_save(cr);
  cairo_translate(cr, box.minX(), box.minY());
  cairo_scale(cr, box.width() / bitmap.width, box.height() / bitmap.height);
  cairo_set_source_surface(cr, surface->get(), 0, 0);
  cairo_paint(cr);
  cairo_restore(cr);
}

Rect centred(const Rect& area, Size size) {
  return {area.midX() - size.width / 2, area.midY() - size.height / 2, size.width, size.height};
}

void drawImage(cairo_t* cr, const Image& image, const Rect& box, const Palette& palette) {
  if (const Bitmap* bitmap = image.bitmap()) {
    const Size natural = image.size.value_or(
        Size{static_cast<double>(bitmap->width), static_cast<double>(bitmap->height)});
    const double fit = std::min({1.0, box.width() / natural.width, box.height() / natural.height});
    drawBitmap(cr, *bitmap, centred(box, {natural.width * fit, natural.height * fit}));
  } else if (const SymbolImage* symbol = image.symbol()) {
    drawSymbolGlyph(cr, symbol->name, box,
                    image.isTemplate ? palette.foreground : palette.secondary);
  } else if (const VectorDrawing* drawing = image.drawing()) {
    const double side = std::min(box.width(), box.height());
    drawDrawing(cr, *drawing, centred(box, {side, side}), palette.foreground);
  } else if (const FileIconImage* file = image.fileIcon()) {
    const double side = std::min(box.width(), box.height());
    drawAppIcon(cr, file->path, centred(box, {side, side}));
  }
}

}  // namespace kestrune::sim
