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

  static constexpr const char* kNotFromAppBundle = "Available when running from Kestrune.app";
  static constexpr const char* kNeedsMacOS13 = "Available on macOS 13 or later";

  // Whether the running bundle's path has the extension "app".
  [[nodiscard]] bool runsFromAppBundle();
  // Why the login item cannot be changed here, in the words the menu row
  // and the settings switch show; none when it can.
  [[nodiscard]] std::optional<std::string> unavailableReason();
  // Registered and enabled; false outside an app bundle. Waiting for the
  // user's approval does not count.
  [[nodiscard]] bool isEnabled();
  // Registers or unregisters; the service's error on failure. Outside an
  // app bundle: nothing, and no error.
  [[nodiscard]] std::optional<PlatformError> set(bool enabled);
  // Turns the login item on the first time the app runs from
  // /Applications or ~/Applications on a system that has the service, and
  // never again: a failure is logged, not retried, and a user who turns it
  // off later keeps it off.
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
