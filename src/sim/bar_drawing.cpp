#include "sim/bar_drawing.hpp"

#include <cmath>
#include <functional>

namespace kestrune::sim {

Colour barColour(bool dark) {
  return dark ? Colour{0.13, 0.13, 0.14} : Colour{0.92, 0.92, 0.93};
}
Colour glyphColour(bool dark) {
  return dark ? Colour{1, 1, 1} : Colour{0, 0, 0};
}

void drawGlyph(cairo_t* cr, const Rect& frame, const std::string& key, Colour c) {
  const double size = std::min(16.0, std::min(frame.width(), frame.height()) - 4);
  if (size <= 2) return;
  const double x = frame.midX() - size / 2;
  const double y = frame.midY() - size / 2;
  cairo_set_source_rgb(cr, c.r, c.g, c.b);
  cairo_set_line_width(cr, 1.6);
  switch (std::hash<std::string>{}(key) % 4) {
    case 0:
      cairo_arc(cr, frame.midX(), frame.midY(), size / 2 - 1, 0, 2 * M_PI);
      cairo_stroke(cr);
      cairo_arc(cr, frame.midX(), frame.midY(), size / 5, 0, 2 * M_PI);
      cairo_fill(cr);
      break;
    case 1:
      cairo_rectangle(cr, x + 1, y + 1, size - 2, size - 2);
      cairo_fill(cr);
      break;
    case 2:
      cairo_move_to(cr, frame.midX(), y);
      cairo_line_to(cr, x + size, y + size);
      cairo_line_to(cr, x, y + size);
      cairo_close_path(cr);
      cairo_fill(cr);
      break;
    default:
      cairo_rectangle(cr, x + 2, y, size / 3, size);
      cairo_rectangle(cr, x + size - 2 - size / 3, y, size / 3, size);
      cairo_fill(cr);
      break;
  }
}

}  // namespace kestrune::sim
