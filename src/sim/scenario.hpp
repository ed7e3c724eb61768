#pragma once

#include <sys/types.h>
#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "core/geometry.hpp"
#include "platform/login_items.hpp"
#include "platform/window_server.hpp"

namespace kestrune::sim {

// A scenario file that cannot be used; the message names the field.
class ScenarioError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct ScenarioScreen {
  std::string name;
  Rect frame;  // global, top-left origin; the first screen is at 0, 0
  double scale = 2;
  std::optional<double> notchWidth;  // a camera housing centred at the top
  double menuBarHeight = 24;
  double dockHeight = 0;  // taken off the bottom of the visible frame
};

struct ScenarioMenuBar {
  double appMenusWidth = 300;  // the Apple menu and the front app's menus
  // The front app's menu titles, its name first.
  std::vector<std::string> appMenus{"Finder", "File", "Edit", "View", "Go", "Window", "Help"};
  double rightMargin = 8;
  double itemSpacing = 0;
  double overflowButtonWidth = 24;  // the system's » button (macOS 27 and later)
  double statusBarThickness = 24;
  bool autoHidden = false;      // the bar has slid away (full screen, auto-hide)
  bool darkAppearance = false;  // a dark menu bar with light glyphs
  pid_t agentPID = 88;          // the system menu bar agent (macOS 27 and later)
};

// What the bar does when the item is dropped after a ⌘-drag.
enum class DragMode {
  normal,     // the item moves where it is dropped
  refuse,     // every drop puts it back where it was
  secondTry,  // the first drop puts it back, later ones move it
};

struct ScenarioItem {
  std::string key;  // unique in the scenario; names the item in "order"
  std::string title;
  std::string description;
  std::string identifier;
  std::string windowName;
  double width = 24;
  std::optional<std::string> group;  // items of one group share an AXGroup (modern bar)
  std::optional<uint32_t> windowID;
  DragMode drag = DragMode::normal;
};

// How an app answers Accessibility.
enum class AXMode {
  normal,               // answers after its latency
  never,                // every read times out
  noExtrasMenuBar,      // answers, but has no extras menu bar
  wrongTypes,           // answers with values of the wrong type
  hangsAfterExtrasBar,  // answers for its application element only; hangs on every other
};

// How the process answers a signal-0 probe.
enum class ProcessProbe { normal, permissionDenied };

struct ScenarioApp {
  pid_t pid = 0;
  std::optional<std::string> bundleID;
  std::optional<std::string> name;
  std::optional<std::string> bundlePath;
  AXMode accessibility = AXMode::normal;
  double latencyMs = 0;
  ProcessProbe processProbe = ProcessProbe::normal;
  std::optional<int> quitAfterReads;  // the app quits after answering this many reads
  std::optional<int> quitAfterDrops;  // the app quits after this many drops on the bar
  std::vector<ScenarioItem> items;
};

struct ScenarioPermissions {
  bool accessibility = true;
  bool screenRecording = true;
  // The user grants Screen Recording this long after Kestrune first asks.
  std::optional<double> screenRecordingGrantedAfterSeconds;
};

// Kestrune's login item as the login item service holds it when the run
// starts, and failures the service answers with.
struct ScenarioLoginItem {
  LoginItems::Status status = LoginItems::Status::notRegistered;
  std::optional<std::string> registerError;    // every registration fails so
  std::optional<std::string> unregisterError;  // every unregistration fails so
};

struct Scenario {
  std::string name;
  std::string description;
  int osMajorVersion = 15;
  pid_t ownPID = 1000;  // the Kestrune process itself
  std::vector<ScenarioScreen> screens;
  ScenarioMenuBar menuBar;
  std::vector<ScenarioApp> apps;
  std::vector<std::string> order;  // item keys, right to left; the rest follow
  std::vector<WindowInfo> extraWindows;
  ScenarioPermissions permissions;
  ScenarioLoginItem loginItem;
  // Kestrune's bundle's information dictionary: its string values.
  std::map<std::string, std::string> infoDictionary{{"CFBundleShortVersionString", "0.1.0"},
                                                    {"CFBundleVersion", "1"}};
  std::map<std::string, std::string> environment;  // the Kestrune process's
  int utcOffsetMinutes = 0;                        // the user's time zone
  // The Kestrune process's main bundle.
  std::string bundlePath = "/Applications/Kestrune.app";
};

// Parses and checks a scenario document; throws ScenarioError.
[[nodiscard]] Scenario parseScenario(std::string_view json);

}  // namespace kestrune::sim
