#pragma once

#include <string>

namespace kestrune {

// The running app itself, as NSBundle and NSApplication see it.
class Application {
 public:
  virtual ~Application() = default;
  // The main bundle's path: the .app folder, or the executable's folder when
  // the app runs outside a bundle.
  [[nodiscard]] virtual std::string bundlePath() = 0;
  // NSApp terminate:, on the main thread.
  virtual void terminate() = 0;
};

}  // namespace kestrune
