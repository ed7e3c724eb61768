#pragma once

#include <cairo.h>

#include <string>

#include "core/bitmap.hpp"
#include "core/geometry.hpp"
#include "core/image.hpp"
#include "sim/bar_drawing.hpp"

// Drawing helpers shared by the simulator's pictures of Kestrune's windows.
namespace kestrune::sim {

struct Palette {
  Colour background;
  Colour foreground;
  Colour secondary;
  Colour separator;
};

[[nodiscard]] Palette paletteFor(bool dark);
void setColour(cairo_t* cr, Colour c, double alpha = 1);
void roundedRect(cairo_t* cr, const Rect& r, double radius);

enum class Align { left, centre };

// One line of text, cut with "…" to fit the box's width, its baseline
// placed for the box's height.
void drawText(cairo_t* cr, const std::string& text, const Rect& box, double fontSize, Colour c,
              Align align, bool bold = false);
// A stand-in for a system symbol: a frame with the symbol's name in it, so
// that a person looking at the picture knows which symbol macOS would draw.
void drawSymbol(cairo_t* cr, const std::string& name, const Rect& box, Colour c);
// A stand-in for an app's icon: a tile in a colour of its own with the
// app's initial.
void drawAppIcon(cairo_t* cr, const std::string& bundlePath, const Rect& box);
void drawBitmap(cairo_t* cr, const Bitmap& bitmap, const Rect& box);
// Any image description, fitted into `box`.
void drawImage(cairo_t* cr, const Image& image, const Rect& box, const Palette& palette);
[[nodiscard]] Rect centred(const Rect& area, Size size);

}  // namespace kestrune::sim
