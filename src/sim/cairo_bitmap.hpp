#pragma once

#include <cairo.h>

#include <bit>
#include <memory>
#include <optional>

#include "core/bitmap.hpp"

// cairo image surfaces as the simulator's pixels: cairo's native ARGB32 on a
// little-endian machine is B, G, R, A in memory, premultiplied, exactly as
// ScreenCaptureKit delivers captures.
namespace kestrune::sim {

static_assert(std::endian::native == std::endian::little,
              "cairo's native pixels are taken as B, G, R, A in memory");

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;
using Context = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

inline Surface surfaceOf(int width, int height) {
  return Surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height),
                 cairo_surface_destroy);
}

inline Bitmap bitmapOf(cairo_surface_t* surface) {
  cairo_surface_flush(surface);
  Bitmap b;
  b.width = cairo_image_surface_get_width(surface);
  b.height = cairo_image_surface_get_height(surface);
  b.bytesPerRow = static_cast<size_t>(cairo_image_surface_get_stride(surface));
  b.alphaInfo = AlphaInfo::premultipliedFirst;
  b.byteOrder = ByteOrder::little32;
  const unsigned char* data = cairo_image_surface_get_data(surface);
  b.data.assign(data, data + b.bytesPerRow * static_cast<size_t>(b.height));
  return b;
}

// A cairo surface holding any complete 32-bit bitmap's pixels; none for
// other bitmaps.
inline std::optional<Surface> surfaceOfBitmap(const Bitmap& image) {
  if (image.bitsPerPixel != 32 || !image.isComplete()) return std::nullopt;
  const Bitmap rgba = image.premultipliedRGBA();
  Surface surface = surfaceOf(image.width, image.height);
  unsigned char* data = cairo_image_surface_get_data(surface.get());
  const auto stride = static_cast<size_t>(cairo_image_surface_get_stride(surface.get()));
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; ++x) {
      const uint8_t* p = rgba.pixel(x, y);
      uint8_t* q = data + static_cast<size_t>(y) * stride + static_cast<size_t>(x) * 4;
      q[0] = p[2];
      q[1] = p[1];
      q[2] = p[0];
      q[3] = p[3];
    }
  }
  cairo_surface_mark_dirty(surface.get());
  return surface;
}

}  // namespace kestrune::sim
