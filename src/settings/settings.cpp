#include "settings/settings.hpp"

#include <nlohmann/json.hpp>

namespace kestrune {
namespace {

struct Field {
  const char* key;
  bool Settings::*member;
};

// In field order: the encoder writes the keys in this order.
constexpr Field kFields[] = {
    {"onlyHiddenItems", &Settings::onlyHiddenItems},
    {"liveIcons", &Settings::liveIcons},
    {"showLabels", &Settings::showLabels},
    {"hotkeyEnabled", &Settings::hotkeyEnabled},
};

}  // namespace

std::optional<Settings> decodeSettings(std::string_view json) {
  // No exceptions: bad input is an expected case here, not an error.
  const auto document = nlohmann::json::parse(json, nullptr, /*allow_exceptions=*/false);
  if (!document.is_object()) return std::nullopt;  // also covers "not JSON" (discarded)
  Settings settings;
  for (const auto& field : kFields) {
    const auto found = document.find(field.key);
    if (found == document.end() || found->is_null()) continue;
    if (!found->is_boolean()) return std::nullopt;
    settings.*field.member = found->get<bool>();
  }
  return settings;
}

std::string encodeSettings(const Settings& settings) {
  nlohmann::ordered_json document = nlohmann::ordered_json::object();
  for (const auto& field : kFields) document[field.key] = settings.*field.member;
  return document.dump();
}

}  // namespace kestrune
