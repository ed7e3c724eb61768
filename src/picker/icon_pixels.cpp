// The pixel work of the item capturer: background keying, the blank test and
// the light/dark judgement.
#include <algorithm>
#include <array>
#include <cmath>

#include "picker/item_capturer.hpp"

namespace kestrune {
namespace {

// The upper median of each colour channel over the border pixels.
std::array<int, 3> borderColour(const Bitmap& rgba) {
  std::array<std::vector<int>, 3> channels;
  auto add = [&](int x, int y) {
    const uint8_t* p = rgba.pixel(x, y);
    for (int c = 0; c < 3; ++c) channels[c].push_back(p[c]);
  };
  for (int x = 0; x < rgba.width; ++x) {
    add(x, 0);
    add(x, rgba.height - 1);
  }
  for (int y = 1; y < rgba.height - 1; ++y) {
    add(0, y);
    add(rgba.width - 1, y);
  }
  std::array<int, 3> colour{};
  for (int c = 0; c < 3; ++c) {
    auto& values = channels[c];
    std::sort(values.begin(), values.end());
    colour[c] = values[values.size() / 2];
  }
  return colour;
}

}  // namespace

std::optional<Bitmap> ItemCapturer::keyed(const Bitmap& image) {
  if (image.width <= 2 || image.height <= 2 || image.bitsPerPixel != 32 || !image.isComplete()) {
    return std::nullopt;
  }
  Bitmap out = image.premultipliedRGBA();
  const auto bg = borderColour(out);
  for (int y = 0; y < out.height; ++y) {
    for (int x = 0; x < out.width; ++x) {
      uint8_t* p = out.pixel(x, y);
      int d = 0;
      for (int c = 0; c < 3; ++c) d = std::max(d, std::abs(p[c] - bg[c]));
      // 20 or less from the background: gone; 80 or more: kept whole.
      const double a = std::clamp((d - 20) / 60.0, 0.0, 1.0);
      for (int c = 0; c < 3; ++c) {
        // Un-mix the background from what remains.
        const double unmixed = std::clamp(p[c] - bg[c] * (1 - a), 0.0, 255 * a);
        p[c] = static_cast<uint8_t>(unmixed);
      }
      p[3] = static_cast<uint8_t>(255 * a);
    }
  }
  return out;
}

bool ItemCapturer::isBlank(const Bitmap& image) {
  if (image.bitsPerPixel != 32 || !image.isComplete()) return false;
  // Alpha leads the pixel in memory only for alpha-first words stored
  // big-endian; ScreenCaptureKit's little-endian alpha-first captures lie in
  // memory as B, G, R, A.
  const bool leading = alphaFirst(image.alphaInfo) && image.byteOrder != ByteOrder::little32;
  const size_t alphaByte = leading ? 0 : 3;
  int visible = 0;
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; ++x) {
      if (image.pixel(x, y)[alphaByte] > 50 && ++visible >= 4) return false;
    }
  }
  return true;
}

std::optional<bool> ItemCapturer::glyphsAreLight(const std::vector<const Bitmap*>& images) {
  int count = 0;
  double sum = 0;
  const size_t used = std::min<size_t>(images.size(), 8);
  for (size_t i = 0; i < used; ++i) {
    const Bitmap& image = *images[i];
    if (image.bitsPerPixel != 32 || image.height < 1 || !image.isComplete()) continue;
    const bool rgb = alphaLast(image.alphaInfo);
    for (int y = 0; y < image.height; y += 2) {
      for (int x = 0; x < image.width; x += 2) {
        const uint8_t* p = image.pixel(x, y);
        const int alpha = p[3];
        if (alpha < 201) continue;
        const int r = rgb ? p[0] : p[2];
        const int b = rgb ? p[2] : p[0];
        ++count;
        sum += (0.299 * r + 0.587 * p[1] + 0.114 * b) / alpha;
      }
    }
  }
  if (count < 21) return std::nullopt;
  return sum / count > 0.55;
}

}  // namespace kestrune
