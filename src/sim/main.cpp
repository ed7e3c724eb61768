// kestrune-sim: runs Kestrune on a simulated Mac.
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

#include "core/thread_executors.hpp"
#include "core/virtual_executors.hpp"
#include "discovery/menu_bar_item.hpp"
#include "sim/arrange_report.hpp"
#include "sim/builtin_scenarios.hpp"
#include "sim/capture_report.hpp"
#include "sim/drawing_renderer.hpp"
#include "sim/permissions_report.hpp"
#include "sim/picker_commands.hpp"
#include "sim/report.hpp"
#include "sim/scan_report.hpp"
#include "sim/self_test_command.hpp"
#include "sim/shell.hpp"

namespace {

using namespace kestrune;

constexpr const char* kUsage =
    R"(Usage: kestrune-sim [--scenario NAME|PATH] [--home DIR] [--out DIR] [--json]
       kestrune-sim shell [--scenario NAME|PATH] [--home DIR]
       kestrune-sim picker [--scenario NAME|PATH] [--home DIR] [--out DIR] [SETTINGS] [--json]
       kestrune-sim bar [--scenario NAME|PATH] [--json]
       kestrune-sim scan [--scenario NAME|PATH] [--home DIR] [--json]
       kestrune-sim capture [--scenario NAME|PATH] [--home DIR] [--out DIR] [--json]
       kestrune-sim list [--scenario NAME|PATH] [--home DIR] [SETTINGS] [--json]
       kestrune-sim open NAME [--scenario NAME|PATH] [--home DIR] [--json]
       kestrune-sim arrange (--reverse | --order NAME... | --move NAME --before NAME)
                    [--scenario NAME|PATH] [--home DIR] [--out DIR] [--json]
       kestrune-sim permissions [--scenario NAME|PATH] [--timeout SECONDS] [--json]
       kestrune-sim self-test [--scenario NAME|PATH] [--home DIR] [--out DIR] [--json]
       kestrune-sim --list-scenarios [--json]
       kestrune-sim --render-icon PATH.png

Runs Kestrune on a simulated Mac. Options may stand before or after the
command.

  (no command)          launch the whole app: the real start-up (answering
                        any onboarding alert with its first button), ⌃⌥⌘T,
                        a hidden item opened from the picker, the settings
                        window's two tabs, each step waiting for its work in
                        simulated time; tells each step and what the app did
                        (alerts and answers, System Settings panes, login
                        item changes, relaunches, …) and draws menubar.png,
                        picker.png, settings-general.png and
                        settings-arrange.png (default --out: kestrune-run);
                        with --json, one JSON document: each step's command,
                        success, output lines and pictures
  shell                 the whole app, driven by commands read one per line
                        from standard input (type help for the list), so a
                        script can drive it: clicks, menus, the shortcut,
                        the picker, settings, permissions, apps, time, PNGs
  picker                start Kestrune's picker alone, open it under
                        its status item after the first sweep, print what
                        it shows and where, and draw the menu bar and the
                        picker side by side as menubar.png and picker.png
  bar                   print the simulated menu bar: every
                        status item in order, which ones macOS hides and why,
                        and the layout snapshot and menu bar visibility as
                        Kestrune reads them
  scan                  run one real scan, with real threads and real waits:
                        every item in menu bar order with its owner, and the
                        lines the scan wrote to the diagnostic log
  capture               scan, then capture every item's live icon: writes
                        the menu bar strip and each icon as PNG files and
                        tells which icons are fresh, which came from the
                        disk cache, and whether the glyphs are light
  list                  start Kestrune, let it warm up and print what the
                        picker lists, with the settings applied
  open NAME             start Kestrune, find the listed item called NAME
                        (hidden ones included), press it and tell which menu
                        the simulated Mac opened, or why none
  arrange               scan the bar, edit its order (reverse the movable
                        items, give the named items one another's places
                        in the order given, or move one item immediately
                        left of another) and apply it with ⌘-drags on the
                        simulated bar: prints every move and verification
                        of the diagnostic log, the real order afterwards
                        and any error, and draws the list as arrange.png
  permissions           ask for Screen Recording as Kestrune does, in
                        simulated time: the settings pane it opens, and
                        whether and when it relaunches itself once the
                        scenario's user grants it
  self-test             the Mac app's self-test (Kestrune --self-test) on the
                        simulated Mac: each port once, the views drawn from
                        a fixed sample; prints the report and, with --out,
                        writes report.json and the pictures there

  --scenario NAME|PATH  a built-in scenario by name, or a scenario file
                        (default: the first built-in scenario)
  --home DIR            the simulated user's home folder, kept between runs
                        so that settings, icon files and the log
                        (Library/Logs/Kestrune.log) persist
                        (default: kestrune-sim-home in the temporary folder)
  --out DIR             where picker, arrange and capture write their PNG
                        files (default: kestrune-picker, kestrune-arrange,
                        kestrune-capture)
  --timeout SECONDS     how long permissions waits for the grant (default: 120)
  --json                print JSON instead of text
  --list-scenarios      print the built-in scenarios
  --render-icon PATH    draw Kestrune's own menu bar icon at 2x into a PNG file
  --help                print this text

SETTINGS, saved like any setting (each on or off):
  --only-hidden on|off  list only the items macOS hides
  --live-icons on|off   show icons captured from the menu bar
  --labels on|off       show names under the icons
  --hotkey on|off       the global shortcut opens the picker
)";

struct Options {
  std::string command = "run";
  std::string name;  // of the item to open
  std::string home;
  std::string out;
  std::string scenario;
  bool json = false;
  bool list = false;
  std::string iconPath;
  double timeoutSeconds = 120;
  sim::SettingChanges settings;
  std::optional<sim::ArrangeRequest> arrange;
};

std::string readScenario(const std::string& nameOrPath) {
  if (auto builtin = sim::builtinScenario(nameOrPath)) return std::string(builtin->json);
  std::ifstream file(nameOrPath);
  if (!file) {
    throw std::runtime_error("no built-in scenario and no readable file named \"" + nameOrPath +
                             "\" (see --list-scenarios)");
  }
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

int listScenarios(bool json) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const auto& b : sim::builtinScenarios()) {
    const auto s = sim::parseScenario(b.json);
    if (json) {
      list.push_back({{"name", b.name}, {"title", s.name}, {"description", s.description}});
    } else {
      std::cout << b.name << "\n    " << s.name << "\n";
    }
  }
  if (json) std::cout << list.dump(2) << "\n";
  return 0;
}

// A home folder as a Mac user has one: with Library/Logs.
std::string prepareHome(const std::string& requested) {
  const std::filesystem::path home =
      requested.empty() ? std::filesystem::temp_directory_path() / "kestrune-sim-home"
                        : std::filesystem::path(requested);
  std::filesystem::create_directories(home / "Library/Logs");
  return std::filesystem::absolute(home).string();
}

template <class Report>
int print(const Report& report, bool json) {
  if (json) {
    std::cout << sim::toJson(report).dump(2) << "\n";
  } else {
    std::cout << sim::toText(report);
  }
  return 0;
}

// The default run: the whole app, from its launch to a hidden item's menu
// and the settings window, each step waiting for its work in simulated time.
// Tells each step and what followed as it happens, or, with `json`, prints
// one document at the end.
class Tour {
 public:
  Tour(sim::SimApp& app, std::string out, bool json)
      : app_(app), out_(std::move(out)), json_(json), shell_(app, json ? buffer_ : std::cout) {}

  bool run() {
    if (!json_) std::cout << "Scenario: " << app_.world().scenario().name << "\n\n";
    step("launch");
    step("hotkey");
    step("png " + out_ + " bar picker");
    if (const auto hidden = firstHiddenCell()) step("pick " + *hidden);
    step("settings general");
    step("png " + out_ + " settings");
    step("settings arrange");
    step("png " + out_ + " settings");
    step("state");
    if (json_) {
      nlohmann::ordered_json doc{{"scenario", app_.world().scenario().name},
                                 {"ok", ok_},
                                 {"steps", steps_},
                                 {"pictures", pictures_}};
      std::cout << doc.dump(2) << "\n";
    }
    return ok_;
  }

 private:
  void step(const std::string& line) {
    if (!json_) std::cout << "> " << line << "\n";
    const bool ok = shell_.execute(line);
    ok_ = ok_ && ok;
    pictures_.insert(pictures_.end(), shell_.pictures().begin(), shell_.pictures().end());
    if (!json_) return;
    nlohmann::ordered_json output = nlohmann::ordered_json::array();
    std::istringstream lines(buffer_.str());
    for (std::string text; std::getline(lines, text);) output.push_back(text);
    buffer_.str({});
    steps_.push_back(
        {{"command", line}, {"ok", ok}, {"output", output}, {"pictures", shell_.pictures()}});
  }

  // The first enabled picker cell of an item macOS hides.
  std::optional<std::string> firstHiddenCell() {
    const auto& view = app_.panelWindow().content();
    if (!view || !view->grid) return std::nullopt;
    for (const auto& cell : view->grid->cells) {
      if (!cell.item.isOnScreen && cell.enabled) return cell.label;
    }
    return std::nullopt;
  }

  sim::SimApp& app_;
  std::string out_;
  bool json_;
  std::ostringstream buffer_;
  sim::Shell shell_;
  bool ok_ = true;
  nlohmann::ordered_json steps_ = nlohmann::ordered_json::array();
  std::vector<std::string> pictures_;
};

int runCommand(sim::Scenario scenario, const Options& options) {
  if (options.command == "run" || options.command == "shell") {
    VirtualExecutors executors;
    sim::SimApp app(std::move(scenario), executors, prepareHome(options.home));
    if (options.command == "shell") {
      sim::Shell shell(app, std::cout);
      const bool interactive = ::isatty(STDIN_FILENO) != 0;
      if (interactive) std::cout << "Kestrune on a simulated Mac. Type help for the commands.\n";
      return shell.run(std::cin, !interactive) ? 0 : 3;
    }
    return Tour(app, options.out.empty() ? "kestrune-run" : options.out, options.json).run() ? 0
                                                                                             : 3;
  }
  if (options.command == "self-test") {
    return sim::runSelfTestCommand(std::move(scenario), prepareHome(options.home), options.out,
                                   options.json, std::cout);
  }
  if (options.command == "scan") {
    ThreadExecutors executors;
    sim::SimMac mac(std::move(scenario), executors, prepareHome(options.home));
    return print(sim::runScan(mac, executors), options.json);
  }
  VirtualExecutors executors;
  const std::string home = options.command == "bar" ? "" : prepareHome(options.home);
  sim::SimMac mac(std::move(scenario), executors, home);
  if (options.command == "capture") {
    return print(
        sim::runCapture(mac, executors, options.out.empty() ? "kestrune-capture" : options.out),
        options.json);
  }
  if (options.command == "picker") {
    return print(sim::runPicker(mac, executors, options.settings,
                                options.out.empty() ? "kestrune-picker" : options.out),
                 options.json);
  }
  if (options.command == "list") {
    return print(sim::runList(mac, executors, options.settings), options.json);
  }
  if (options.command == "open") {
    const auto report = sim::runOpen(mac, executors, options.name);
    print(report, options.json);
    return report.opened ? 0 : 3;
  }
  if (options.command == "arrange") {
    const auto report = sim::runArrange(mac, executors, *options.arrange,
                                        options.out.empty() ? "kestrune-arrange" : options.out);
    print(report, options.json);
    return report.error ? 3 : 0;
  }
  if (options.command == "permissions") {
    return print(sim::runPermissions(mac, executors, seconds(options.timeoutSeconds)),
                 options.json);
  }
  return print(sim::makeReport(mac), options.json);
}

int run(const Options& options) {
  if (options.list) return listScenarios(options.json);
  if (!options.iconPath.empty()) {
    if (sim::writePng(*MenuBarIcon::main().drawing(), 2, options.iconPath)) return 0;
    throw std::runtime_error("cannot write \"" + options.iconPath + "\"");
  }
  const std::string name = options.scenario.empty()
                               ? std::string(sim::builtinScenarios().front().name)
                               : options.scenario;
  return runCommand(sim::parseScenario(readScenario(name)), options);
}

// A number of seconds from 0 to a day, or nothing.
std::optional<double> timeoutValue(const std::string& text) {
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0' || !(value >= 0 && value <= 86400)) return std::nullopt;
  return value;
}

std::optional<bool> onOff(const std::string& text) {
  if (text == "on") return true;
  if (text == "off") return false;
  return std::nullopt;
}

bool Settings::*settingOption(const std::string& arg) {
  if (arg == "--only-hidden") return &Settings::onlyHiddenItems;
  if (arg == "--live-icons") return &Settings::liveIcons;
  if (arg == "--labels") return &Settings::showLabels;
  if (arg == "--hotkey") return &Settings::hotkeyEnabled;
  return nullptr;
}

constexpr std::array kCommands{"shell", "picker", "bar",     "scan",        "capture",
                               "list",  "open",   "arrange", "permissions", "self-test"};

bool isCommand(const std::string& arg) {
  return std::find(kCommands.begin(), kCommands.end(), arg) != kCommands.end();
}

// Options that take the next argument as their value.
bool takesValue(const std::string& arg) {
  return arg == "--scenario" || arg == "--home" || arg == "--out" || arg == "--timeout" ||
         arg == "--render-icon" || settingOption(arg) != nullptr;
}

// The command word, wherever it stands among the options.
std::string commandOf(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    if (isCommand(arg)) return arg;
    if (takesValue(arg)) ++i;
  }
  return "run";
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  options.command = commandOf(argc, argv);
  bool commandSeen = false;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    const bool hasValue = i + 1 < argc;
    if (arg == "--json") {
      options.json = true;
    } else if (arg == "--list-scenarios") {
      options.list = true;
    } else if (!commandSeen && arg == options.command) {
      commandSeen = true;
      if (arg == "open" && hasValue) options.name = argv[++i];
    } else if (settingOption(arg) && hasValue && onOff(argv[i + 1])) {
      options.settings.emplace_back(settingOption(arg), *onOff(argv[++i]));
    } else if (options.command == "arrange" && arg == "--reverse") {
      options.arrange = sim::ArrangeRequest{};
    } else if (options.command == "arrange" && arg == "--order" && hasValue) {
      sim::ArrangeRequest request{sim::ArrangeRequest::Kind::order, {}, {}, {}};
      while (i + 1 < argc && std::string(argv[i + 1]).rfind("--", 0) != 0) {
        request.order.emplace_back(argv[++i]);
      }
      options.arrange = request;
    } else if (options.command == "arrange" && arg == "--move" && i + 3 < argc &&
               std::string(argv[i + 2]) == "--before") {
      options.arrange =
          sim::ArrangeRequest{sim::ArrangeRequest::Kind::move, {}, argv[i + 1], argv[i + 3]};
      i += 3;
    } else if (arg == "--out" && hasValue) {
      options.out = argv[++i];
    } else if (arg == "--timeout" && hasValue && timeoutValue(argv[i + 1])) {
      options.timeoutSeconds = *timeoutValue(argv[++i]);
    } else if (arg == "--home" && hasValue) {
      options.home = argv[++i];
    } else if (arg == "--render-icon" && hasValue) {
      options.iconPath = argv[++i];
    } else if (arg == "--scenario" && hasValue) {
      options.scenario = argv[++i];
    } else if (arg == "--help" || arg == "-h") {
      std::cout << kUsage;
      return 0;
    } else {
      std::cerr << "kestrune-sim: unknown or incomplete option \"" << arg << "\"\n\n" << kUsage;
      return 2;
    }
  }
  if (options.command == "arrange" && !options.arrange) {
    std::cerr << "kestrune-sim: arrange needs --reverse, --order NAME... or --move NAME --before "
                 "NAME\n";
    return 2;
  }
  if (options.command == "open" && options.name.empty()) {
    std::cerr << "kestrune-sim: open needs the name of an item (see list)\n";
    return 2;
  }
  try {
    return run(options);
  } catch (const std::exception& e) {
    std::cerr << "kestrune-sim: " << e.what() << "\n";
    return 1;
  }
}
