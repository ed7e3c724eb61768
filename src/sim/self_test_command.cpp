#include "sim/self_test_command.hpp"

#include <filesystem>
#include <stdexcept>

namespace kestrune::sim {

SelfTestPorts SimSelfTest::ports() {
  return {app_.statusBar(),   app_.hotKeys(), app_.loginItems(),
          app_.panelWindow(), pictures_,      suites_};
}

SelfTestReport SimSelfTest::run(const SelfTestOptions& options) {
  return run(app_.mac().platform(), options);
}

SelfTestReport SimSelfTest::run(const Platform& platform, const SelfTestOptions& options) {
  std::optional<SelfTestReport> report;
  auto test = SelfTest::create(platform, ports(), options);
  test->run([&report](const SelfTestReport& finished) { report = finished; });
  VirtualExecutors& executors = app_.executors();
  while (!report) {
    const auto due = executors.nextDue();
    if (!due) throw std::logic_error("the self-test stopped before it finished");
    executors.advanceTo(std::max(*due, executors.now()));
  }
  return *report;
}

int runSelfTestCommand(Scenario scenario, const std::string& home, const std::string& out,
                       bool json, std::ostream& output) {
  VirtualExecutors executors;
  SimApp app(std::move(scenario), executors, home);
  SelfTestOptions options{home + "/tmp/kestrune-self-test", std::nullopt};
  if (!out.empty()) options.outputDirectory = std::filesystem::absolute(out).string();
  const auto report = SimSelfTest(app).run(options);
  output << (json ? toJson(report) : toText(report));
  return exitStatus(report);
}

}  // namespace kestrune::sim
