#pragma once

#include <memory>

#include "platform/settings_window.hpp"

#include "app/settings_view.hpp"

#ifdef __OBJC__
@class NSTabView;
@class NSView;
#endif

namespace kestrune {

// The settings NSWindow: an NSTabView whose "General" tab is the settings
// form and whose "Menu Bar Order" tab hosts the arrangement view. The tab
// view and the selection follow each other; the General model refreshes
// while the window is on screen (not while closed or in the Dock). Made
// hidden; main thread only.
class MacSettingsWindow final : public SettingsWindow {
 public:
  MacSettingsWindow(SettingsTabSelection& tabs, std::shared_ptr<GeneralSettingsModel> general,
                    std::shared_ptr<ArrangeModel> arrange);
  ~MacSettingsWindow() override;
  MacSettingsWindow(const MacSettingsWindow&) = delete;
  MacSettingsWindow& operator=(const MacSettingsWindow&) = delete;

  // Brings the window to the front as the key window, activating the app
  // (an accessory app's window does not come forward otherwise).
  void show() override;
  [[nodiscard]] bool isVisible() override;

 private:
  // The window and its controller: Objective-C objects, defined in the .mm
  // file only.
  struct Objects;
  std::unique_ptr<Objects> objects_;
};

class MacSettingsWindows final : public SettingsWindows {
 public:
  [[nodiscard]] std::unique_ptr<SettingsWindow> make(
      SettingsTabSelection& tabs, std::shared_ptr<GeneralSettingsModel> general,
      std::shared_ptr<ArrangeModel> arrange) override;
};

#ifdef __OBJC__
// The General tab's AppKit view, bound to `model` (not null): the sections
// of describeGeneralSettings with their switches, the permission rows and
// "Reset to Defaults", shown again after each change of the model or of the
// settings. Laid out with Auto Layout, top-aligned. Main thread only.
[[nodiscard]] NSView* makeGeneralSettingsView(const std::shared_ptr<GeneralSettingsModel>& model);
// The same form showing `view` and nothing else, for a picture of it: its
// controls change nothing.
[[nodiscard]] NSView* makeGeneralSettingsView(const GeneralSettingsViewModel& view);

// The window's tab view: `view`'s tabs in order, with `general` and
// `arrange` as the two tabs' views, showing the selected tab.
[[nodiscard]] NSTabView* makeSettingsTabView(const SettingsViewModel& view, NSView* general,
                                             NSView* arrange);
// The window's content view: the tab view, inset from its edges.
[[nodiscard]] NSView* makeSettingsContent(NSTabView* tabView);
#endif

}  // namespace kestrune
