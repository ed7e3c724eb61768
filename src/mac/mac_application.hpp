#pragma once

#include "platform/application.hpp"

namespace kestrune {

// The running app: NSBundle's main bundle and NSApplication.
class MacApplication final : public Application {
 public:
  [[nodiscard]] std::string bundlePath() override;
  [[nodiscard]] std::optional<std::string> infoString(const std::string& key) override;
  // From any thread: the request goes to the main thread, where AppKit wants
  // it.
  void terminate() override;

  [[nodiscard]] Menu mainMenu() override;
  void setMainMenu(Menu menu) override;
  void setMinimalMainMenu(const std::string& title) override;
  void setActivationPolicy(ActivationPolicy policy) override;
  void deactivate() override;
  void activateIgnoringOtherApps() override;
};

}  // namespace kestrune
