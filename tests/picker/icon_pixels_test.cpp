#include <gtest/gtest.h>

#include "picker/item_capturer.hpp"

namespace kestrune {
namespace {

// An R, G, B, A premultiplied-last bitmap filled with one colour.
Bitmap filled(int w, int h, uint8_t r, uint8_t g, uint8_t b, uint8_t a = 255) {
  Bitmap bm = Bitmap::rgba(w, h);
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) {
      uint8_t* p = bm.pixel(x, y);
      p[0] = r;
      p[1] = g;
      p[2] = b;
      p[3] = a;
    }
  }
  return bm;
}

void set(Bitmap& bm, int x, int y, uint8_t r, uint8_t g, uint8_t b, uint8_t a = 255) {
  uint8_t* p = bm.pixel(x, y);
  p[0] = r;
  p[1] = g;
  p[2] = b;
  p[3] = a;
}

TEST(Keyed, UniformCropBecomesTransparentAndThenBlank) {
  const auto keyed = ItemCapturer::keyed(filled(10, 6, 200, 210, 220));
  ASSERT_TRUE(keyed);
  for (int y = 0; y < 6; ++y) {
    for (int x = 0; x < 10; ++x) EXPECT_EQ(keyed->pixel(x, y)[3], 0);
  }
  EXPECT_TRUE(ItemCapturer::isBlank(*keyed));
  EXPECT_EQ(keyed->alphaInfo, AlphaInfo::premultipliedLast);
  EXPECT_EQ(keyed->byteOrder, ByteOrder::big32);
}

TEST(Keyed, DifferenceOf20IsGoneAnd80IsWholeWithALinearRampBetween) {
  Bitmap bm = filled(7, 3, 100, 100, 100);
  set(bm, 1, 1, 120, 100, 100);  // d = 20: transparent
  set(bm, 2, 1, 100, 150, 100);  // d = 50: a = 0.5
  set(bm, 3, 1, 100, 100, 180);  // d = 80: opaque
  set(bm, 4, 1, 30, 100, 100);   // d = 70 below the background: a = 5/6
  set(bm, 5, 1, 121, 100, 100);  // d = 21: a = 1/60
  const auto k = ItemCapturer::keyed(bm);
  ASSERT_TRUE(k);
  EXPECT_EQ(k->pixel(1, 1)[3], 0);
  // a = 0.5: alpha 127; each channel minus half the background, capped at 127.5.
  EXPECT_EQ(k->pixel(2, 1)[3], 127);
  EXPECT_EQ(k->pixel(2, 1)[0], 50);
  EXPECT_EQ(k->pixel(2, 1)[1], 100);
  EXPECT_EQ(k->pixel(2, 1)[2], 50);
  EXPECT_EQ(k->pixel(3, 1)[3], 255);
  EXPECT_EQ(k->pixel(3, 1)[0], 100);
  EXPECT_EQ(k->pixel(3, 1)[2], 180);
  // a = 5/6: 30 − 100/6 = 13.33 → 13; alpha 212.5 → 212.
  EXPECT_EQ(k->pixel(4, 1)[3], 212);
  EXPECT_EQ(k->pixel(4, 1)[0], 13);
  EXPECT_EQ(k->pixel(5, 1)[3], 4);
  EXPECT_EQ(k->pixel(5, 1)[0], 4);  // 121 − 100·59/60 = 22.67, capped at 255/60 = 4.25
}

TEST(Keyed, BackgroundIsTheUpperMedianOfTheBorder) {
  // A 5 × 3 crop: 12 border pixels and one inner pixel of red 40.
  Bitmap bm = filled(5, 3, 10, 0, 0);
  for (int x = 0; x < 5; ++x) set(bm, x, 0, 30, 0, 0);
  set(bm, 2, 1, 40, 0, 0);
  // 7 border pixels at 10, 5 at 30: sorted, index 12 / 2 is 10, so the inner
  // pixel is 30 away: alpha 255 · 10 / 60.
  auto k = ItemCapturer::keyed(bm);
  ASSERT_TRUE(k);
  EXPECT_EQ(k->pixel(2, 1)[3], 42);
  // 6 and 6: the upper median, 30, is the background; 40 is within 20.
  set(bm, 0, 2, 30, 0, 0);
  k = ItemCapturer::keyed(bm);
  EXPECT_EQ(k->pixel(2, 1)[3], 0);
}

TEST(Keyed, ReadsBGRACapturesAndRejectsTinyImages) {
  Bitmap bgra = filled(4, 4, 0, 0, 0);
  bgra.alphaInfo = AlphaInfo::premultipliedFirst;
  bgra.byteOrder = ByteOrder::little32;
  uint8_t* p = bgra.pixel(1, 1);  // memory order B, G, R, A
  p[0] = 0;
  p[1] = 0;
  p[2] = 200;
  const auto k = ItemCapturer::keyed(bgra);
  ASSERT_TRUE(k);
  EXPECT_EQ(k->pixel(1, 1)[0], 200);  // red, now first
  EXPECT_EQ(k->pixel(1, 1)[3], 255);
  EXPECT_FALSE(ItemCapturer::keyed(filled(2, 10, 0, 0, 0)));
  EXPECT_FALSE(ItemCapturer::keyed(filled(10, 2, 0, 0, 0)));
  EXPECT_TRUE(ItemCapturer::keyed(filled(3, 3, 0, 0, 0)));
}

TEST(IsBlank, ThreeVisiblePixelsAreBlankAndFourAreNot) {
  Bitmap bm = filled(8, 8, 0, 0, 0, 0);
  set(bm, 0, 0, 0, 0, 0, 51);
  set(bm, 1, 0, 0, 0, 0, 255);
  set(bm, 2, 0, 0, 0, 0, 255);
  set(bm, 3, 0, 0, 0, 0, 50);  // not visible
  EXPECT_TRUE(ItemCapturer::isBlank(bm));
  set(bm, 7, 7, 0, 0, 0, 60);
  EXPECT_FALSE(ItemCapturer::isBlank(bm));
}

TEST(IsBlank, BigEndianAlphaFirstImagesAreReadAtByteZeroAndOtherDepthsAreNotBlank) {
  Bitmap bm = filled(4, 4, 0, 0, 0, 0);
  bm.alphaInfo = AlphaInfo::premultipliedFirst;
  for (int x = 0; x < 4; ++x) bm.pixel(x, 0)[0] = 255;
  EXPECT_FALSE(ItemCapturer::isBlank(bm));
  bm.byteOrder = ByteOrder::standard;
  EXPECT_FALSE(ItemCapturer::isBlank(bm));
  bm.alphaInfo = AlphaInfo::first;
  EXPECT_FALSE(ItemCapturer::isBlank(bm));
  bm.alphaInfo = AlphaInfo::premultipliedLast;
  EXPECT_TRUE(ItemCapturer::isBlank(bm));
  bm.bitsPerPixel = 24;
  EXPECT_FALSE(ItemCapturer::isBlank(bm));
  Bitmap broken = filled(4, 4, 0, 0, 0, 0);
  broken.data.resize(8);
  EXPECT_FALSE(ItemCapturer::isBlank(broken));
}

// A window capture as ScreenCaptureKit delivers it: alpha first in a
// little-endian word, so B, G, R, A in memory; `glyph` pixels of colour
// (r, g, b) on a transparent window.
Bitmap capturedWindow(int glyph, uint8_t r, uint8_t g, uint8_t b) {
  Bitmap bm = filled(8, 8, 0, 0, 0, 0);
  bm.alphaInfo = AlphaInfo::premultipliedFirst;
  bm.byteOrder = ByteOrder::little32;
  for (int i = 0; i < glyph; ++i) {
    uint8_t* p = bm.pixel(i % 8, i / 8);
    p[0] = b;
    p[1] = g;
    p[2] = r;
    p[3] = 255;
  }
  return bm;
}

TEST(IsBlank, LittleEndianAlphaFirstCapturesAreReadAtByteThree) {
  // A black glyph, as on a light menu bar: blue is 0 but the glyph is there.
  EXPECT_FALSE(ItemCapturer::isBlank(capturedWindow(4, 0, 0, 0)));
  EXPECT_TRUE(ItemCapturer::isBlank(capturedWindow(3, 0, 0, 0)));
  // A white glyph, as on a dark bar.
  EXPECT_FALSE(ItemCapturer::isBlank(capturedWindow(4, 255, 255, 255)));
  // Blue without alpha is nothing: byte 0 is not the alpha here.
  Bitmap blueOnly = capturedWindow(0, 0, 0, 0);
  for (int x = 0; x < 8; ++x) blueOnly.pixel(x, 0)[0] = 255;
  EXPECT_TRUE(ItemCapturer::isBlank(blueOnly));
}

// `opaque` samples at alpha 255 on even rows and columns, in `colour`.
Bitmap samples(int opaque, uint8_t colour) {
  Bitmap bm = filled(2 * opaque, 1, 0, 0, 0, 0);
  for (int i = 0; i < opaque; ++i) set(bm, 2 * i, 0, colour, colour, colour, 255);
  for (int i = 0; i < opaque; ++i) set(bm, 2 * i + 1, 0, 0, 0, 0, 255);  // odd: never sampled
  return bm;
}

TEST(GlyphsAreLight, TwentySamplesCannotTellAndTwentyOneCan) {
  const Bitmap twenty = samples(20, 255);
  EXPECT_EQ(ItemCapturer::glyphsAreLight({&twenty}), std::nullopt);
  const Bitmap ten = samples(10, 255);
  const Bitmap eleven = samples(11, 255);
  EXPECT_EQ(ItemCapturer::glyphsAreLight({&ten, &eleven}), true);
  const Bitmap dark = samples(21, 20);
  EXPECT_EQ(ItemCapturer::glyphsAreLight({&dark}), false);
  EXPECT_EQ(ItemCapturer::glyphsAreLight({}), std::nullopt);
}

TEST(GlyphsAreLight, OnlyTheFirstEightImagesAndOpaqueSamplesCount) {
  const Bitmap empty = samples(0, 0);
  const Bitmap light = samples(30, 255);
  std::vector<const Bitmap*> nine(8, &empty);
  nine.push_back(&light);
  EXPECT_EQ(ItemCapturer::glyphsAreLight(nine), std::nullopt);
  Bitmap faint = samples(30, 255);
  for (int i = 0; i < 30; ++i) faint.pixel(2 * i, 0)[3] = 200;
  EXPECT_EQ(ItemCapturer::glyphsAreLight({&faint}), std::nullopt);
}

TEST(GlyphsAreLight, LuminanceIsUnpremultipliedAndBGRAIsRead) {
  // Premultiplied white at alpha 210: 210 / 210 = 1.0 luminance: light.
  Bitmap bm = samples(21, 210);
  for (int i = 0; i < 21; ++i) bm.pixel(2 * i, 0)[3] = 210;
  EXPECT_EQ(ItemCapturer::glyphsAreLight({&bm}), true);
  // Blue-only glyphs: dark read as R, G, B; light when read as B, G, R.
  Bitmap blue = filled(42, 1, 0, 0, 255, 255);
  EXPECT_EQ(ItemCapturer::glyphsAreLight({&blue}), false);  // 0.114
  blue.alphaInfo = AlphaInfo::premultipliedFirst;
  EXPECT_EQ(ItemCapturer::glyphsAreLight({&blue}), false);  // 0.299: still dark
  Bitmap green = filled(42, 1, 0, 255, 0, 255);
  EXPECT_EQ(ItemCapturer::glyphsAreLight({&green}), true);  // 0.587
}

}  // namespace
}  // namespace kestrune
