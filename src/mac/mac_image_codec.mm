#include "mac/mac_image_codec.hpp"

#import <ImageIO/ImageIO.h>

#include <limits>

#include "mac/cf_ref.hpp"
#include "mac/cg_image_bitmap.hpp"

namespace kestrune {
namespace {

// UTTypePNG's identifier. The literal needs neither the
// UniformTypeIdentifiers framework nor macOS 11.
CFStringRef pngType() {
  return CFSTR("public.png");
}

}  // namespace

std::optional<std::string> MacImageCodec::encodePNG(const Bitmap& image) {
  @autoreleasepool {
    const CFRef<CGImageRef> cgImage = cgImageFromBitmap(image);
    if (!cgImage) return std::nullopt;
    const CFRef<CFMutableDataRef> png(CFDataCreateMutable(kCFAllocatorDefault, 0));
    if (!png) return std::nullopt;
    const CFRef<CGImageDestinationRef> destination(
        CGImageDestinationCreateWithData(png.get(), pngType(), 1, nullptr));
    if (!destination) return std::nullopt;
    CGImageDestinationAddImage(destination.get(), cgImage.get(), nullptr);
    if (!CGImageDestinationFinalize(destination.get())) return std::nullopt;
    const CFIndex length = CFDataGetLength(png.get());
    const UInt8* bytes = CFDataGetBytePtr(png.get());
    if (length <= 0 || !bytes) return std::nullopt;
    return std::string(reinterpret_cast<const char*>(bytes), static_cast<size_t>(length));
  }
}

// Whole PNG files only: another format ImageIO reads, a file cut short or an
// image it cannot finish yields nothing.
std::optional<Bitmap> MacImageCodec::decodePNG(std::string_view bytes) {
  @autoreleasepool {
    if (bytes.empty() || bytes.size() > static_cast<size_t>(std::numeric_limits<CFIndex>::max())) {
      return std::nullopt;
    }
    const CFRef<CFDataRef> data(CFDataCreate(kCFAllocatorDefault,
                                             reinterpret_cast<const UInt8*>(bytes.data()),
                                             static_cast<CFIndex>(bytes.size())));
    if (!data) return std::nullopt;
    const CFRef<CGImageSourceRef> source(CGImageSourceCreateWithData(data.get(), nullptr));
    if (!source || CGImageSourceGetStatus(source.get()) != kCGImageStatusComplete) {
      return std::nullopt;
    }
    const CFStringRef type = CGImageSourceGetType(source.get());
    if (!type || !CFEqual(type, pngType()) || CGImageSourceGetCount(source.get()) == 0 ||
        CGImageSourceGetStatusAtIndex(source.get(), 0) != kCGImageStatusComplete) {
      return std::nullopt;
    }
    const CFRef<CGImageRef> image(CGImageSourceCreateImageAtIndex(source.get(), 0, nullptr));
    if (!image) return std::nullopt;
    return bitmapFromCGImage(image.get());
  }
}

}  // namespace kestrune
