#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/login_items.hpp"
#include "sim/scenario.hpp"

namespace kestrune::sim {

// The login item service's record of Kestrune (SMAppService.mainAppService).
// It belongs to the Mac, not to one run of the app: keep one object across
// simulated launches to have the state survive them.
//
// Registering enables the item, unless the user has switched Kestrune off
// in System Settings (requiresApproval), which stays so until the user
// approves; unregistering makes it notRegistered. A service that cannot
// find the app (notFound) fails both, and so does every change before macOS
// 13, which has no such service. A failure changes nothing. Every request is
// recorded, failed or not. Thread-safe.
class SimLoginItems final : public LoginItems {
 public:
  static constexpr const char* kNotFoundError =
      "The login item service could not find the application.";
  static constexpr const char* kNotFoundSuggestion =
      "Move Kestrune to the Applications folder and open it from there.";
  static constexpr const char* kNoServiceError = "Launch at login needs macOS 13 or later.";

  explicit SimLoginItems(ScenarioLoginItem initial = {}, int osMajorVersion = 13);

  [[nodiscard]] bool isAvailable() override { return available_; }
  [[nodiscard]] Status status() override;
  [[nodiscard]] std::optional<PlatformError> registerMainApp() override;
  [[nodiscard]] std::optional<PlatformError> unregisterMainApp() override;

  // The next registration, or unregistration, fails with `description`
  // (after it, the scenario's failures apply again).
  void failNextRegister(std::string description);
  void failNextUnregister(std::string description);
  // The user changes the item in System Settings: approves it (enabled),
  // switches it off (requiresApproval) or removes it (notRegistered).
  void setStatus(Status status);

  // "register", "unregister", or either followed by " failed: " and the
  // error's description, in order.
  [[nodiscard]] std::vector<std::string> changes() const;

 private:
  [[nodiscard]] std::optional<PlatformError> failure(std::optional<std::string>& once,
                                                     const std::optional<std::string>& always);

  mutable std::mutex mutex_;
  const bool available_;
  ScenarioLoginItem config_;
  Status status_;
  std::optional<std::string> nextRegisterError_;
  std::optional<std::string> nextUnregisterError_;
  std::vector<std::string> changes_;
};

// The state's name as scenarios spell it: "notRegistered", "enabled", …
[[nodiscard]] const char* loginItemStatusName(LoginItems::Status status);

}  // namespace kestrune::sim
