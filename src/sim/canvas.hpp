#pragma once

#include <cairo.h>

#include <string>

#include "core/bitmap.hpp"
#include "core/geometry.hpp"
#include "core/image.hpp"
#include "sim/bar_drawing.hpp"
#include "sim/fonts.hpp"

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

enum class Align { left, centre, right };

// One line of text, cut with "…" to fit the box's width, its baseline
// placed for the box's height.
void drawText(cairo_t* cr, const std::string& text, const Rect& box, double fontSize, Colour c,
              Align align, FontWeight weight = FontWeight::regular);
// The advance of `text` in `cr`'s current font.
[[nodiscard]] double textWidth(cairo_t* cr, const std::string& text);
// A stand-in for an app's icon: a tile in a colour of its own with the
// app's glyph (see symbols.hpp) or, without one, its initial.
void drawAppIcon(cairo_t* cr, const std::string& bundlePath, const Rect& box);
// The spinning progress indicator, caught at one moment: twelve spokes
// fading round the circle.
void drawSpinner(cairo_t* cr, Point centre, double radius, Colour c);
void drawBitmap(cairo_t* cr, const Bitmap& bitmap, const Rect& box);
// Any image description, fitted into `box`.
void drawImage(cairo_t* cr, const Image& image, const Rect& box, const Palette& palette);
[[nodiscard]] Rect centred(const Rect& area, Size size);

}  // namespace kestrune::sim
