#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "discovery/menu_bar_layout.hpp"
#include "sim/sim_mac.hpp"

namespace kestrune::sim {

// What kestrune-sim prints about a world: the simulated menu bar as the
// world has laid it out, and what the product reads of it.
struct BarReport {
  struct Item {
    uint32_t windowID = 0;
    std::string key;
    std::string app;
    pid_t pid = 0;
    std::string title;  // description, else title, else window name
    Rect frame;
    Placement placement = Placement::drawn;
  };
  std::string scenario;
  int osMajorVersion = 0;
  bool isModern = false;
  ScenarioScreen display;
  std::vector<Item> items;  // left to right
  std::optional<Rect> overflowButton;
  bool menuBarIsVisible = true;
  std::optional<MenuBarLayout::Snapshot> snapshot;
};

[[nodiscard]] BarReport makeReport(SimMac& mac);
[[nodiscard]] std::string toText(const BarReport& report);
[[nodiscard]] nlohmann::ordered_json toJson(const BarReport& report);
[[nodiscard]] std::string_view placementName(Placement placement);

}  // namespace kestrune::sim
