#include "mac/cg_image_bitmap.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace kestrune {
namespace {

constexpr size_t kBytesPerPixel = 4;

// What a redrawn image holds: B, G, R, A in memory.
constexpr uint32_t kPremultipliedFirstLittle =
    static_cast<uint32_t>(kCGImageAlphaPremultipliedFirst) |
    static_cast<uint32_t>(kCGBitmapByteOrder32Little);

// a * b, or none when that overflows.
std::optional<size_t> product(size_t a, size_t b) {
  size_t result = 0;
  if (__builtin_mul_overflow(a, b, &result)) return std::nullopt;
  return result;
}

// Bitmap sizes are ints.
bool isUsableSide(size_t value) {
  return value > 0 && value <= static_cast<size_t>(std::numeric_limits<int>::max());
}

// The 32-bit orders and the default one; 16-bit orders do not describe
// pixels of four bytes.
std::optional<ByteOrder> byteOrderOf(CGBitmapInfo info) {
  switch (info & kCGBitmapByteOrderMask) {
    case kCGBitmapByteOrderDefault:
      return ByteOrder::standard;
    case kCGBitmapByteOrder32Big:
      return ByteOrder::big32;
    case kCGBitmapByteOrder32Little:
      return ByteOrder::little32;
    default:
      return std::nullopt;
  }
}

// Four components a pixel: three colours and an alpha or a skipped byte.
// Neither "none" (three bytes) nor "alpha only" (one) is that.
std::optional<AlphaInfo> alphaInfoOf(CGImageAlphaInfo info) {
  const auto value = static_cast<uint32_t>(info);
  if (value < static_cast<uint32_t>(AlphaInfo::premultipliedLast) ||
      value > static_cast<uint32_t>(AlphaInfo::noneSkipFirst)) {
    return std::nullopt;
  }
  return static_cast<AlphaInfo>(value);
}

bool isSRGB(CGColorSpaceRef space) {
  const CFRef<CFStringRef> name(CGColorSpaceCopyName(space));
  return name && CFEqual(name.get(), kCGColorSpaceSRGB);
}

// True when the image's bytes are what a Bitmap with its flags describes:
// sRGB, as everything downstream takes pixels to be. A capture of a display
// in another space (Display P3) is converted, not relabelled.
bool hasBitmapLayout(CGImageRef image) {
  if (CGImageGetBitsPerComponent(image) != 8 || CGImageGetBitsPerPixel(image) != 32) return false;
  const CGBitmapInfo info = CGImageGetBitmapInfo(image);
  if ((info & kCGBitmapFloatComponents) != 0 || !byteOrderOf(info) ||
      !alphaInfoOf(CGImageGetAlphaInfo(image))) {
    return false;
  }
  const CGColorSpaceRef space = CGImageGetColorSpace(image);
  return space && isSRGB(space) && CGImageGetDecode(image) == nullptr;
}

std::optional<Bitmap> copiedPixels(CGImageRef image, size_t width, size_t height) {
  const size_t bytesPerRow = CGImageGetBytesPerRow(image);
  const auto rowPixels = product(width, kBytesPerPixel);
  const auto size = product(bytesPerRow, height);
  if (!rowPixels || !size || bytesPerRow < *rowPixels) return std::nullopt;
  const CGDataProviderRef provider = CGImageGetDataProvider(image);
  if (!provider) return std::nullopt;
  const CFRef<CFDataRef> data(CGDataProviderCopyData(provider));
  if (!data) return std::nullopt;
  const auto length = static_cast<size_t>(CFDataGetLength(data.get()));
  const UInt8* bytes = CFDataGetBytePtr(data.get());
  // The last row may stop at its last pixel, without the padding of the
  // others.
  if (!bytes || length < *size - (bytesPerRow - *rowPixels)) return std::nullopt;

  Bitmap bitmap;
  bitmap.width = static_cast<int>(width);
  bitmap.height = static_cast<int>(height);
  bitmap.bitsPerComponent = 8;
  bitmap.bitsPerPixel = 32;
  bitmap.bytesPerRow = bytesPerRow;
  bitmap.alphaInfo = *alphaInfoOf(CGImageGetAlphaInfo(image));
  bitmap.byteOrder = *byteOrderOf(CGImageGetBitmapInfo(image));
  bitmap.data.assign(bytes, bytes + std::min(length, *size));
  bitmap.data.resize(*size);  // a short last row gets zero padding
  return bitmap;
}

std::optional<Bitmap> redrawnPixels(CGImageRef image, size_t width, size_t height) {
  const auto bytesPerRow = product(width, kBytesPerPixel);
  const auto size = bytesPerRow ? product(*bytesPerRow, height) : std::nullopt;
  if (!size) return std::nullopt;
  const CFRef<CGColorSpaceRef> sRGB(CGColorSpaceCreateWithName(kCGColorSpaceSRGB));
  if (!sRGB) return std::nullopt;

  Bitmap bitmap;
  bitmap.width = static_cast<int>(width);
  bitmap.height = static_cast<int>(height);
  bitmap.bitsPerComponent = 8;
  bitmap.bitsPerPixel = 32;
  bitmap.bytesPerRow = *bytesPerRow;
  bitmap.alphaInfo = AlphaInfo::premultipliedFirst;
  bitmap.byteOrder = ByteOrder::little32;
  bitmap.data.assign(*size, 0);
  {
    // The context draws straight into the bitmap's buffer, transparent to
    // begin with, and is gone before the buffer moves.
    const CFRef<CGContextRef> context(CGBitmapContextCreate(
        bitmap.data.data(), width, height, 8, *bytesPerRow, sRGB.get(), kPremultipliedFirstLittle));
    if (!context) return std::nullopt;
    CGContextDrawImage(context.get(),
                       CGRectMake(0, 0, static_cast<CGFloat>(width), static_cast<CGFloat>(height)),
                       image);
  }
  return bitmap;
}

CGBitmapInfo bitmapInfoOf(const Bitmap& bitmap) {
  uint32_t order = kCGBitmapByteOrderDefault;
  switch (bitmap.byteOrder) {
    case ByteOrder::standard:
      break;
    case ByteOrder::big32:
      order = kCGBitmapByteOrder32Big;
      break;
    case ByteOrder::little32:
      order = kCGBitmapByteOrder32Little;
      break;
  }
  return static_cast<CGBitmapInfo>(static_cast<uint32_t>(bitmap.alphaInfo) | order);
}

}  // namespace

std::optional<Bitmap> bitmapFromCGImage(CGImageRef image) {
  if (!image) return std::nullopt;
  const size_t width = CGImageGetWidth(image);
  const size_t height = CGImageGetHeight(image);
  if (!isUsableSide(width) || !isUsableSide(height)) return std::nullopt;
  return hasBitmapLayout(image) ? copiedPixels(image, width, height)
                                : redrawnPixels(image, width, height);
}

CFRef<CGImageRef> cgImageFromBitmap(const Bitmap& bitmap) {
  if (bitmap.bitsPerComponent != 8 || bitmap.bitsPerPixel != 32 || !bitmap.isComplete()) return {};
  const auto size = product(bitmap.bytesPerRow, static_cast<size_t>(bitmap.height));
  if (!size || *size > static_cast<size_t>(std::numeric_limits<CFIndex>::max())) return {};
  // A copy: the image may outlive the bitmap.
  const CFRef<CFDataRef> bytes(
      CFDataCreate(kCFAllocatorDefault, bitmap.data.data(), static_cast<CFIndex>(*size)));
  if (!bytes) return {};
  const CFRef<CGDataProviderRef> provider(CGDataProviderCreateWithCFData(bytes.get()));
  const CFRef<CGColorSpaceRef> sRGB(CGColorSpaceCreateWithName(kCGColorSpaceSRGB));
  if (!provider || !sRGB) return {};
  return CFRef<CGImageRef>(
      CGImageCreate(static_cast<size_t>(bitmap.width), static_cast<size_t>(bitmap.height), 8, 32,
                    bitmap.bytesPerRow, sRGB.get(), bitmapInfoOf(bitmap), provider.get(), nullptr,
                    false, kCGRenderingIntentDefault));
}

}  // namespace kestrune
