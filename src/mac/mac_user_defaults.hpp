#pragma once

#include <memory>
#include <string>

#include "platform/user_defaults.hpp"

namespace kestrune {

// The standard user defaults (NSUserDefaults standardUserDefaults), or a
// suite's. Callable from any thread: NSUserDefaults is thread-safe. Every
// call drains its own autorelease pool.
class MacUserDefaults final : public UserDefaults {
 public:
  MacUserDefaults();
  // initWithSuiteName:. A name Foundation refuses (the app's own bundle
  // identifier) gives a domain that keeps nothing.
  explicit MacUserDefaults(const std::string& suiteName);
  ~MacUserDefaults() override;
  MacUserDefaults(const MacUserDefaults&) = delete;
  MacUserDefaults& operator=(const MacUserDefaults&) = delete;

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

 private:
  // The NSUserDefaults object: defined in the .mm file only.
  struct Domain;
  std::unique_ptr<Domain> domain_;
};

class MacDefaultsSuites final : public DefaultsSuites {
 public:
  [[nodiscard]] std::shared_ptr<UserDefaults> open(const std::string& suiteName) override;
  void remove(const std::string& suiteName) override;
};

}  // namespace kestrune
