#pragma once

#include "platform/user_defaults.hpp"

namespace kestrune {

// The standard user defaults (NSUserDefaults standardUserDefaults).
// Callable from any thread: NSUserDefaults is thread-safe. Every call drains
// its own autorelease pool.
class MacUserDefaults final : public UserDefaults {
 public:
  [[nodiscard]] std::optional<std::string> dataForKey(const std::string& key) override;
  void setData(const std::string& key, std::string_view bytes) override;
  [[nodiscard]] bool boolForKey(const std::string& key) override;
  void setBool(const std::string& key, bool value) override;
  [[nodiscard]] std::optional<int64_t> integerForKey(const std::string& key) override;
  void setInteger(const std::string& key, int64_t value) override;
  [[nodiscard]] std::optional<std::string> stringForKey(const std::string& key) override;
  void setString(const std::string& key, std::string_view value) override;
  [[nodiscard]] std::optional<DefaultsObjectKind> objectKind(const std::string& key) override;
  void removeObject(const std::string& key) override;
  bool synchronize() override;
};

}  // namespace kestrune
