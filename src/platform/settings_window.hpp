#pragma once

#include <memory>

#include "app/settings_tabs.hpp"

namespace kestrune {

class ArrangeModel;
class GeneralSettingsModel;

// The settings window ("Kestrune Settings", 520 × 560 points, titled,
// closable, miniaturisable, centred, kept when closed) with its two tabs,
// showing the models it is made with. It shows the tab the selection names,
// also when the selection changes while it is open, and a tab the user
// picks becomes the selection. While it is on screen it keeps the General
// model refreshing. Main thread.
class SettingsWindow {
 public:
  virtual ~SettingsWindow() = default;
  // Makes the window key and brings it to the front.
  virtual void show() = 0;
  [[nodiscard]] virtual bool isVisible() = 0;
};

// Makes the one settings window, on first use.
class SettingsWindows {
 public:
  virtual ~SettingsWindows() = default;
  [[nodiscard]] virtual std::unique_ptr<SettingsWindow> make(
      SettingsTabSelection& tabs, std::shared_ptr<GeneralSettingsModel> general,
      std::shared_ptr<ArrangeModel> arrange) = 0;
};

}  // namespace kestrune
