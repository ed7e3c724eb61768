#include "sim/sim_login_items.hpp"

#include <utility>

namespace kestrune::sim {

SimLoginItems::SimLoginItems(ScenarioLoginItem initial, int osMajorVersion)
    : available_(osMajorVersion >= 13),
      config_(std::move(initial)),
      status_(available_ ? config_.status : Status::notFound) {}

LoginItems::Status SimLoginItems::status() {
  std::lock_guard lock(mutex_);
  return status_;
}

std::optional<PlatformError> SimLoginItems::failure(std::optional<std::string>& once,
                                                    const std::optional<std::string>& always) {
  if (!available_) return PlatformError{kNoServiceError, std::nullopt};
  if (once) return PlatformError{*std::exchange(once, std::nullopt), std::nullopt};
  if (always) return PlatformError{*always, std::nullopt};
  if (status_ == Status::notFound) return PlatformError{kNotFoundError, kNotFoundSuggestion};
  return std::nullopt;
}

std::optional<PlatformError> SimLoginItems::registerMainApp() {
  std::lock_guard lock(mutex_);
  if (auto error = failure(nextRegisterError_, config_.registerError)) {
    changes_.push_back("register failed: " + error->description);
    return error;
  }
  // Only the user can approve an item they switched off.
  if (status_ != Status::requiresApproval) status_ = Status::enabled;
  changes_.emplace_back("register");
  return std::nullopt;
}

std::optional<PlatformError> SimLoginItems::unregisterMainApp() {
  std::lock_guard lock(mutex_);
  if (auto error = failure(nextUnregisterError_, config_.unregisterError)) {
    changes_.push_back("unregister failed: " + error->description);
    return error;
  }
  status_ = Status::notRegistered;
  changes_.emplace_back("unregister");
  return std::nullopt;
}

void SimLoginItems::failNextRegister(std::string description) {
  std::lock_guard lock(mutex_);
  nextRegisterError_ = std::move(description);
}

void SimLoginItems::failNextUnregister(std::string description) {
  std::lock_guard lock(mutex_);
  nextUnregisterError_ = std::move(description);
}

void SimLoginItems::setStatus(Status status) {
  std::lock_guard lock(mutex_);
  status_ = status;
}

std::vector<std::string> SimLoginItems::changes() const {
  std::lock_guard lock(mutex_);
  return changes_;
}

const char* loginItemStatusName(LoginItems::Status status) {
  switch (status) {
    case LoginItems::Status::notRegistered:
      return "notRegistered";
    case LoginItems::Status::enabled:
      return "enabled";
    case LoginItems::Status::requiresApproval:
      return "requiresApproval";
    case LoginItems::Status::notFound:
      return "notFound";
  }
  return "notRegistered";
}

}  // namespace kestrune::sim
