#pragma once

#include <optional>
#include <string>

namespace kestrune {

// A failure as the platform's error object tells it (NSError): what went
// wrong and, when the platform knows, what the user can do about it.
struct PlatformError {
  std::string description;                        // localizedDescription
  std::optional<std::string> recoverySuggestion;  // localizedRecoverySuggestion

  friend bool operator==(const PlatformError&, const PlatformError&) = default;
};

}  // namespace kestrune
