#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kestrune {

// Where a pixel's alpha sits and whether colours are premultiplied by it,
// with CGImageAlphaInfo's values.
enum class AlphaInfo : uint32_t {
  none = 0,
  premultipliedLast = 1,
  premultipliedFirst = 2,
  last = 3,
  first = 4,
  noneSkipLast = 5,
  noneSkipFirst = 6,
};

[[nodiscard]] constexpr bool alphaFirst(AlphaInfo a) {
  return a == AlphaInfo::premultipliedFirst || a == AlphaInfo::first;
}
[[nodiscard]] constexpr bool alphaLast(AlphaInfo a) {
  return a == AlphaInfo::premultipliedLast || a == AlphaInfo::last;
}

// How 32-bit pixels are laid out in memory (CGBitmapInfo's byte order).
enum class ByteOrder : uint32_t { standard, big32, little32 };

// Pixels as the platform's image holds them: 8 bits per component, rows of
// `bytesPerRow` bytes, in the format the flags describe. A capture of the
// screen typically arrives as B, G, R, A in memory (premultiplied first,
// little-endian 32-bit); the keyed icons are R, G, B, A (premultiplied last,
// big-endian).
struct Bitmap {
  int width = 0;
  int height = 0;
  int bitsPerComponent = 8;
  int bitsPerPixel = 32;
  size_t bytesPerRow = 0;
  AlphaInfo alphaInfo = AlphaInfo::premultipliedLast;
  ByteOrder byteOrder = ByteOrder::big32;
  std::vector<uint8_t> data;

  [[nodiscard]] const uint8_t* pixel(int x, int y) const {
    return data.data() + static_cast<size_t>(y) * bytesPerRow + static_cast<size_t>(x) * 4;
  }
  [[nodiscard]] uint8_t* pixel(int x, int y) {
    return data.data() + static_cast<size_t>(y) * bytesPerRow + static_cast<size_t>(x) * 4;
  }
  // True when the buffer holds every row the size and stride promise.
  [[nodiscard]] bool isComplete() const {
    return width > 0 && height > 0 && bytesPerRow >= static_cast<size_t>(width) * 4 &&
           data.size() >= static_cast<size_t>(height) * bytesPerRow;
  }

  // The image drawn into an all-zero R, G, B, A premultiplied-last,
  // big-endian bitmap: a format conversion, premultiplying where needed.
  [[nodiscard]] Bitmap premultipliedRGBA() const;

  // An all-zero R, G, B, A bitmap, premultiplied last, big-endian.
  [[nodiscard]] static Bitmap rgba(int width, int height);
};

}  // namespace kestrune
