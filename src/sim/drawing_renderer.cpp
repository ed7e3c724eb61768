#include "sim/drawing_renderer.hpp"

#include <cairo.h>

#include <cmath>
#include <cstring>
#include <memory>

namespace kestrune::sim {
namespace {

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;
using Context = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

void roundedRect(cairo_t* cr, const Rect& r, double rx, double ry) {
  // Elliptical corners, as NSBezierPath's rounded rectangle draws them.
  rx = std::min(rx, r.width() / 2);
  ry = std::min(ry, r.height() / 2);
  auto corner = [&](double cx, double cy, double from) {
    cairo_save(cr);
    cairo_translate(cr, cx, cy);
    cairo_scale(cr, rx, ry);
    cairo_arc(cr, 0, 0, 1, from, from + M_PI / 2);
    cairo_restore(cr);
  };
  cairo_new_sub_path(cr);
  corner(r.maxX() - rx, r.minY() + ry, -M_PI / 2);
  corner(r.maxX() - rx, r.maxY() - ry, 0);
  corner(r.minX() + rx, r.maxY() - ry, M_PI / 2);
  corner(r.minX() + rx, r.minY() + ry, M_PI);
  cairo_close_path(cr);
}

struct ShapePainter {
  cairo_t* cr;
  void operator()(const VectorDrawing::RoundedRectStroke& s) const {
    roundedRect(cr, s.rect, s.radiusX, s.radiusY);
    cairo_set_line_width(cr, s.lineWidth);
    cairo_stroke(cr);
  }
  void operator()(const VectorDrawing::FilledEllipse& s) const {
    cairo_save(cr);
    cairo_translate(cr, s.rect.midX(), s.rect.midY());
    cairo_scale(cr, s.rect.width() / 2, s.rect.height() / 2);
    cairo_arc(cr, 0, 0, 1, 0, 2 * M_PI);
    cairo_restore(cr);
    cairo_fill(cr);
  }
  void operator()(const VectorDrawing::RoundPolylineStroke& s) const {
    if (s.points.empty()) return;
    cairo_move_to(cr, s.points.front().x, s.points.front().y);
    for (size_t i = 1; i < s.points.size(); ++i) cairo_line_to(cr, s.points[i].x, s.points[i].y);
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
    cairo_set_line_width(cr, s.lineWidth);
    cairo_stroke(cr);
  }
};

Surface draw(const VectorDrawing& drawing, double scale) {
  const int w = std::max(1, static_cast<int>(std::lround(drawing.size.width * scale)));
  const int h = std::max(1, static_cast<int>(std::lround(drawing.size.height * scale)));
  Surface surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h), cairo_surface_destroy);
  Context cr(cairo_create(surface.get()), cairo_destroy);
  cairo_scale(cr.get(), scale, scale);  // cairo's y grows downward: the drawing's own space
  cairo_set_source_rgba(cr.get(), 0, 0, 0, 1);
  for (const auto& shape : drawing.shapes) std::visit(ShapePainter{cr.get()}, shape);
  cairo_surface_flush(surface.get());
  return surface;
}

}  // namespace

void drawDrawing(cairo_t* cr, const VectorDrawing& drawing, const Rect& box, Colour colour) {
  if (drawing.size.width <= 0 || drawing.size.height <= 0) return;
  cairo_save(cr);
  cairo_new_path(cr);
  cairo_translate(cr, box.minX(), box.minY());
  cairo_scale(cr, box.width() / drawing.size.width, box.height() / drawing.size.height);
  cairo_set_source_rgb(cr, colour.r, colour.g, colour.b);
  for (const auto& shape : drawing.shapes) std::visit(ShapePainter{cr}, shape);
  cairo_restore(cr);
}

uint8_t Raster::alphaAt(double xPoints, double yPoints, double scale) const {
  const int x = static_cast<int>(xPoints * scale);
  const int y = static_cast<int>(yPoints * scale);
  if (x < 0 || y < 0 || x >= width || y >= height) return 0;
  return static_cast<uint8_t>(pixels[static_cast<size_t>(y) * width + x] >> 24);
}

Raster rasterize(const VectorDrawing& drawing, double scale) {
  Surface surface = draw(drawing, scale);
  Raster raster;
  raster.width = cairo_image_surface_get_width(surface.get());
  raster.height = cairo_image_surface_get_height(surface.get());
  const int stride = cairo_image_surface_get_stride(surface.get());
  const unsigned char* data = cairo_image_surface_get_data(surface.get());
  raster.pixels.resize(static_cast<size_t>(raster.width) * raster.height);
  for (int y = 0; y < raster.height; ++y) {
    std::memcpy(&raster.pixels[static_cast<size_t>(y) * raster.width],
                data + static_cast<ptrdiff_t>(y) * stride, static_cast<size_t>(raster.width) * 4);
  }
  return raster;
}

bool writePng(const VectorDrawing& drawing, double scale, const std::string& path) {
  Surface surface = draw(drawing, scale);
  return cairo_surface_write_to_png(surface.get(), path.c_str()) == CAIRO_STATUS_SUCCESS;
}

}  // namespace kestrune::sim
