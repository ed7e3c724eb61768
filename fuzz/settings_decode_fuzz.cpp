// Stored settings are data anyone can write (`defaults write`): decoding
// must cope with every byte string.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "settings/settings.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const auto decoded = kestrune::decodeSettings(input);
  if (!decoded) return 0;
  // What was read must be written back as a record that reads the same.
  const auto again = kestrune::decodeSettings(kestrune::encodeSettings(*decoded));
  if (!again || !(*again == *decoded)) std::abort();
  return 0;
}
