#pragma once

#include <functional>
#include <string>

#include "core/observable.hpp"
#include "platform/user_defaults.hpp"
#include "settings/settings.hpp"

namespace kestrune {

// The user's settings, kept in the user defaults. The app makes one and
// hands it to whoever needs it. Main thread only.
//
// Every assignment tells the observers (before the value changes) and then
// writes the record to the defaults, also when the value is unchanged.
class SettingsStore {
 public:
  // Where the record lives: its JSON form, as data.
  static constexpr const char* kDefaultsKey = "Kestrune.settings.v1";

  // Reads the stored record. No record, or one that cannot be read, gives
  // the defaults; unreadable data stays stored until the next assignment.
  explicit SettingsStore(UserDefaults& defaults);
  SettingsStore(const SettingsStore&) = delete;
  SettingsStore& operator=(const SettingsStore&) = delete;

  [[nodiscard]] const Settings& settings() const { return settings_.get(); }
  void setSettings(Settings settings);

  // Reads the record, changes one field and assigns the whole record back.
  void set(bool Settings::*field, bool value);

  // The record now and every record assigned from now on.
  [[nodiscard]] Subscription sink(std::function<void(const Settings&)> handler) {
    return settings_.sink(std::move(handler));
  }

  // One field: its value now, then each value that differs from the last.
  [[nodiscard]] Subscription sinkField(bool Settings::*field, std::function<void(bool)> handler) {
    return settings_.sinkDistinct([field](const Settings& s) { return s.*field; },
                                  std::move(handler));
  }

  ObjectWillChange objectWillChange;

 private:
  void save();

  UserDefaults& defaults_;
  // Declared after objectWillChange, which it notifies.
  Published<Settings> settings_;
};

}  // namespace kestrune
