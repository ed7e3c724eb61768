#pragma once

#include <functional>
#include <memory>

#include "platform/application.hpp"
#include "platform/updater.hpp"

namespace kestrune {

// The updater behind "Check for Updates…". Only a packaged bundle with an
// update feed starts one: a development build, or a build without a feed,
// never talks to Sparkle. Main thread.
class UpdaterManager {
 public:
  // The information-dictionary key of the update feed's address.
  static constexpr const char* kFeedURLKey = "SUFeedURL";
  // Makes, and so starts, the updater; nullptr where the build has none.
  using ServiceFactory = std::function<std::unique_ptr<UpdaterService>()>;

  // Decides once whether an updater runs, and starts it if so.
  UpdaterManager(Application& application, const ServiceFactory& makeService);
  UpdaterManager(const UpdaterManager&) = delete;
  UpdaterManager& operator=(const UpdaterManager&) = delete;

  // The bundle's path ends in ".app", its information dictionary has a feed
  // (any value) and the updater could be made.
  [[nodiscard]] bool isAvailable() const { return service_ != nullptr; }
  // Starts a user-initiated check; nothing when no updater runs.
  void checkForUpdates();
  // Whether a check may start now: an updater runs and no check is under
  // way.
  [[nodiscard]] bool canCheckForUpdates() const {
    return service_ && service_->canCheckForUpdates();
  }

 private:
  std::unique_ptr<UpdaterService> service_;
};

}  // namespace kestrune
