#include "app/launch_at_login.hpp"

#include <vector>

#include "app/permissions.hpp"

namespace kestrune {

LaunchAtLogin::LaunchAtLogin(Application& application, FileSystem& fileSystem,
                             UserDefaults& defaults, LoginItems& loginItems, Diag& diag)
    : application_(application),
      fileSystem_(fileSystem),
      defaults_(defaults),
      loginItems_(loginItems),
      diag_(diag) {}

bool LaunchAtLogin::runsFromAppBundle() {
  return Permissions::hasPathExtension(application_.bundlePath(), "app");
}

std::optional<std::string> LaunchAtLogin::unavailableReason() {
  if (!runsFromAppBundle()) return kNotFromAppBundle;
  if (!loginItems_.isAvailable()) return kNeedsMacOS13;
  return std::nullopt;
}

bool LaunchAtLogin::isEnabled() {
  if (!runsFromAppBundle()) return false;
  return loginItems_.status() == LoginItems::Status::enabled;
}

std::optional<PlatformError> LaunchAtLogin::set(bool enabled) {
  if (!runsFromAppBundle()) return std::nullopt;
  return enabled ? loginItems_.registerMainApp() : loginItems_.unregisterMainApp();
}

void LaunchAtLogin::applyDefaultOnce() {
  if (!runsFromAppBundle()) return;
  // Launches from elsewhere (a download folder, a disk image) leave the
  // flag alone: the default waits for the first launch from an
  // Applications folder.
  if (!isInApplicationsFolder()) return;
  // Without the service (before macOS 13) the default waits for a system
  // that has it.
  if (!loginItems_.isAvailable()) return;
  if (defaults_.boolForKey(kDefaultAppliedKey)) return;
  // Set before trying, so that a failure is never tried again.
  defaults_.setBool(kDefaultAppliedKey, true);
  if (loginItems_.status() == LoginItems::Status::enabled) return;
  if (const auto error = loginItems_.registerMainApp()) {
    diag_.log("launch at login default: " + error->description);
  }
}

bool LaunchAtLogin::isInApplicationsFolder() {
  const std::string bundle = standardizedPath(application_.bundlePath());
  const auto slash = bundle.rfind('/');
  if (slash == std::string::npos) return false;  // a relative name: no folder to compare
  const std::string folder = slash == 0 ? "/" : bundle.substr(0, slash);
  return folder == "/Applications" ||
         folder == standardizedPath(fileSystem_.homeDirectory() + "/Applications");
}

std::string LaunchAtLogin::standardizedPath(std::string_view path) {
  const bool absolute = !path.empty() && path.front() == '/';
  std::vector<std::string_view> parts;
  while (!path.empty()) {
    const auto slash = path.find('/');
    const std::string_view part = path.substr(0, slash);
    path = slash == std::string_view::npos ? std::string_view() : path.substr(slash + 1);
    if (part.empty() || part == ".") continue;
    if (part == ".." && !parts.empty() && parts.back() != "..") {
      parts.pop_back();
    } else if (part != ".." || !absolute) {
      parts.push_back(part);
    }
  }
  std::string result = absolute ? "/" : "";
  for (size_t i = 0; i < parts.size(); ++i) {
    if (i > 0) result += '/';
    result += parts[i];
  }
  return result.empty() ? "." : result;
}

}  // namespace kestrune
