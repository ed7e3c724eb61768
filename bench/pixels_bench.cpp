// The capturer's pixel work over a full 2× menu bar strip of a 14-inch
// laptop (3024 × 74 pixels cut into 30 crops), against a plain copy of the
// same bytes in the same run: `bytes_per_second` and the megapixel counter
// are comparable across the three.
#include <benchmark/benchmark.h>

#include <cstring>

#include "picker/item_capturer.hpp"

namespace {

using namespace kestrune;

constexpr int kStripWidth = 3024;
constexpr int kStripHeight = 74;
constexpr int kCrops = 30;

// A strip as a capture delivers it (B, G, R, A, premultiplied first,
// little-endian): a light bar with a dark square glyph in each crop.
Bitmap strip() {
  Bitmap b;
  b.width = kStripWidth;
  b.height = kStripHeight;
  b.bytesPerRow = static_cast<size_t>(kStripWidth) * 4;
  b.alphaInfo = AlphaInfo::premultipliedFirst;
  b.byteOrder = ByteOrder::little32;
  b.data.assign(b.bytesPerRow * kStripHeight, 0);
  const int cropWidth = kStripWidth / kCrops;
  for (int y = 0; y < kStripHeight; ++y) {
    for (int x = 0; x < kStripWidth; ++x) {
      uint8_t* p = b.pixel(x, y);
      const int cx = x % cropWidth;
      const bool glyph = cx > cropWidth / 4 && cx < 3 * cropWidth / 4 && y > 20 && y < 54;
      const uint8_t v = glyph ? 20 : 235;
      p[0] = p[1] = p[2] = v;
      p[3] = 255;
    }
  }
  return b;
}

std::vector<Bitmap> crops(const Bitmap& s) {
  std::vector<Bitmap> result;
  const int w = kStripWidth / kCrops;
  for (int i = 0; i < kCrops; ++i) {
    Bitmap c = s;
    c.width = w;
    c.bytesPerRow = static_cast<size_t>(w) * 4;
    c.data.resize(c.bytesPerRow * kStripHeight);
    for (int y = 0; y < kStripHeight; ++y) {
      std::memcpy(c.pixel(0, y), s.pixel(i * w, y), c.bytesPerRow);
    }
    result.push_back(std::move(c));
  }
  return result;
}

void report(benchmark::State& state, int64_t pixelsPerIteration) {
  state.SetBytesProcessed(state.iterations() * pixelsPerIteration * 4);
  state.counters["Mpixels/s"] =
      benchmark::Counter(static_cast<double>(state.iterations() * pixelsPerIteration) / 1e6,
                         benchmark::Counter::kIsRate);
}

void BM_CopyStrip(benchmark::State& state) {
  const auto pieces = crops(strip());
  std::vector<std::vector<uint8_t>> out(pieces.size());
  for (auto _ : state) {
    for (size_t i = 0; i < pieces.size(); ++i) out[i] = pieces[i].data;
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  report(state, static_cast<int64_t>(kStripWidth / kCrops) * kCrops * kStripHeight);
}
BENCHMARK(BM_CopyStrip);

void BM_KeyAndBlankTestStrip(benchmark::State& state) {
  const auto pieces = crops(strip());
  for (auto _ : state) {
    for (const auto& piece : pieces) {
      auto keyed = ItemCapturer::keyed(piece);
      benchmark::DoNotOptimize(ItemCapturer::isBlank(*keyed));
    }
  }
  report(state, static_cast<int64_t>(kStripWidth / kCrops) * kCrops * kStripHeight);
}
BENCHMARK(BM_KeyAndBlankTestStrip);

void BM_GlyphsAreLight(benchmark::State& state) {
  auto pieces = crops(strip());
  std::vector<Bitmap> keyed;
  for (int i = 0; i < 8; ++i) keyed.push_back(*ItemCapturer::keyed(pieces[i]));
  std::vector<const Bitmap*> eight;
  for (const auto& k : keyed) eight.push_back(&k);
  for (auto _ : state) benchmark::DoNotOptimize(ItemCapturer::glyphsAreLight(eight));
  report(state, static_cast<int64_t>(kStripWidth / kCrops) * 8 * kStripHeight);
}
BENCHMARK(BM_GlyphsAreLight);

}  // namespace
