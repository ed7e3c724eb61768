#pragma once

#include <memory>
#include <optional>
#include <string>

namespace kestrune {

// NSApplication's activation policies, with AppKit's values.
enum class ActivationPolicy { regular = 0, accessory = 1 };

// The running app itself, as NSBundle and NSApplication see it. Main thread
// only, except bundlePath.
class Application {
 public:
  // The app's main menu, held only to be put back later.
  using Menu = std::shared_ptr<void>;

  virtual ~Application() = default;
  // The main bundle's path: the .app folder, or the executable's folder when
  // the app runs outside a bundle.
  [[nodiscard]] virtual std::string bundlePath() = 0;
  // A string value of the main bundle's information dictionary; none when
  // the key is missing or its value is not a string.
  [[nodiscard]] virtual std::optional<std::string> infoString(const std::string& key) = 0;
  // NSApp terminate:, on the main thread.
  virtual void terminate() = 0;

  // NSApp.mainMenu, and setting it back.
  [[nodiscard]] virtual Menu mainMenu() = 0;
  virtual void setMainMenu(Menu menu) = 0;
  // A main menu of exactly one item, whose submenu is titled `title`.
  virtual void setMinimalMainMenu(const std::string& title) = 0;
  // NSApp setActivationPolicy:.
  virtual void setActivationPolicy(ActivationPolicy policy) = 0;
  // NSApp deactivate.
  virtual void deactivate() = 0;
  // NSApp activate (macOS 14 and later), activateIgnoringOtherApps:YES before.
  virtual void activateIgnoringOtherApps() = 0;
};

}  // namespace kestrune
