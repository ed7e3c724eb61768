#pragma once

#include <cairo.h>

#include <string>

#include "core/geometry.hpp"

namespace kestrune::sim {

struct Colour {
  double r, g, b;
};

[[nodiscard]] Colour barColour(bool dark);
[[nodiscard]] Colour glyphColour(bool dark);

// One of a few glyph shapes, chosen by the item's key, 16 points wide,
// centred in `frame`: what an app draws for its status item.
void drawGlyph(cairo_t* cr, const Rect& frame, const std::string& key, Colour c);

}  // namespace kestrune::sim
