#include "sim/sim_mac.hpp"

#include "sim/sim_accessibility.hpp"
#include "sim/sim_event_system.hpp"
#include "sim/sim_file_system.hpp"
#include "sim/sim_ports.hpp"
#include "sim/sim_screen_capture.hpp"
#include "sim/sim_user_defaults.hpp"

namespace kestrune::sim {

SimMac::SimMac(Scenario scenario, Executors& executors, std::string home)
    : world_(std::move(scenario), &executors.main()),
      accessibility_(std::make_unique<SimAccessibility>(world_, executors)),
      windowServer_(std::make_unique<SimWindowServer>(world_)),
      workspace_(std::make_unique<SimWorkspace>(world_, executors)),
      screens_(std::make_unique<SimScreens>(world_)),
      system_(std::make_unique<SimSystemInfo>(world_)),
      fileSystem_(std::make_unique<SimFileSystem>(std::move(home))),
      defaults_(std::make_unique<SimUserDefaults>(fileSystem_->homeDirectory())),
      screenCapture_(std::make_unique<SimScreenCapture>(world_)),
      imageCodec_(std::make_unique<SimImageCodec>()),
      application_(std::make_unique<SimApplication>(world_)),
      events_(std::make_unique<SimEventSystem>(world_, executors)),
      platform_(std::make_unique<Platform>(Platform{
          *accessibility_, *windowServer_, *workspace_, *screens_, *system_, *fileSystem_,
          *defaults_, *screenCapture_, *imageCodec_, *application_, *events_, executors})) {}

SimMac::~SimMac() = default;

}  // namespace kestrune::sim
