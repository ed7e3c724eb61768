#pragma once

#include <ostream>
#include <string>

#include "app/self_test.hpp"
#include "sim/sim_app.hpp"
#include "sim/sim_user_defaults.hpp"
#include "sim/sim_view_pictures.hpp"

namespace kestrune::sim {

// Kestrune's self-test on a simulated Mac: the app's shell ports (the app
// itself is not launched), pictures from the simulator's renderers and
// defaults suites in memory.
class SimSelfTest {
 public:
  explicit SimSelfTest(SimApp& app) : app_(app), pictures_(app.panelWindow()) {}

  [[nodiscard]] SelfTestPorts ports();
  // Runs the self-test over `platform` (by default the app's) in virtual
  // time until it has finished.
  [[nodiscard]] SelfTestReport run(const SelfTestOptions& options);
  [[nodiscard]] SelfTestReport run(const Platform& platform, const SelfTestOptions& options);

 private:
  SimApp& app_;
  SimViewPictures pictures_;
  SimDefaultsSuites suites_;
};

// kestrune-sim self-test: runs it with the scratch folder in `home`, prints
// the report (JSON, or one line a check) and answers the exit status.
[[nodiscard]] int runSelfTestCommand(Scenario scenario, const std::string& home,
                                     const std::string& out, bool json, std::ostream& output);

}  // namespace kestrune::sim
