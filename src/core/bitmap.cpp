#include "core/bitmap.hpp"

#include <array>

namespace kestrune {
namespace {

// The component order of 32-bit pixels in memory, as indexes of R, G, B
// and A (A absent: -1).
struct Layout {
  int r, g, b, a;
};

Layout memoryLayout(const Bitmap& image) {
  // A little-endian 32-bit word stores its components in reverse.
  const bool reversed = image.byteOrder == ByteOrder::little32;
  const bool first = alphaFirst(image.alphaInfo) || image.alphaInfo == AlphaInfo::noneSkipFirst;
  const bool hasAlpha = alphaFirst(image.alphaInfo) || alphaLast(image.alphaInfo);
  // Word order: A R G B when the alpha (or skipped byte) is first, else R G B A.
  std::array<int, 4> word = first ? std::array<int, 4>{3, 0, 1, 2} : std::array<int, 4>{0, 1, 2, 3};
  // word[i] names the component (R=0, G=1, B=2, A=3) at word position i.
  std::array<int, 4> at{};
  for (int i = 0; i < 4; ++i) at[word[i]] = reversed ? 3 - i : i;
  return {at[0], at[1], at[2], hasAlpha ? at[3] : -1};
}

}  // namespace

Bitmap Bitmap::premultipliedRGBA() const {
  const Bitmap& image = *this;
  Bitmap out = Bitmap::rgba(image.width, image.height);
  const Layout l = memoryLayout(image);
  const bool premultiplied = image.alphaInfo == AlphaInfo::premultipliedFirst ||
                             image.alphaInfo == AlphaInfo::premultipliedLast;
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; ++x) {
      const uint8_t* p = image.pixel(x, y);
      uint8_t* q = out.pixel(x, y);
      const int a = l.a < 0 ? 255 : p[l.a];
      auto channel = [&](int index) {
        return premultiplied ? p[index] : static_cast<uint8_t>((p[index] * a + 127) / 255);
      };
      q[0] = channel(l.r);
      q[1] = channel(l.g);
      q[2] = channel(l.b);
      q[3] = static_cast<uint8_t>(a);
    }
  }
  return out;
}

Bitmap Bitmap::rgba(int width, int height) {
  Bitmap b;
  b.width = width;
  b.height = height;
  b.bytesPerRow = static_cast<size_t>(width) * 4;
  b.alphaInfo = AlphaInfo::premultipliedLast;
  b.byteOrder = ByteOrder::big32;
  b.data.assign(b.bytesPerRow * static_cast<size_t>(height), 0);
  return b;
}

}  // namespace kestrune
