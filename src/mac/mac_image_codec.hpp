#pragma once

#include "platform/screen_capture.hpp"

namespace kestrune {

// PNG through ImageIO. Pure Core Foundation and Core Graphics work: callable
// from any thread.
class MacImageCodec final : public ImageCodec {
 public:
  // The bitmap as its own flags describe it, in sRGB; none for a bitmap
  // Core Graphics cannot take (see cgImageFromBitmap).
  [[nodiscard]] std::optional<std::string> encodePNG(const Bitmap& image) override;
  // Pixels in the format ImageIO decodes them to, flags and all, or redrawn
  // when that is not four 8-bit bytes a pixel (see bitmapFromCGImage).
  [[nodiscard]] std::optional<Bitmap> decodePNG(std::string_view bytes) override;
};

}  // namespace kestrune
