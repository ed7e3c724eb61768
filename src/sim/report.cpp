#include "sim/report.hpp"

#include <algorithm>
#include <cstdio>
#include <sstream>

#include "discovery/menu_bar_item.hpp"

namespace kestrune::sim {
namespace {

std::string itemLabel(const ScenarioItem& item) {
  if (!item.description.empty()) return item.description;
  if (!item.title.empty()) return item.title;
  return MenuBarItem::friendlyWindowName(item.windowName).value_or("");
}

std::string format(const char* fmt, double a, double b = 0, double c = 0) {
  char buffer[128];
  std::snprintf(buffer, sizeof buffer, fmt, a, b, c);
  return buffer;
}

nlohmann::ordered_json rectJson(const Rect& r) {
  return {{"x", r.minX()}, {"y", r.minY()}, {"width", r.width()}, {"height", r.height()}};
}

std::string_view reason(Placement p) {
  switch (p) {
    case Placement::drawn:
      return "drawn";
    case Placement::behindNotch:
      return "hidden behind the notch";
    case Placement::underAppMenus:
      return "hidden by the app menus";
    case Placement::inOverflow:
      return "hidden in the » overflow";
  }
  return "";
}

}  // namespace

std::string_view placementName(Placement placement) {
  switch (placement) {
    case Placement::drawn:
      return "drawn";
    case Placement::behindNotch:
      return "behindNotch";
    case Placement::underAppMenus:
      return "underAppMenus";
    case Placement::inOverflow:
      return "inOverflow";
  }
  return "";
}

BarReport makeReport(SimMac& mac) {
  World& world = mac.world();
  BarReport r;
  r.scenario = world.scenario().name;
  r.osMajorVersion = world.scenario().osMajorVersion;
  r.display = world.mainDisplay();
  std::map<pid_t, std::string> names;
  for (const auto& app : world.apps())
    names[app.pid] = app.name.value_or(app.bundleID.value_or("?"));
  for (const auto& s : world.statusItems()) {
    r.items.push_back({s.windowID, s.item.key, names[s.pid], s.pid, itemLabel(s.item),
                       s.placed.frame, s.placed.placement});
  }
  std::reverse(r.items.begin(), r.items.end());
  r.overflowButton = world.overflowButton();

  const MenuBarLayout layout(mac.platform());
  r.isModern = layout.isModern();
  r.menuBarIsVisible = layout.menuBarIsVisible();
  r.snapshot = layout.snapshot(seconds(0.5));
  return r;
}

std::string toText(const BarReport& r) {
  std::ostringstream out;
  const auto& d = r.display;
  out << "Scenario: " << r.scenario << "\n";
  out << "macOS " << r.osMajorVersion << " ("
      << (r.isModern ? "modern menu bar: items that do not fit go into the » overflow"
                     : "legacy menu bar: items that do not fit are hidden")
      << ")\n";
  out << "Main display: " << d.name << ", "
      << format("%.0f × %.0f pt @%gx", d.frame.width(), d.frame.height(), d.scale);
  if (d.notchWidth) out << format(", notch %.0f pt wide", *d.notchWidth);
  out << format(", menu bar %.0f pt", d.menuBarHeight) << "\n";
  out << "Menu bar visible: " << (r.menuBarIsVisible ? "yes" : "no") << "\n\n";

  const auto drawn = std::count_if(r.items.begin(), r.items.end(),
                                   [](const auto& i) { return i.placement == Placement::drawn; });
  out << "Status items, left to right (" << r.items.size() << ", " << drawn << " drawn):\n";
  out << "  window      x  width  state                     app — item\n";
  for (const auto& i : r.items) {
    out << "  " << format("%6.0f %6.0f %6.0f", i.windowID, i.frame.minX(), i.frame.width()) << "  ";
    std::string state(reason(i.placement));
    state.resize(std::max<size_t>(state.size(), 24), ' ');
    out << state << "  " << i.app;
    if (!i.title.empty() && i.title != i.app) out << " — " << i.title;
    out << "\n";
  }
  if (r.overflowButton) {
    out << format("  » overflow button at x %.0f, %.0f pt wide\n", r.overflowButton->minX(),
                  r.overflowButton->width());
  }
  out << "\nLayout snapshot, as Kestrune reads it: ";
  if (!r.snapshot) {
    out << (r.isModern ? "none (the menu bar agent did not answer)\n"
                       : "none (no menu bar agent before macOS 27)\n");
    return out.str();
  }
  out << r.snapshot->hosts.size() << " hosts, bar height " << format("%.0f", r.snapshot->barHeight)
      << ", show-hidden button "
      << (r.snapshot->showHiddenButton
              ? format("x=%.0f w=%.0f", r.snapshot->showHiddenButton->minX(),
                       r.snapshot->showHiddenButton->width())
              : std::string("none"))
      << "\n";
  for (const auto& h : r.snapshot->hosts) {
    out << format("  host x=%6.0f w=%4.0f pid=%.0f\n", h.frame.minX(), h.frame.width(), h.pid);
  }
  return out.str();
}

nlohmann::ordered_json toJson(const BarReport& r) {
  nlohmann::ordered_json j;
  j["scenario"] = r.scenario;
  j["osMajorVersion"] = r.osMajorVersion;
  j["isModern"] = r.isModern;
  j["display"] = {
      {"name", r.display.name},
      {"width", r.display.frame.width()},
      {"height", r.display.frame.height()},
      {"scale", r.display.scale},
      {"notchWidth", r.display.notchWidth ? nlohmann::ordered_json(*r.display.notchWidth)
                                          : nlohmann::ordered_json(nullptr)},
      {"menuBarHeight", r.display.menuBarHeight}};
  j["menuBarIsVisible"] = r.menuBarIsVisible;
  auto& items = j["items"] = nlohmann::ordered_json::array();
  for (const auto& i : r.items) {
    items.push_back({{"windowID", i.windowID},
                     {"key", i.key},
                     {"app", i.app},
                     {"pid", i.pid},
                     {"title", i.title},
                     {"frame", rectJson(i.frame)},
                     {"placement", placementName(i.placement)}});
  }
  j["overflowButton"] = r.overflowButton ? rectJson(*r.overflowButton) : nlohmann::ordered_json();
  if (!r.snapshot) {
    j["snapshot"] = nullptr;
    return j;
  }
  auto& snapshot = j["snapshot"];
  auto& hosts = snapshot["hosts"] = nlohmann::ordered_json::array();
  for (const auto& h : r.snapshot->hosts) {
    hosts.push_back({{"frame", rectJson(h.frame)}, {"pid", h.pid}});
  }
  snapshot["showHiddenButton"] = r.snapshot->showHiddenButton
                                     ? rectJson(*r.snapshot->showHiddenButton)
                                     : nlohmann::ordered_json();
  snapshot["barHeight"] = r.snapshot->barHeight;
  return j;
}

}  // namespace kestrune::sim
