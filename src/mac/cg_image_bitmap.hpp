#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <optional>

#include "core/bitmap.hpp"
#include "mac/cf_ref.hpp"

namespace kestrune {

// The pixels of `image` in sRGB. Images of four 8-bit bytes a pixel in the
// sRGB colour space are taken as they are, with their own format flags
// (alpha info and byte order by value, rows of the image's own stride); any
// other (another colour space such as a display's Display P3, 16-bit or
// float components, grey, indexed, three bytes a pixel, a decode array) is
// first drawn, and so converted, into an sRGB bitmap of premultiplied
// B, G, R, A bytes (premultiplied first, little-endian 32-bit). None for
// NULL, or when the pixels cannot be read.
[[nodiscard]] std::optional<Bitmap> bitmapFromCGImage(CGImageRef image);

// An sRGB image over a copy of the bitmap's bytes, described by the bitmap's
// own flags. Null for a bitmap that is not complete or not 8 bits a component
// and 32 a pixel, or whose flags Core Graphics rejects.
[[nodiscard]] CFRef<CGImageRef> cgImageFromBitmap(const Bitmap& bitmap);

}  // namespace kestrune
