#include "settings/settings_store.hpp"

#include <exception>
#include <utility>

namespace kestrune {
namespace {

Settings load(UserDefaults& defaults) {
  // Anything unreadable falls back quietly: settings are not worth an alert,
  // and the old data is overwritten by the next save anyway.
  const auto data = defaults.dataForKey(SettingsStore::kDefaultsKey);
  if (!data) return Settings{};
  return decodeSettings(*data).value_or(Settings{});
}

}  // namespace

SettingsStore::SettingsStore(UserDefaults& defaults)
    : defaults_(defaults), settings_(load(defaults), &objectWillChange) {}

void SettingsStore::setSettings(Settings settings) {
  settings_.set(settings);
  save();
}

void SettingsStore::set(bool Settings::*field, bool value) {
  Settings changed = settings_.get();
  changed.*field = value;
  setSettings(changed);
}

void SettingsStore::save() {
  std::string bytes;
  try {
    bytes = encodeSettings(settings_.get());
  } catch (const std::exception&) {
    return;  // nothing better to do than keep what is stored
  }
  defaults_.setData(kDefaultsKey, bytes);
}

}  // namespace kestrune
