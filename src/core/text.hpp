#pragma once

#include <string>
#include <string_view>

namespace kestrune {

// ASCII letters lowered; every other byte (UTF-8 included) kept as it is.
[[nodiscard]] inline std::string lowercased(std::string_view s) {
  std::string out(s);
  for (char& c : out) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return out;
}

}  // namespace kestrune
