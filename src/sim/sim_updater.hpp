#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "platform/application.hpp"
#include "platform/updater.hpp"

namespace kestrune::sim {

// What the simulated Sparkle was asked to do, in order: "start FEED" when an
// updater started, "check FEED" for each user-initiated check, FEED being
// the information dictionary's SUFeedURL ("(no feed)" without one). Kept
// apart from the updaters, so that it can be read when none was made.
// Thread-safe.
class SimUpdaterLog {
 public:
  void record(std::string entry);
  [[nodiscard]] std::vector<std::string> entries() const;
  [[nodiscard]] int starts() const { return count("start "); }
  [[nodiscard]] int userChecks() const { return count("check "); }

 private:
  [[nodiscard]] int count(const std::string& prefix) const;

  mutable std::mutex mutex_;
  std::vector<std::string> entries_;
};

// Sparkle's standard updater controller, made with startingUpdater YES: it
// starts as it is made and reads its feed from the app's information
// dictionary, as Sparkle does. Nothing is fetched.
class SimUpdater final : public UpdaterService {
 public:
  SimUpdater(Application& application, SimUpdaterLog& log);
  void checkForUpdates() override;

 private:
  std::string feed_;
  SimUpdaterLog& log_;
};

}  // namespace kestrune::sim
