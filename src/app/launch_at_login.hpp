#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/application.hpp"
#include "platform/file_system.hpp"
#include "platform/login_items.hpp"
#include "platform/user_defaults.hpp"
#include "settings/diag.hpp"

namespace kestrune {

// Kestrune as its own login item. Only an app bundle registers itself, so a
// development build run from elsewhere never does. Main thread.
class LaunchAtLogin {
 public:
  static constexpr const char* kDefaultAppliedKey = "Kestrune.launchAtLoginDefaultApplied";

  LaunchAtLogin(Application& application, FileSystem& fileSystem, UserDefaults& defaults,
                LoginItems& loginItems, Diag& diag);

  // Whether the running bundle's path has the extension "app".
  [[nodiscard]] bool runsFromAppBundle();
  // Registered and enabled; false outside an app bundle. Waiting for the
  // user's approval does not count.
  [[nodiscard]] bool isEnabled();
  // Registers or unregisters; the service's error description on failure.
  // Outside an app bundle: nothing, and no error.
  [[nodiscard]] std::optional<std::string> set(bool enabled);
  // Turns the login item on the first time the app runs from
  // /Applications or ~/Applications, and never again: a failure is logged,
  // not retried, and a user who turns it off later keeps it off.
  void applyDefaultOnce();

  // `path` with repeated and trailing slashes dropped and "." and ".."
  // resolved, lexically, as a standardised file URL has it. ".." at the
  // root stays at the root.
  [[nodiscard]] static std::string standardizedPath(std::string_view path);

 private:
  // The folder holding the bundle is exactly /Applications or
  // ~/Applications; a subfolder of either does not count.
  [[nodiscard]] bool isInApplicationsFolder();

  Application& application_;
  FileSystem& fileSystem_;
  UserDefaults& defaults_;
  LoginItems& loginItems_;
  Diag& diag_;
};

}  // namespace kestrune
