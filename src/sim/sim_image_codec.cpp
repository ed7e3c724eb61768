#include "sim/sim_screen_capture.hpp"

#include <cstring>
#include <memory>

#include "sim/cairo_bitmap.hpp"

// PNG files through cairo, whose image surfaces hold the same pixel layout
// as the simulated captures.
namespace kestrune::sim {

std::optional<std::string> SimImageCodec::encodePNG(const Bitmap& image) {
  std::optional<Surface> surface = surfaceOfBitmap(image);
  if (!surface) return std::nullopt;
  std::string png;
  const auto write = [](void* out, const unsigned char* bytes, unsigned int length) {
    static_cast<std::string*>(out)->append(reinterpret_cast<const char*>(bytes), length);
    return CAIRO_STATUS_SUCCESS;
  };
  if (cairo_surface_write_to_png_stream(surface->get(), write, &png) != CAIRO_STATUS_SUCCESS) {
    return std::nullopt;
  }
  return png;
}

namespace {

// An icon is a few dozen points wide: a header announcing more than this is
// refused before anything is allocated for it.
constexpr uint32_t kMaxSide = 4096;

uint32_t bigEndian32(std::string_view b, size_t at) {
  uint32_t v = 0;
  for (size_t i = 0; i < 4; ++i) v = (v << 8) | static_cast<unsigned char>(b[at + i]);
  return v;
}

// The width and height of the header chunk, when the bytes start like a PNG.
bool sizeIsReasonable(std::string_view bytes) {
  constexpr size_t kSizeEnd = 24;  // signature (8), chunk length and type (8), width, height
  if (bytes.size() < kSizeEnd) return true;  // too short to be anything: cairo says so
  const uint32_t width = bigEndian32(bytes, 16);
  const uint32_t height = bigEndian32(bytes, 20);
  return width <= kMaxSide && height <= kMaxSide;
}

}  // namespace

std::optional<Bitmap> SimImageCodec::decodePNG(std::string_view bytes) {
  if (!sizeIsReasonable(bytes)) return std::nullopt;
  struct Reader {
    std::string_view rest;
  } reader{bytes};
  const auto read = [](void* in, unsigned char* out, unsigned int length) {
    auto* r = static_cast<Reader*>(in);
    if (r->rest.size() < length) return CAIRO_STATUS_READ_ERROR;
    std::memcpy(out, r->rest.data(), length);
    r->rest.remove_prefix(length);
    return CAIRO_STATUS_SUCCESS;
  };
  Surface surface(cairo_image_surface_create_from_png_stream(read, &reader), cairo_surface_destroy);
  if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS ||
      cairo_image_surface_get_format(surface.get()) == CAIRO_FORMAT_INVALID) {
    return std::nullopt;
  }
  if (cairo_image_surface_get_format(surface.get()) != CAIRO_FORMAT_ARGB32) {
    // Opaque images come as RGB24: redraw them as ARGB32.
    Surface argb = surfaceOf(cairo_image_surface_get_width(surface.get()),
                             cairo_image_surface_get_height(surface.get()));
    Context cr(cairo_create(argb.get()), cairo_destroy);
    cairo_set_source_surface(cr.get(), surface.get(), 0, 0);
    cairo_paint(cr.get());
    surface = std::move(argb);
  }
  return bitmapOf(surface.get());
}

}  // namespace kestrune::sim
