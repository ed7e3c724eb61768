#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "discovery/menu_bar_item.hpp"
#include "sim/sim_mac.hpp"

namespace kestrune::sim {

// One real scan of a simulated Mac, as kestrune-sim scan prints it.
struct ScanReport {
  std::string scenario;
  bool isModern = false;
  double elapsedSeconds = 0;
  std::vector<MenuBarItem> items;  // menu bar order
  std::string logPath;
  std::vector<std::string> logLines;  // what this scan wrote to the log
};

// Scans with the Mac's own executors; the log goes to its home folder.
[[nodiscard]] ScanReport runScan(SimMac& mac, Executors& executors);
[[nodiscard]] std::string toText(const ScanReport& report);
[[nodiscard]] nlohmann::ordered_json toJson(const ScanReport& report);

}  // namespace kestrune::sim
