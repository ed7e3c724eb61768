#pragma once

#include "core/image.hpp"

// Objective-C++ only: the result is an AppKit object.
#ifdef __OBJC__

@class NSImage;

namespace kestrune {

// The AppKit image for `image` (a symbol, a file's icon, a drawing or
// captured pixels), with its template flag and, when it has one, its size;
// nil when AppKit has nothing for it (an empty image, a symbol name
// it does not know, text that is not UTF-8), so that the caller can fall
// back. A vector drawing is drawn by AppKit each time the image is drawn, on
// whichever thread draws it.
[[nodiscard]] NSImage* _Nullable toNSImage(const Image& image);

}  // namespace kestrune

#endif  // __OBJC__
