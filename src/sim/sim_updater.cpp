#include "sim/sim_updater.hpp"

#include <algorithm>

namespace kestrune::sim {

void SimUpdaterLog::record(std::string entry) {
  std::lock_guard lock(mutex_);
  entries_.push_back(std::move(entry));
}

std::vector<std::string> SimUpdaterLog::entries() const {
  std::lock_guard lock(mutex_);
  return entries_;
}

int SimUpdaterLog::count(const std::string& prefix) const {
  std::lock_guard lock(mutex_);
  return static_cast<int>(std::count_if(entries_.begin(), entries_.end(),
                                        [&](const auto& e) { return e.starts_with(prefix); }));
}

SimUpdater::SimUpdater(Application& application, MainExecutor& main, SimUpdaterLog& log)
    : feed_(application.infoString("SUFeedURL").value_or("(no feed)")), main_(main), log_(log) {
  log_.record("start " + feed_);
}

// Sparkle ignores a second check while one is under way.
void SimUpdater::checkForUpdates() {
  if (!canCheckForUpdates()) return;
  log_.record("check " + feed_);
  checkEnds_ = main_.now() + kCheckDuration;
}

bool SimUpdater::canCheckForUpdates() {
  return !checkEnds_ || main_.now() >= *checkEnds_;
}

}  // namespace kestrune::sim
