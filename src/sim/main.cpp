// kestrune-sim: runs Kestrune's discovery on a simulated Mac.
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "core/thread_executors.hpp"
#include "core/virtual_executors.hpp"
#include "discovery/menu_bar_item.hpp"
#include "sim/builtin_scenarios.hpp"
#include "sim/capture_report.hpp"
#include "sim/drawing_renderer.hpp"
#include "sim/report.hpp"
#include "sim/scan_report.hpp"

namespace {

using namespace kestrune;

constexpr const char* kUsage = R"(Usage: kestrune-sim [bar] [--scenario NAME|PATH] [--json]
       kestrune-sim scan [--scenario NAME|PATH] [--home DIR] [--json]
       kestrune-sim capture [--scenario NAME|PATH] [--home DIR] [--out DIR] [--json]
       kestrune-sim --list-scenarios [--json]
       kestrune-sim --render-icon PATH.png

Runs Kestrune on a simulated Mac.

  bar                   (the default) print the simulated menu bar: every
                        status item in order, which ones macOS hides and why,
                        and the layout snapshot and menu bar visibility as
                        Kestrune reads them
  scan                  run one real scan, with real threads and real waits:
                        every item in menu bar order with its owner, and the
                        diagnostic log the scan wrote
  capture               scan, then capture every item's live icon: writes
                        the menu bar strip and each icon as PNG files and
                        tells which icons are fresh, which came from the
                        disk cache, and whether the glyphs are light

  --scenario NAME|PATH  a built-in scenario by name, or a scenario file
                        (default: the first built-in scenario)
  --home DIR            the simulated user's home folder (default: a new
                        temporary folder); the log is Library/Logs/Kestrune.log
  --out DIR             where capture writes its PNG files
                        (default: kestrune-capture)
  --json                print JSON instead of text
  --list-scenarios      print the built-in scenarios
  --render-icon PATH    draw Kestrune's own menu bar icon at 2x into a PNG file
  --help                print this text
)";

struct Options {
  std::string command = "bar";
  std::string home;
  std::string out = "kestrune-capture";
  std::string scenario;
  bool json = false;
  bool list = false;
  std::string iconPath;
};

std::string readScenario(const std::string& nameOrPath) {
  if (auto builtin = sim::builtinScenario(nameOrPath)) return std::string(builtin->json);
  std::ifstream file(nameOrPath);
  if (!file) {
    throw std::runtime_error("no built-in scenario and no readable file named \"" + nameOrPath +
                             "\" (see --list-scenarios)");
  }
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

int listScenarios(bool json) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const auto& b : sim::builtinScenarios()) {
    const auto s = sim::parseScenario(b.json);
    if (json) {
      list.push_back({{"name", b.name}, {"title", s.name}, {"description", s.description}});
    } else {
      std::cout << b.name << "\n    " << s.name << "\n";
    }
  }
  if (json) std::cout << list.dump(2) << "\n";
  return 0;
}

// A home folder as a Mac user has one: with Library/Logs.
std::string prepareHome(const std::string& requested) {
  std::filesystem::path home = requested;
  if (home.empty()) {
    std::string pattern = (std::filesystem::temp_directory_path() / "kestrune-sim-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) throw std::runtime_error("cannot make a temporary home folder");
    home = pattern;
  }
  std::filesystem::create_directories(home / "Library/Logs");
  return std::filesystem::absolute(home).string();
}

int scan(sim::Scenario scenario, const Options& options) {
  ThreadExecutors executors;
  sim::SimMac mac(std::move(scenario), executors, prepareHome(options.home));
  const auto report = sim::runScan(mac, executors);
  if (options.json) {
    std::cout << sim::toJson(report).dump(2) << "\n";
  } else {
    std::cout << sim::toText(report);
  }
  return 0;
}

int capture(sim::Scenario scenario, const Options& options) {
  VirtualExecutors executors;
  sim::SimMac mac(std::move(scenario), executors, prepareHome(options.home));
  const auto report = sim::runCapture(mac, executors, options.out);
  if (options.json) {
    std::cout << sim::toJson(report).dump(2) << "\n";
  } else {
    std::cout << sim::toText(report);
  }
  return 0;
}

int run(const Options& options) {
  if (options.list) return listScenarios(options.json);
  if (!options.iconPath.empty()) {
    if (sim::writePng(*MenuBarIcon::main().drawing(), 2, options.iconPath)) return 0;
    throw std::runtime_error("cannot write \"" + options.iconPath + "\"");
  }
  const std::string name = options.scenario.empty()
                               ? std::string(sim::builtinScenarios().front().name)
                               : options.scenario;
  auto scenario = sim::parseScenario(readScenario(name));
  if (options.command == "scan") return scan(std::move(scenario), options);
  if (options.command == "capture") return capture(std::move(scenario), options);
  VirtualExecutors executors;
  sim::SimMac mac(std::move(scenario), executors);
  const auto report = sim::makeReport(mac);
  if (options.json) {
    std::cout << sim::toJson(report).dump(2) << "\n";
  } else {
    std::cout << sim::toText(report);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--json") {
      options.json = true;
    } else if (arg == "--list-scenarios") {
      options.list = true;
    } else if (i == 1 && (arg == "bar" || arg == "scan" || arg == "capture")) {
      options.command = arg;
    } else if (arg == "--out" && i + 1 < argc) {
      options.out = argv[++i];
    } else if (arg == "--home" && i + 1 < argc) {
      options.home = argv[++i];
    } else if (arg == "--render-icon" && i + 1 < argc) {
      options.iconPath = argv[++i];
    } else if (arg == "--scenario" && i + 1 < argc) {
      options.scenario = argv[++i];
    } else if (arg == "--help" || arg == "-h") {
      std::cout << kUsage;
      return 0;
    } else {
      std::cerr << "kestrune-sim: unknown or incomplete option \"" << arg << "\"\n\n" << kUsage;
      return 2;
    }
  }
  try {
    return run(options);
  } catch (const std::exception& e) {
    std::cerr << "kestrune-sim: " << e.what() << "\n";
    return 1;
  }
}
