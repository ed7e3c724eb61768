#pragma once

namespace kestrune {

// Sparkle's standard updater controller (SPUStandardUpdaterController),
// made with startingUpdater YES and an updater delegate that allows every
// check: an updater that exists has started, and from then on Sparkle runs
// its automatic checks, downloads, verification, interface and installation
// by its own settings. Main thread.
class UpdaterService {
 public:
  virtual ~UpdaterService() = default;
  // checkForUpdates: — a user-initiated check, shown in Sparkle's own
  // progress and result windows.
  virtual void checkForUpdates() = 0;
  // SPUUpdater canCheckForUpdates: false while a check is under way.
  [[nodiscard]] virtual bool canCheckForUpdates() = 0;
};

}  // namespace kestrune
