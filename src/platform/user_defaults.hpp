#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kestrune {

// What kind of object a defaults key holds, as objectForKey: and a class
// check would tell.
enum class DefaultsObjectKind {
  data,     // NSData
  boolean,  // a Boolean NSNumber (CFBoolean)
  number,   // any other NSNumber
  string,   // NSString
  other,    // dates, arrays, dictionaries
};

// The app's standard user defaults (NSUserDefaults standardUserDefaults):
// one persistent key-value domain of property-list values. Keys and strings
// are UTF-8. Setters replace whatever the key held, of any type.
class UserDefaults {
 public:
  virtual ~UserDefaults() = default;

  // The bytes of a data value; absent when the key is missing or holds a
  // value of another type (dataForKey:).
  [[nodiscard]] virtual std::optional<std::string> dataForKey(const std::string& key) = 0;
  // Stores `bytes` as data (setObject:forKey: with NSData).
  virtual void setData(const std::string& key, std::string_view bytes) = 0;

  // boolForKey:: false when missing; a Boolean is itself, a number is true
  // when non-zero, the strings "true", "YES" and "1" are true.
  [[nodiscard]] virtual bool boolForKey(const std::string& key) = 0;
  virtual void setBool(const std::string& key, bool value) = 0;

  // A number value as an integer (a Boolean is 0 or 1, a fraction is rounded
  // down); absent when missing or not a number. Unlike integerForKey:, a
  // missing key is told apart from 0 and strings are not parsed.
  [[nodiscard]] virtual std::optional<int64_t> integerForKey(const std::string& key) = 0;
  virtual void setInteger(const std::string& key, int64_t value) = 0;

  // A string value; absent when missing or not a string (numbers are not
  // converted, unlike stringForKey:).
  [[nodiscard]] virtual std::optional<std::string> stringForKey(const std::string& key) = 0;
  virtual void setString(const std::string& key, std::string_view value) = 0;

  // The kind of value the key holds; absent when it holds none.
  [[nodiscard]] virtual std::optional<DefaultsObjectKind> objectKind(const std::string& key) = 0;

  // removeObjectForKey:. Removing a missing key does nothing.
  virtual void removeObject(const std::string& key) = 0;

  // Waits for pending writes; true when the domain is on disk. Writes need
  // no such call: they persist on their own.
  virtual bool synchronize() = 0;
};

// Defaults domains of their own, beside the app's (NSUserDefaults
// initWithSuiteName:): somewhere to try writes without touching the user's
// settings. Any thread.
class DefaultsSuites {
 public:
  virtual ~DefaultsSuites() = default;
  // The domain named `suiteName`; every object opened for one name sees the
  // same values.
  [[nodiscard]] virtual std::shared_ptr<UserDefaults> open(const std::string& suiteName) = 0;
  // removePersistentDomainForName:: the domain and its values are gone.
  virtual void remove(const std::string& suiteName) = 0;
};

}  // namespace kestrune
