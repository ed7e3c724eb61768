#pragma once

#include <memory>

#include "platform/updater.hpp"

namespace kestrune {

// Sparkle's SPUStandardUpdaterController, started as it is made, with an
// updater delegate that allows every check Sparkle or the user starts.
// Built only where Sparkle is found (KESTRUNE_HAS_SPARKLE); main thread
// only, as Sparkle requires.
class MacUpdater final : public UpdaterService {
 public:
  MacUpdater();
  ~MacUpdater() override;
  MacUpdater(const MacUpdater&) = delete;
  MacUpdater& operator=(const MacUpdater&) = delete;

  void checkForUpdates() override;
  [[nodiscard]] bool canCheckForUpdates() override;

 private:
  // The controller and its delegate: Objective-C objects, defined in the
  // .mm file only.
  struct Objects;
  std::unique_ptr<Objects> objects_;
};

// What the app hands to UpdaterManager: a started updater, or none in a
// build without Sparkle.
[[nodiscard]] inline std::unique_ptr<UpdaterService> makeMacUpdater() {
#if KESTRUNE_HAS_SPARKLE
  return std::make_unique<MacUpdater>();
#else
  return nullptr;
#endif
}

}  // namespace kestrune
