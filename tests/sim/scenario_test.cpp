#include "sim/scenario.hpp"

#include <gtest/gtest.h>

#include "core/virtual_executors.hpp"
#include "sim/builtin_scenarios.hpp"
#include "sim/report.hpp"

namespace kestrune::sim {
namespace {

std::string errorOf(const std::string& json) {
  try {
    (void)parseScenario(json);
  } catch (const ScenarioError& e) {
    return e.what();
  }
  return "";
}

constexpr const char* kMinimal = R"({"name": "m", "screens": [{}]})";

TEST(Scenario, MinimalScenarioTakesTheDefaults) {
  const Scenario s = parseScenario(kMinimal);
  EXPECT_EQ(s.osMajorVersion, 15);
  EXPECT_EQ(s.ownPID, 1000);
  ASSERT_EQ(s.screens.size(), 1U);
  EXPECT_EQ(s.screens[0].frame, (Rect{0, 0, 1512, 982}));
  EXPECT_EQ(s.screens[0].notchWidth, std::nullopt);
  EXPECT_EQ(s.screens[0].menuBarHeight, 24);
  EXPECT_TRUE(s.permissions.accessibility);
  EXPECT_TRUE(s.apps.empty());
}

TEST(Scenario, FullAppAndItemFields) {
  const Scenario s = parseScenario(R"({
    "name": "full", "osMajorVersion": 27,
    "screens": [{"width": 1512, "height": 982, "notch": {"width": 190}}],
    "apps": [{"pid": 9, "bundleID": "b", "name": "N", "accessibility": "never", "latencyMs": 5,
              "processProbe": "permissionDenied",
              "items": [{"key": "k", "title": "T", "description": "D", "identifier": "I",
                         "windowName": "W", "width": 33, "group": "g", "windowID": 77}]}],
    "order": ["k"],
    "environment": {"KESTRUNE_DEBUG": ""},
    "extraWindows": [{"layer": 25, "bounds": {"x": 1, "y": 0, "width": 6}, "alpha": 0}]
  })");
  EXPECT_EQ(s.screens[0].menuBarHeight, 37);  // the notch's default
  const ScenarioApp& a = s.apps.at(0);
  EXPECT_EQ(a.accessibility, AXMode::never);
  EXPECT_EQ(a.processProbe, ProcessProbe::permissionDenied);
  EXPECT_EQ(a.items.at(0).group, "g");
  EXPECT_EQ(a.items.at(0).windowID, 77U);
  EXPECT_EQ(s.environment.at("KESTRUNE_DEBUG"), "");
  const WindowInfo& w = s.extraWindows.at(0);
  EXPECT_EQ(w.bounds->width, 6);
  EXPECT_EQ(w.bounds->height, std::nullopt);
  EXPECT_EQ(w.alpha, 0);
}

TEST(Scenario, ErrorsNameTheField) {
  EXPECT_EQ(errorOf("{"), errorOf("{"));
  EXPECT_NE(errorOf("{").find("not valid JSON"), std::string::npos);
  EXPECT_EQ(errorOf(R"({"screens": [{}]})"), "scenario.name: missing");
  EXPECT_EQ(errorOf(R"({"name": "x", "screens": [{}], "colour": 1})"),
            "scenario.colour: unknown field");
  EXPECT_EQ(errorOf(R"({"name": "x", "screens": [{"width": "wide"}]})"),
            "scenario.screens[0].width: expected a number");
  EXPECT_EQ(errorOf(R"({"name": "x", "screens": []})"), "scenario.screens: expected at least one");
  EXPECT_EQ(errorOf(R"({"name": "x", "screens": [{"x": 5}]})"),
            "scenario.screens[0]: the first screen is the primary one, at x 0, y 0");
  EXPECT_EQ(
      errorOf(R"({"name": "x", "screens": [{}], "apps": [{"pid": 1, "accessibility": "slow"}]})"),
      "scenario.apps[0].accessibility: expected one of normal, never, noExtrasMenuBar, wrongTypes, "
      "hangsAfterExtrasBar");
  EXPECT_EQ(errorOf(R"({"name": "x", "screens": [{}], "apps": [{"pid": 1}, {"pid": 1}]})"),
            "scenario.apps[1].pid: used twice");
  EXPECT_EQ(errorOf(R"({"name": "x", "screens": [{}], "order": ["nope"]})"),
            "scenario.order: no item has the key \"nope\"");
  EXPECT_EQ(errorOf(R"({"name": "x", "screens": [{}],
                       "apps": [{"pid": 1, "items": [{"key": "a", "width": 0}]}]})"),
            "scenario.apps[0].items[0].width: must be greater than 0");
  EXPECT_EQ(errorOf(R"({"name": "x", "screens": [{}],
                       "apps": [{"pid": 1, "items": [{"key": "a", "windowID": 2}]}]})"),
            "scenario.apps[0].items[0].windowID: must be a window number from 3 to 4294967295");
  EXPECT_EQ(errorOf(R"({"name": "x", "screens": [{}], "extraWindows": [{"number": -1}]})"),
            "scenario.extraWindows[0].number: must be a window number from 3 to 4294967295");
  EXPECT_EQ(errorOf(R"({"name": "x", "screens": [{}],
                       "apps": [{"pid": 1, "items": [{"key": "a", "windowID": 9}]}],
                       "extraWindows": [{"number": 9}]})"),
            "scenario.extraWindows[0].number: window id 9 used twice");
}

TEST(Scenario, KestrunesBundleAndALaterScreenRecordingGrant) {
  const Scenario defaults = parseScenario(kMinimal);
  EXPECT_EQ(defaults.bundlePath, "/Applications/Kestrune.app");
  EXPECT_EQ(defaults.permissions.screenRecordingGrantedAfterSeconds, std::nullopt);
  const Scenario s = parseScenario(R"({"name": "x", "screens": [{}], "bundlePath": "/tmp/k",
      "permissions": {"screenRecording": false, "screenRecordingGrantedAfterSeconds": 2.5}})");
  EXPECT_EQ(s.bundlePath, "/tmp/k");
  EXPECT_FALSE(s.permissions.screenRecording);
  EXPECT_EQ(s.permissions.screenRecordingGrantedAfterSeconds, 2.5);
  EXPECT_EQ(errorOf(R"({"name": "x", "screens": [{}],
                       "permissions": {"screenRecordingGrantedAfterSeconds": -1}})"),
            "scenario.permissions.screenRecordingGrantedAfterSeconds: must not be negative");
  EXPECT_EQ(errorOf(R"({"name": "x", "screens": [{}], "bundlePath": 3})"),
            "scenario.bundlePath: expected a string");
}

TEST(Scenario, AgentProcessIdMustBeFree) {
  Scenario s = parseScenario(
      R"({"name": "x", "osMajorVersion": 27, "screens": [{}], "apps": [{"pid": 88}]})");
  VirtualExecutors ex;
  EXPECT_THROW(SimMac(s, ex), ScenarioError);
}

TEST(BuiltinScenarios, AllParseAndRun) {
  ASSERT_GE(builtinScenarios().size(), 1U);
  for (const auto& b : builtinScenarios()) {
    SCOPED_TRACE(std::string(b.name));
    VirtualExecutors ex;
    SimMac mac(parseScenario(b.json), ex);
    const auto report = makeReport(mac);
    EXPECT_FALSE(report.items.empty());
    EXPECT_EQ(report.snapshot.has_value(), report.isModern);
    const auto json = toJson(report);
    EXPECT_EQ(json["items"].size(), report.items.size());
    EXPECT_NE(toText(report).find(report.scenario), std::string::npos);
  }
}

TEST(BuiltinScenarios, DefaultIsTheCrowdedNotchedLaptop) {
  VirtualExecutors ex;
  SimMac mac(parseScenario(builtinScenarios().front().json), ex);
  const auto report = makeReport(mac);
  EXPECT_EQ(report.osMajorVersion, 15);
  EXPECT_TRUE(report.display.notchWidth);
  EXPECT_GE(report.items.size(), 20U);
  const auto hidden = std::count_if(report.items.begin(), report.items.end(), [](const auto& i) {
    return i.placement == Placement::behindNotch;
  });
  EXPECT_GE(hidden, 3);
}

}  // namespace
}  // namespace kestrune::sim
