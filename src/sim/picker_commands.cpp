#include "sim/picker_commands.hpp"

#include <sstream>

#include "core/virtual_executors.hpp"
#include "discovery/activator.hpp"
#include "picker/overflow_model.hpp"
#include "settings/diag.hpp"
#include "settings/settings_store.hpp"
#include "sim/picker_stack.hpp"

namespace kestrune::sim {
namespace {

// The app's long-lived objects on a simulated Mac, warmed up.
struct RunningPicker {
  RunningPicker(SimMac& mac, VirtualExecutors& executors)
      : stack(mac.platform(), executors, debugOut) {
    stack.model->startWarming();
    executors.advance(std::chrono::seconds(10));
  }
  std::ostringstream debugOut;
  PickerStack stack;
};

}  // namespace

ListReport runList(SimMac& mac, VirtualExecutors& executors, const SettingChanges& changes) {
  RunningPicker picker(mac, executors);
  for (const auto& [field, value] : changes) picker.stack.store.set(field, value);
  executors.runUntilIdle();
  ListReport report;
  report.scenario = mac.world().scenario().name;
  report.settings = picker.stack.store.settings();
  for (const auto& item : picker.stack.model->listedItems()) {
    report.listed.push_back({item.windowID, item.displayName(picker.stack.layout.isModern()),
                             item.isOnScreen, item.owner ? item.owner->name : ""});
  }
  return report;
}

OpenReport runOpen(SimMac& mac, VirtualExecutors& executors, const std::string& name) {
  RunningPicker picker(mac, executors);
  OpenReport report;
  report.scenario = mac.world().scenario().name;
  report.asked = name;
  const auto listed = picker.stack.model->listedItems();
  const auto item = std::find_if(listed.begin(), listed.end(), [&](const MenuBarItem& i) {
    return i.displayName(picker.stack.layout.isModern()) == name;
  });
  if (item == listed.end()) {
    report.detail = "the picker lists no item named \"" + name + "\"";
    return report;
  }
  if (!item->owner) {
    report.detail = "\"" + name + "\" can't be opened while hidden: no app answered for it";
    return report;
  }
  const size_t before = mac.world().presses().size();
  Activator activator(mac.platform(), picker.stack.layout.isModern());
  activator.press(*item);
  executors.runUntilIdle();
  const auto presses = mac.world().presses();
  if (presses.size() == before) {
    report.detail = "the press of \"" + name + "\" opened nothing";
    return report;
  }
  const PressRecord& opened = presses.back();
  const auto app = mac.world().app(opened.pid);
  report.opened = opened.key;
  report.detail = "opened the menu of " +
                  (app && app->name ? *app->name : "pid " + std::to_string(opened.pid)) +
                  " (item \"" + opened.key + "\", window " + std::to_string(opened.windowID) +
                  (item->isOnScreen ? ")" : "), hidden in the bar");
  return report;
}

std::string toText(const ListReport& r) {
  std::ostringstream out;
  out << "Scenario: " << r.scenario << "\n";
  out << "Settings: onlyHiddenItems=" << r.settings.onlyHiddenItems
      << " liveIcons=" << r.settings.liveIcons << " showLabels=" << r.settings.showLabels
      << " hotkeyEnabled=" << r.settings.hotkeyEnabled << "\n\n";
  if (r.listed.empty()) out << "  (nothing listed)\n";
  for (const auto& i : r.listed) {
    out << "  " << (i.isOnScreen ? "drawn " : "hidden") << "  " << i.name;
    if (i.owner.empty()) out << "  (no owner: can't be opened while hidden)";
    out << "\n";
  }
  return out.str();
}

nlohmann::ordered_json toJson(const ListReport& r) {
  nlohmann::ordered_json j;
  j["scenario"] = r.scenario;
  j["settings"] = {{"onlyHiddenItems", r.settings.onlyHiddenItems},
                   {"liveIcons", r.settings.liveIcons},
                   {"showLabels", r.settings.showLabels},
                   {"hotkeyEnabled", r.settings.hotkeyEnabled}};
  auto& listed = j["listed"] = nlohmann::ordered_json::array();
  for (const auto& i : r.listed) {
    listed.push_back(
        {{"windowID", i.windowID},
         {"name", i.name},
         {"isOnScreen", i.isOnScreen},
         {"owner", i.owner.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(i.owner)}});
  }
  return j;
}

std::string toText(const OpenReport& r) {
  return "Scenario: " + r.scenario + "\n" + (r.opened ? "Opened: " : "Not opened: ") + r.detail +
         "\n";
}

nlohmann::ordered_json toJson(const OpenReport& r) {
  nlohmann::ordered_json j;
  j["scenario"] = r.scenario;
  j["asked"] = r.asked;
  j["opened"] = r.opened ? nlohmann::ordered_json(*r.opened) : nlohmann::ordered_json();
  j["detail"] = r.detail;
  return j;
}

}  // namespace kestrune::sim
