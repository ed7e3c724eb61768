#pragma once

#include "core/executor.hpp"
#include "platform/accessibility.hpp"
#include "platform/application.hpp"
#include "platform/event_system.hpp"
#include "platform/file_system.hpp"
#include "platform/screen_capture.hpp"
#include "platform/screens.hpp"
#include "platform/system_info.hpp"
#include "platform/user_defaults.hpp"
#include "platform/window_server.hpp"
#include "platform/workspace.hpp"

namespace kestrune {

// The platform as the core sees it: one implementation of every port,
// chosen where the program is assembled (the Mac, or the simulated Mac).
struct Platform {
  Accessibility& accessibility;
  WindowServer& windowServer;
  Workspace& workspace;
  Screens& screens;
  SystemInfo& system;
  FileSystem& fileSystem;
  UserDefaults& defaults;
  ScreenCapture& screenCapture;
  ImageCodec& imageCodec;
  Application& application;
  EventSystem& events;
  Executors& executors;
};

}  // namespace kestrune
