#include "sim/picker_commands.hpp"

#include <filesystem>
#include <sstream>

#include "app/permissions.hpp"
#include "core/virtual_executors.hpp"
#include "discovery/activator.hpp"
#include "picker/overflow_model.hpp"
#include "picker/overflow_panel.hpp"
#include "settings/diag.hpp"
#include "settings/settings_store.hpp"
#include "sim/picker_renderer.hpp"
#include "sim/picker_stack.hpp"
#include "sim/sim_panel_window.hpp"

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

// Kestrune's own status item in AppKit's screen space; without one, where
// it would stand at the right end of the bar.
Rect ownItemFrame(const World& world) {
  const double height = world.mainDisplay().frame.height();
  for (const auto& item : world.statusItems()) {
    if (item.pid == world.scenario().ownPID) return flipVertically(item.placed.frame, height);
  }
  const double bar = world.mainDisplay().menuBarHeight;
  return {world.mainDisplay().frame.maxX() - 32, height - bar, 24, bar};
}

std::string iconKind(const CellIcon& icon) {
  switch (icon.source) {
    case CellIcon::Source::captured:
      return "captured";
    case CellIcon::Source::symbol:
      return "symbol " + (icon.image.symbol() ? icon.image.symbol()->name : std::string());
    case CellIcon::Source::appIcon:
      break;
  }
  return "app icon";
}

std::string appearanceName(PanelAppearance appearance) {
  switch (appearance) {
    case PanelAppearance::dark:
      return "dark";
    case PanelAppearance::light:
      return "light";
    case PanelAppearance::system:
      break;
  }
  return "system";
}

}  // namespace

PickerReport runPicker(SimMac& mac, VirtualExecutors& executors, const SettingChanges& changes,
                       const std::string& outDir) {
  RunningPicker picker(mac, executors);
  for (const auto& [field, value] : changes) picker.stack.store.set(field, value);
  executors.runUntilIdle();
  const bool isModern = picker.stack.layout.isModern();
  Activator activator(mac.platform(), isModern);
  Permissions permissions(mac.platform());
  SimPanelWindow window(mac.world());
  auto panel = OverflowPanel::create(
      picker.stack.model, picker.stack.store, isModern, mac.platform(), window,
      {[&](const MenuBarItem& item) { activator.press(item); },
       [&] { permissions.requestScreenRecordingAndRelaunch(std::chrono::seconds(120)); }});
  PickerReport report;
  report.scenario = mac.world().scenario().name;
  report.settings = picker.stack.store.settings();
  report.anchor = ownItemFrame(mac.world());
  panel->show(report.anchor);
  // Live icons are captured while the panel opens.
  executors.advance(std::chrono::milliseconds(500));
  report.frame = window.frame();
  report.appearance = appearanceName(window.appearance());
  const OverflowViewModel& view = *window.content();
  if (view.emptyState) report.emptyState = view.emptyState->text;
  if (view.hint) report.hint = view.hint->text;
  if (view.grid) {
    for (const auto& cell : view.grid->cells) {
      report.cells.push_back({cell.windowID, cell.label, iconKind(cell.icon), cell.showLabel,
                              cell.enabled, cell.opacity, cell.tooltip});
    }
  }
  std::filesystem::create_directories(outDir);
  const std::filesystem::path dir = std::filesystem::absolute(outDir);
  report.menuBarPng = (dir / "menubar.png").string();
  report.pickerPng = (dir / "picker.png").string();
  const bool dark = window.appearance() == PanelAppearance::system
                        ? mac.world().scenario().menuBar.darkAppearance
                        : window.appearance() == PanelAppearance::dark;
  const PickerPicture picture{view, window.geometry(), window.setup(), dark, std::nullopt, false};
  if (!writePngFile(renderMenuBar(mac.world()), report.menuBarPng) ||
      !writePngFile(renderPicker(picture, mac.world().mainDisplay().scale), report.pickerPng)) {
    throw std::runtime_error("cannot write the pictures into \"" + dir.string() + "\"");
  }
  panel->hide();
  return report;
}

ListReport runList(SimMac& mac, VirtualExecutors& executors, const SettingChanges& changes) {
  RunningPicker picker(mac, executors);
  for (const auto& [field, value] : changes) picker.stack.store.set(field, value);
  executors.runUntilIdle();
  ListReport report;
  report.scenario = mac.world().scenario().name;
  report.settings = picker.stack.store.settings();
  for (const auto& item : picker.stack.model->listedItems()) {
    report.listed.push_back({item.windowID, item.displayName(picker.stack.layout.isModern()),
                             item.isOnScreen, item.owner ? item.owner->name : "",
                             item.windowOwnerName});
  }
  return report;
}

OpenReport runOpen(SimMac& mac, VirtualExecutors& executors, const std::string& name) {
  RunningPicker picker(mac, executors);
  OpenReport report;
  report.scenario = mac.world().scenario().name;
  report.asked = name;
  const auto listed = picker.stack.model->listedItems();
  const bool modern = picker.stack.layout.isModern();
  auto item = std::find_if(listed.begin(), listed.end(),
                           [&](const MenuBarItem& i) { return i.displayName(modern) == name; });
  // An item no app answered for is listed by its window's name only; the
  // user knows it by the app the window list names.
  if (item == listed.end()) {
    item = std::find_if(listed.begin(), listed.end(), [&](const MenuBarItem& i) {
      return !i.owner && i.windowOwnerName == name;
    });
  }
  if (item == listed.end()) {
    report.detail = "the picker lists no item named \"" + name + "\"";
    return report;
  }
  if (!item->owner) {
    report.detail = "\"" + name + "\" is listed dimmed as \"" + item->displayName(modern) +
                    "\" and can't be opened while hidden: " + name +
                    " did not answer Accessibility in time";
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

std::string toText(const PickerReport& r) {
  std::ostringstream out;
  out << "Scenario: " << r.scenario << "\n";
  out << "Picker opened under Kestrune's status item at " << r.anchor << ": panel " << r.frame
      << ", " << r.appearance << " appearance\n\n";
  if (r.emptyState) out << "  " << *r.emptyState << "\n";
  for (const auto& c : r.cells) {
    out << "  " << (c.enabled ? "  " : "  (dimmed) ") << c.label << "  [" << c.icon << "]";
    if (!c.enabled) out << "  \"" << c.tooltip << "\"";
    out << "\n";
  }
  if (r.hint) out << "\n  " << *r.hint << "\n";
  out << "\nMenu bar: " << r.menuBarPng << "\nPicker:   " << r.pickerPng << "\n";
  return out.str();
}

nlohmann::ordered_json toJson(const PickerReport& r) {
  const auto rect = [](const Rect& f) {
    return nlohmann::ordered_json{
        {"x", f.minX()}, {"y", f.minY()}, {"width", f.width()}, {"height", f.height()}};
  };
  nlohmann::ordered_json j;
  j["scenario"] = r.scenario;
  j["anchor"] = rect(r.anchor);
  j["frame"] = rect(r.frame);
  j["appearance"] = r.appearance;
  j["emptyState"] = r.emptyState ? nlohmann::ordered_json(*r.emptyState) : nlohmann::ordered_json();
  auto& cells = j["cells"] = nlohmann::ordered_json::array();
  for (const auto& c : r.cells) {
    cells.push_back({{"windowID", c.windowID},
                     {"label", c.label},
                     {"icon", c.icon},
                     {"showLabel", c.showLabel},
                     {"enabled", c.enabled},
                     {"opacity", c.opacity},
                     {"tooltip", c.tooltip}});
  }
  j["hint"] = r.hint ? nlohmann::ordered_json(*r.hint) : nlohmann::ordered_json();
  j["menuBarPng"] = r.menuBarPng;
  j["pickerPng"] = r.pickerPng;
  return j;
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
    if (i.owner.empty()) {
      out << "  (" << i.windowOwner << "'s window, no owner: can't be opened while hidden)";
    }
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
         {"owner", i.owner.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(i.owner)},
         {"windowOwner", i.windowOwner}});
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
