#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kestrune {

// The user's choices. A plain value; the field order is also the order of
// the keys in its JSON form.
struct Settings {
  bool onlyHiddenItems = false;
  bool liveIcons = true;
  bool showLabels = true;
  bool hotkeyEnabled = true;

  friend bool operator==(const Settings&, const Settings&) = default;
};

// Reads the JSON form: one object whose keys are the field names, each a
// Boolean. A missing key or null takes the field's default, unknown keys are
// ignored. Absent when the text is not JSON, not an object, or a known key
// holds anything but a Boolean or null.
[[nodiscard]] std::optional<Settings> decodeSettings(std::string_view json);

// The JSON form with all four keys, in field order, e.g.
// {"onlyHiddenItems":false,"liveIcons":true,"showLabels":true,"hotkeyEnabled":true}
[[nodiscard]] std::string encodeSettings(const Settings& settings);

}  // namespace kestrune
