#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "core/virtual_executors.hpp"
#include "settings/settings.hpp"
#include "sim/sim_mac.hpp"

namespace kestrune::sim {

// What the picker lists on a simulated Mac, with the settings applied.
struct ListReport {
  struct Item {
    uint32_t windowID = 0;
    std::string name;
    bool isOnScreen = false;
    std::string owner;        // empty: none
    std::string windowOwner;  // the process the window list names
  };
  std::string scenario;
  Settings settings;
  std::vector<Item> listed;
};

// The outcome of opening an item from the picker.
struct OpenReport {
  std::string scenario;
  std::string asked;
  std::optional<std::string> opened;  // the menu the simulated Mac opened
  std::string detail;                 // what happened, for a person
};

// The picker opened under Kestrune's status item, and its two pictures.
struct PickerReport {
  struct Cell {
    uint32_t windowID = 0;
    std::string label;
    std::string icon;  // "captured", "symbol NAME" or "app icon"
    bool showLabel = true;
    bool enabled = false;
    double opacity = 1;
    std::string tooltip;
  };
  std::string scenario;
  Settings settings;
  Rect anchor;  // AppKit's screen space
  Rect frame;
  std::string appearance;
  std::optional<std::string> emptyState;
  std::vector<Cell> cells;
  std::optional<std::string> hint;
  std::string menuBarPng;
  std::string pickerPng;
};

// Changes of settings given on the command line, saved like any setting.
using SettingChanges = std::vector<std::pair<bool Settings::*, bool>>;

// Starts the model, lets it warm up, then lists what the picker shows.
[[nodiscard]] ListReport runList(SimMac& mac, VirtualExecutors& executors,
                                 const SettingChanges& changes);
// Also finds the listed item named `name` (hidden ones included) and presses
// it through the activator.
[[nodiscard]] OpenReport runOpen(SimMac& mac, VirtualExecutors& executors, const std::string& name);

// Starts Kestrune, opens the picker under its status item once the first
// sweep is done and writes menubar.png and picker.png into `outDir`.
[[nodiscard]] PickerReport runPicker(SimMac& mac, VirtualExecutors& executors,
                                     const SettingChanges& changes, const std::string& outDir);

[[nodiscard]] std::string toText(const PickerReport& report);
[[nodiscard]] nlohmann::ordered_json toJson(const PickerReport& report);
[[nodiscard]] std::string toText(const ListReport& report);
[[nodiscard]] nlohmann::ordered_json toJson(const ListReport& report);
[[nodiscard]] std::string toText(const OpenReport& report);
[[nodiscard]] nlohmann::ordered_json toJson(const OpenReport& report);

}  // namespace kestrune::sim
