#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <variant>

#include "platform/user_defaults.hpp"

namespace kestrune::sim {

// The app's defaults domain, kept in a file of the simulated home folder
// (Library/Preferences/com.kestrune.Kestrune.json) so that a restarted app
// finds its settings again. The file is read when the domain is created and
// rewritten whole, atomically, after every change. A missing or unreadable
// file is an empty domain; a corrupt one is left alone until the next
// write replaces it. Without a home folder the domain lives in memory only.
// Thread-safe, like the real one.
class SimUserDefaults final : public UserDefaults {
 public:
  explicit SimUserDefaults(const std::string& home);

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

  // The file behind the domain; empty when it lives in memory only.
  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  struct Data {
    std::string bytes;
  };
  using Value = std::variant<Data, bool, int64_t, std::string>;

  void store(const std::string& key, Value value);
  bool writeLocked();

  std::string path_;
  std::mutex mutex_;
  std::map<std::string, Value> values_;
  bool lastWriteFailed_ = false;
};

// Defaults suites of the simulated Mac, kept in memory as long as the
// object lives. Thread-safe.
class SimDefaultsSuites final : public DefaultsSuites {
 public:
  [[nodiscard]] std::shared_ptr<UserDefaults> open(const std::string& suiteName) override;
  void remove(const std::string& suiteName) override;

 private:
  std::mutex mutex_;
  std::map<std::string, std::shared_ptr<SimUserDefaults>> suites_;
};

}  // namespace kestrune::sim
