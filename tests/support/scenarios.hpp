#pragma once

#include <string>
#include <vector>

#include "sim/scenario.hpp"

namespace kestrune::testing {

// Small scenarios built in code, for tests that need one exact situation.
inline sim::ScenarioItem item(std::string key, double width, std::string description = {}) {
  sim::ScenarioItem i;
  i.key = std::move(key);
  i.width = width;
  i.description = std::move(description);
  i.windowName = "Item-0";
  return i;
}

inline sim::ScenarioApp app(pid_t pid, std::string bundleID, std::string name,
                            std::vector<sim::ScenarioItem> items) {
  sim::ScenarioApp a;
  a.pid = pid;
  a.bundleID = std::move(bundleID);
  a.name = std::move(name);
  a.bundlePath = "/Applications/" + *a.name + ".app";
  a.items = std::move(items);
  return a;
}

// A display of `width` points with a 24-point menu bar (37 with a notch),
// and `appMenusWidth` points of app menus at the left.
inline sim::Scenario scenario(int osMajorVersion, double width, std::optional<double> notch,
                              double appMenusWidth, std::vector<sim::ScenarioApp> apps) {
  sim::Scenario s;
  s.name = "test";
  s.osMajorVersion = osMajorVersion;
  sim::ScenarioScreen screen;
  screen.name = "Display";
  screen.frame = Rect{0, 0, width, 900};
  screen.notchWidth = notch;
  screen.menuBarHeight = notch ? 37 : 24;
  s.screens.push_back(screen);
  s.menuBar.appMenusWidth = appMenusWidth;
  s.apps = std::move(apps);
  return s;
}

}  // namespace kestrune::testing
