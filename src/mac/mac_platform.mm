#include "mac/mac_platform.hpp"

#include "mac/gcd_executors.hpp"
#include "mac/mac_about_panel.hpp"
#include "mac/mac_accessibility.hpp"
#include "mac/mac_alerts.hpp"
#include "mac/mac_application.hpp"
#include "mac/mac_event_system.hpp"
#include "mac/mac_file_system.hpp"
#include "mac/mac_hot_keys.hpp"
#include "mac/mac_image_codec.hpp"
#include "mac/mac_login_items.hpp"
#include "mac/mac_panel_window.hpp"
#include "mac/mac_screen_capture.hpp"
#include "mac/mac_screens.hpp"
#include "mac/mac_status_bar.hpp"
#include "mac/mac_system_info.hpp"
#include "mac/mac_updater.hpp"
#include "mac/mac_user_defaults.hpp"
#include "mac/mac_view_pictures.hpp"
#include "mac/mac_window_server.hpp"
#include "mac/mac_workspace.hpp"
#include "mac/settings_window.hpp"

namespace kestrune {

struct MacPlatform::Ports {
  // The platform.
  GCDExecutors executors;
  MacAccessibility accessibility;
  MacWindowServer windowServer;
  MacWorkspace workspace;
  MacScreens screens;
  MacSystemInfo system;
  MacFileSystem fileSystem;
  MacUserDefaults defaults;
  MacScreenCapture screenCapture;
  MacImageCodec imageCodec;
  MacApplication application;
  MacEventSystem events;

  // The shell's own.
  MacStatusBar statusBar;
  MacHotKeys hotKeys;
  MacAlerts alerts;
  MacAboutPanel aboutPanel;
  MacLoginItems loginItems;
  MacSettingsWindows settingsWindows;
  MacPanelWindow panelWindow;

  // The self-test's own.
  MacViewPictures pictures{panelWindow};
  MacDefaultsSuites defaultsSuites;
};

MacPlatform::MacPlatform()
    : ports_(std::make_unique<Ports>()),
      platform_{
          ports_->accessibility, ports_->windowServer, ports_->workspace, ports_->screens,
          ports_->system,        ports_->fileSystem,   ports_->defaults,  ports_->screenCapture,
          ports_->imageCodec,    ports_->application,  ports_->events,    ports_->executors,
      } {}

MacPlatform::~MacPlatform() = default;

ShellPorts MacPlatform::shellPorts() {
  return {
      ports_->statusBar,   ports_->hotKeys,
      ports_->alerts,      ports_->aboutPanel,
      ports_->loginItems,  ports_->settingsWindows,
      ports_->panelWindow, [] { return makeMacUpdater(); },
  };
}

SelfTestPorts MacPlatform::selfTestPorts() {
  return {ports_->statusBar,   ports_->hotKeys,  ports_->loginItems,
          ports_->panelWindow, ports_->pictures, ports_->defaultsSuites};
}

}  // namespace kestrune
