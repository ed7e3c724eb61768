#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "sim/sim_mac.hpp"

namespace kestrune::sim {

// One live-icon capture of a simulated Mac, as kestrune-sim capture prints it.
struct CaptureReport {
  struct Item {
    uint32_t windowID = 0;
    std::string name;
    bool isOnScreen = false;
    std::string source;  // "fresh", "disk" or "none"
    std::string file;    // the keyed icon written, if any
  };
  std::string scenario;
  bool isModern = false;
  std::vector<Item> items;  // menu bar order
  std::optional<bool> glyphsAreLight;
  std::string stripFile;
  std::string iconDirectory;  // the capturer's disk cache
};

// Scans, then captures every item; writes the strip and each icon as PNG
// files into `outDirectory`.
[[nodiscard]] CaptureReport runCapture(SimMac& mac, Executors& executors,
                                       const std::string& outDirectory);
[[nodiscard]] std::string toText(const CaptureReport& report);
[[nodiscard]] nlohmann::ordered_json toJson(const CaptureReport& report);

}  // namespace kestrune::sim
