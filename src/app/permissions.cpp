#include "app/permissions.hpp"

namespace kestrune {

Permissions::Permissions(const Platform& platform) : platform_(platform) {}

void Permissions::requestScreenRecordingAndRelaunch(Duration timeout) {
  if (platform_.screenCapture.requestAccess()) return;
  platform_.workspace.openURL(kScreenRecordingPaneURL);
  MainExecutor& main = platform_.executors.main();
  const uint64_t request = nextRequest_++;
  Pending& pending = pending_[request];
  pending.deadline = main.now() + timeout;
  // The timer dies with this object and its ticks with it, so `this` is
  // alive whenever a tick runs.
  pending.timer = main.scheduleRepeating(kPollInterval, [this, request] { tick(request); });
}

void Permissions::tick(uint64_t request) {
  const auto it = pending_.find(request);
  if (it == pending_.end()) return;
  if (platform_.screenCapture.preflightAccess()) {
    pending_.erase(it);  // invalidates the timer
    relaunch();
    return;
  }
  if (platform_.executors.main().now() > it->second.deadline) pending_.erase(it);
}

void Permissions::relaunch() {
  const std::string path = platform_.application.bundlePath();
  if (!hasPathExtension(path, "app")) return;
  // The completion may come on any thread and outlive this object: it holds
  // only the platform's long-lived ports.
  MainExecutor& main = platform_.executors.main();
  Application& application = platform_.application;
  platform_.workspace.openApplication(path, true, [&main, &application](bool /*succeeded*/) {
    // This instance quits either way: it cannot use the grant.
    main.post([&application] { application.terminate(); });
  });
}

bool Permissions::hasPathExtension(std::string_view path, std::string_view extension) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  const auto slash = path.rfind('/');
  const std::string_view name = slash == std::string_view::npos ? path : path.substr(slash + 1);
  const auto dot = name.rfind('.');
  // A leading dot names a hidden file, not an extension.
  if (dot == std::string_view::npos || dot == 0) return false;
  return name.substr(dot + 1) == extension;
}

}  // namespace kestrune
