#include "sim/sim_mac.hpp"

#include "sim/sim_accessibility.hpp"
#include "sim/sim_ports.hpp"

namespace kestrune::sim {

SimMac::SimMac(Scenario scenario, Executors& executors)
    : world_(std::move(scenario)),
      accessibility_(std::make_unique<SimAccessibility>(world_, executors)),
      windowServer_(std::make_unique<SimWindowServer>(world_)),
      workspace_(std::make_unique<SimWorkspace>(world_, executors.main())),
      screens_(std::make_unique<SimScreens>(world_)),
      system_(std::make_unique<SimSystemInfo>(world_)),
      platform_(std::make_unique<Platform>(Platform{*accessibility_, *windowServer_, *workspace_,
                                                    *screens_, *system_, executors})) {}

SimMac::~SimMac() = default;

}  // namespace kestrune::sim
