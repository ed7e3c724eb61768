#include "app/updater_manager.hpp"

#include <string>

namespace kestrune {

UpdaterManager::UpdaterManager(Application& application, const ServiceFactory& makeService) {
  const bool packaged = application.bundlePath().ends_with(".app");
  if (!packaged || !application.infoString(kFeedURLKey) || !makeService) return;
  service_ = makeService();
}

void UpdaterManager::checkForUpdates() {
  if (service_) service_->checkForUpdates();
}

}  // namespace kestrune
