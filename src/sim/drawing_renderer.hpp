#pragma once

#include <cairo.h>

#include <cstdint>
#include <string>
#include <vector>

#include "core/image.hpp"
#include "sim/bar_drawing.hpp"

namespace kestrune::sim {

// A drawing rasterised at `scale` pixels per point: premultiplied ARGB, one
// 32-bit word per pixel in native byte order, rows top to bottom.
struct Raster {
  int width = 0;
  int height = 0;
  std::vector<uint32_t> pixels;
  [[nodiscard]] uint8_t alphaAt(double xPoints, double yPoints, double scale) const;
};

// Draws the drawing into `box` of `cr` in `colour`, scaled to the box.
void drawDrawing(cairo_t* cr, const VectorDrawing& drawing, const Rect& box, Colour colour);

[[nodiscard]] Raster rasterize(const VectorDrawing& drawing, double scale);
// Writes the drawing as a PNG file; false when the file cannot be written.
bool writePng(const VectorDrawing& drawing, double scale, const std::string& path);

}  // namespace kestrune::sim
