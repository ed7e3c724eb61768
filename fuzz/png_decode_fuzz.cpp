// Icon files come from disk and may be anything: decoding must never crash,
// and whatever decodes must be a whole image that the icon code can use.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "picker/item_capturer.hpp"
#include "sim/sim_screen_capture.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kestrune::sim::SimImageCodec codec;
  const auto image = codec.decodePNG(std::string_view(reinterpret_cast<const char*>(data), size));
  if (!image) return 0;
  if (!image->isComplete()) std::abort();
  (void)kestrune::ItemCapturer::isBlank(*image);
  (void)kestrune::ItemCapturer::glyphsAreLight({&*image});
  if (const auto keyed = kestrune::ItemCapturer::keyed(*image)) {
    if (keyed->width != image->width || keyed->height != image->height) std::abort();
  }
  // What decodes encodes again, to the same size.
  const auto png = codec.encodePNG(*image);
  if (!png) std::abort();
  const auto again = codec.decodePNG(*png);
  if (!again || again->width != image->width || again->height != image->height) std::abort();
  return 0;
}
