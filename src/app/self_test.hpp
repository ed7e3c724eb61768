#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "core/time.hpp"
#include "platform/hot_keys.hpp"
#include "platform/login_items.hpp"
#include "platform/panel_window.hpp"
#include "platform/platform.hpp"
#include "platform/status_bar.hpp"
#include "platform/user_defaults.hpp"
#include "platform/view_pictures.hpp"

namespace kestrune {

struct SelfTestContext;

// A value a check saw.
using SelfTestValue = std::variant<bool, int64_t, double, std::string>;

// One check's record: what it did, what it saw, what was wrong and how long
// it took. It passed when nothing was wrong.
struct SelfTestCheck {
  std::string name;
  std::string did;
  std::vector<std::pair<std::string, SelfTestValue>> saw;
  std::vector<std::string> problems;
  Duration took{};

  [[nodiscard]] bool passed() const { return problems.empty(); }
  void see(std::string what, SelfTestValue value);
  // Records `problem` unless `condition` holds; answers `condition`.
  bool expect(bool condition, std::string problem);
};

struct SelfTestReport {
  std::string version;  // "0.1.0 (1)"
  int macOSMajorVersion = 0;
  std::vector<SelfTestCheck> checks;  // in the order they ran
  // Where the report was written, with the pictures beside it; none when
  // no folder was asked for.
  std::optional<std::string> path;
  bool written = false;

  [[nodiscard]] bool passed() const;
};

// The report as JSON: version, macOS, passed, the names of the failed
// checks, then every check with its status, what it did, what it saw, its
// problems and its seconds.
[[nodiscard]] std::string toJson(const SelfTestReport& report);
// One line per check, for a terminal or a CI log.
[[nodiscard]] std::string toText(const SelfTestReport& report);
// 0 when every check passed and the report is where it was asked to be;
// 1 otherwise.
[[nodiscard]] int exitStatus(const SelfTestReport& report);

// What "--self-test" or "--self-test=DIR" on the command line asks for.
struct SelfTestRequest {
  std::optional<std::string> directory;  // the report and the pictures go here
};
// The request among the program's arguments (without the program's name);
// none when there is none.
[[nodiscard]] std::optional<SelfTestRequest> selfTestRequest(const std::vector<std::string>& args);

// The platform's pieces a self-test uses beside `Platform`.
struct SelfTestPorts {
  StatusBar& statusBar;
  HotKeys& hotKeys;
  LoginItems& loginItems;
  PanelWindow& panelWindow;
  ViewPictures& pictures;
  DefaultsSuites& defaultsSuites;
};

struct SelfTestOptions {
  // A folder the test may fill and removes again; absolute.
  std::string scratchDirectory;
  // Where the report (report.json) and the pictures go; absolute. None:
  // the caller prints the report.
  std::optional<std::string> outputDirectory;
};

// Runs each of the platform's ports once against the system it runs on, one
// check after another on the main executor, in a fixed order: screens,
// window list, Accessibility, Screen Recording, user defaults, files,
// executors, status item, hot key, login item, then the views drawn from a
// fixed sample. Blocking calls run off the main thread; a check that has
// not finished within its time limit fails, and the next one starts. The
// checks' expectations follow the permissions as they are: without
// Accessibility a read must fail with "API disabled", without Screen
// Recording a capture must come back empty, so that every check can pass
// on a Mac that granted nothing. Lives in a shared_ptr while it runs.
class SelfTest : public std::enable_shared_from_this<SelfTest> {
 public:
  static constexpr const char* kReportFile = "report.json";
  static constexpr const char* kDefaultsSuite = "com.kestrune.Kestrune.self-test";

  // A check: its name, what it does, how long it may take, and its body,
  // which starts on the main thread and calls `done` there once it has
  // seen enough.
  struct Step {
    std::string name;
    std::string does;
    Duration limit{};
    std::function<void(const std::shared_ptr<SelfTestCheck>& check, std::function<void()> done)>
        run;
  };

  [[nodiscard]] static std::shared_ptr<SelfTest> create(const Platform& platform,
                                                        SelfTestPorts ports,
                                                        SelfTestOptions options);
  ~SelfTest();
  SelfTest(const SelfTest&) = delete;
  SelfTest& operator=(const SelfTest&) = delete;

  // Runs every check, writes the report when a folder was asked for,
  // removes what the checks left, and hands over the report. Main thread.
  void run(std::function<void(const SelfTestReport&)> finished);

 private:
  SelfTest(const Platform& platform, SelfTestPorts ports, SelfTestOptions options);
  void runStep(size_t index);
  void finish();

  std::shared_ptr<SelfTestContext> context_;
  std::vector<Step> steps_;
  SelfTestReport report_;
  std::function<void(const SelfTestReport&)> finished_;
};

}  // namespace kestrune
