#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "core/executor.hpp"
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
// dictionary, as Sparkle does. Nothing is fetched: a user-initiated check
// is under way for kCheckDuration, the time Sparkle takes to ask the feed
// and show its answer.
class SimUpdater final : public UpdaterService {
 public:
  static constexpr Duration kCheckDuration = std::chrono::seconds(2);

  SimUpdater(Application& application, MainExecutor& main, SimUpdaterLog& log);
  void checkForUpdates() override;
  [[nodiscard]] bool canCheckForUpdates() override;

 private:
  std::string feed_;
  MainExecutor& main_;
  SimUpdaterLog& log_;
  std::optional<TimePoint> checkEnds_;
};

}  // namespace kestrune::sim
