#pragma once

#include <memory>
#include <string>

#include "platform/platform.hpp"
#include "sim/world.hpp"

namespace kestrune::sim {

class SimAccessibility;
class SimEventSystem;
class SimWindowServer;
class SimWorkspace;
class SimScreens;
class SimSystemInfo;
class SimFileSystem;
class SimScreenCapture;
class SimImageCodec;
class SimApplication;
class SimUserDefaults;

// The simulated Mac: one world and an implementation of every port over it.
// The product cannot tell it from the real platform.
class SimMac {
 public:
  // `executors` supply the time that Accessibility calls take; `home` is
  // the user's home folder, a real folder (none: files cannot be written).
  SimMac(Scenario scenario, Executors& executors, std::string home = {});
  ~SimMac();
  SimMac(const SimMac&) = delete;
  SimMac& operator=(const SimMac&) = delete;

  [[nodiscard]] World& world() { return world_; }
  [[nodiscard]] const Platform& platform() const { return *platform_; }
  [[nodiscard]] SimScreenCapture& screenCapture() { return *screenCapture_; }
  [[nodiscard]] SimEventSystem& events() { return *events_; }
  [[nodiscard]] SimApplication& application() { return *application_; }
  [[nodiscard]] SimAccessibility& accessibility() { return *accessibility_; }

 private:
  World world_;
  std::unique_ptr<SimAccessibility> accessibility_;
  std::unique_ptr<SimWindowServer> windowServer_;
  std::unique_ptr<SimWorkspace> workspace_;
  std::unique_ptr<SimScreens> screens_;
  std::unique_ptr<SimSystemInfo> system_;
  std::unique_ptr<SimFileSystem> fileSystem_;
  std::unique_ptr<SimUserDefaults> defaults_;
  std::unique_ptr<SimScreenCapture> screenCapture_;
  std::unique_ptr<SimImageCodec> imageCodec_;
  std::unique_ptr<SimApplication> application_;
  std::unique_ptr<SimEventSystem> events_;
  std::unique_ptr<Platform> platform_;
};

}  // namespace kestrune::sim
