// The Mac app's self-test, run against the simulated Mac: every check passes
// there, and a port that misbehaves fails the run with its check named.
#include "app/self_test.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "app/self_test_sample.hpp"
#include "discovery/item_scanner.hpp"
#include "sim/builtin_scenarios.hpp"
#include "sim/self_test_command.hpp"
#include "sim/sim_screen_capture.hpp"
#include "support/temp_home.hpp"

namespace kestrune {
namespace {

const std::vector<std::string> kChecks{
    "screens", "window list", "accessibility",    "screen recording",  "user defaults",
    "files",   "executors",   "status item",      "hot key",           "login item",
    "picker",  "panel",       "arrangement list", "settings: General", "settings: Menu Bar Order"};

sim::Scenario defaultScenario() {
  return sim::parseScenario(sim::builtinScenarios().front().json);
}

// The same platform with some of its ports replaced.
struct Replacements {
  Accessibility* accessibility = nullptr;
  WindowServer* windowServer = nullptr;
  FileSystem* fileSystem = nullptr;
  ScreenCapture* screenCapture = nullptr;
};

Platform replaced(const Platform& p, const Replacements& r) {
  return {r.accessibility ? *r.accessibility : p.accessibility,
          r.windowServer ? *r.windowServer : p.windowServer,
          p.workspace,
          p.screens,
          p.system,
          r.fileSystem ? *r.fileSystem : p.fileSystem,
          p.defaults,
          r.screenCapture ? *r.screenCapture : p.screenCapture,
          p.imageCodec,
          p.application,
          p.events,
          p.executors};
}

struct NoWindowList final : WindowServer {
  std::optional<std::vector<WindowInfo>> copyWindowInfo(WindowListOption, uint32_t) override {
    return std::nullopt;
  }
};

// Accessibility whose reads never come back within any time-out.
struct HangingAccessibility final : Accessibility {
  HangingAccessibility(Accessibility& real, Executors& executors)
      : real(real), executors(executors) {}
  AXElement createApplication(pid_t pid) override { return real.createApplication(pid); }
  AXError setMessagingTimeout(const AXElement& e, float s) override {
    return real.setMessagingTimeout(e, s);
  }
  AXError copyAttributeValue(const AXElement&, std::string_view, AXAnyValue&) override {
    executors.sleepFor(seconds(60));
    return AXError::cannotComplete;
  }
  AXError performAction(const AXElement& e, std::string_view a) override {
    return real.performAction(e, a);
  }
  AXError getPid(const AXElement& e, pid_t& pid) override { return real.getPid(e, pid); }
  bool isProcessTrusted() override { return real.isProcessTrusted(); }
  bool isProcessTrustedWithOptions(bool prompt) override {
    return real.isProcessTrustedWithOptions(prompt);
  }
  Accessibility& real;
  Executors& executors;
};

// A capture that hands out pixels whatever the permission says.
struct LeakyCapture final : ScreenCapture {
  bool preflightAccess() override { return false; }
  bool requestAccess() override { return false; }
  std::optional<ShareableContent> shareableContent(bool, bool) override { return std::nullopt; }
  uint32_t mainDisplayID() override { return 1; }
  std::optional<Bitmap> captureDisplay(uint32_t, const CaptureConfiguration& c) override {
    return Bitmap::rgba(c.width, c.height);
  }
  std::optional<Bitmap> captureWindow(uint32_t, const CaptureConfiguration&) override {
    return std::nullopt;
  }
};

// A file system that reads and creates folders but writes nothing.
struct ReadOnlyFiles final : FileSystem {
  explicit ReadOnlyFiles(FileSystem& real) : real(real) {}
  std::string homeDirectory() override { return real.homeDirectory(); }
  std::string cachesDirectory() override { return real.cachesDirectory(); }
  bool createDirectory(const std::string& path) override { return real.createDirectory(path); }
  std::optional<std::string> readFile(const std::string& path) override {
    return real.readFile(path);
  }
  std::optional<uint64_t> fileSize(const std::string& path) override { return real.fileSize(path); }
  bool removeItem(const std::string& path) override { return real.removeItem(path); }
  std::unique_ptr<WritableFile> openForWriting(const std::string&) override { return nullptr; }
  bool writeAtomically(const std::string&, std::string_view) override { return false; }
  FileSystem& real;
};

class SelfTestTest : public ::testing::Test {
 protected:
  void make(sim::Scenario scenario = defaultScenario()) {
    app_ = std::make_unique<sim::SimApp>(std::move(scenario), ex_, home_.path());
    selfTest_ = std::make_unique<sim::SimSelfTest>(*app_);
  }
  [[nodiscard]] SelfTestOptions options() const {
    return {home_.path() + "/scratch", std::nullopt};
  }
  SelfTestReport run() { return selfTest_->run(options()); }
  SelfTestReport run(const Replacements& r) {
    return selfTest_->run(replaced(platform(), r), options());
  }
  const Platform& platform() { return app_->mac().platform(); }

  testing::TempHome home_;
  VirtualExecutors ex_;
  std::unique_ptr<sim::SimApp> app_;
  std::unique_ptr<sim::SimSelfTest> selfTest_;
};

// A copy: the report may be a temporary.
SelfTestCheck checkNamed(const SelfTestReport& report, const std::string& name) {
  const auto it = std::find_if(report.checks.begin(), report.checks.end(),
                               [&](const auto& c) { return c.name == name; });
  if (it == report.checks.end()) throw std::out_of_range("no check named " + name);
  return *it;
}

std::vector<std::string> failedNames(const SelfTestReport& report) {
  std::vector<std::string> names;
  for (const auto& c : report.checks) {
    if (!c.passed()) names.push_back(c.name);
  }
  return names;
}

template <class T>
std::optional<T> seen(const SelfTestCheck& check, const std::string& what) {
  for (const auto& [key, value] : check.saw) {
    if (key == what) return std::get<T>(value);
  }
  return std::nullopt;
}

std::string problemsOf(const SelfTestCheck& check) {
  std::string text;
  for (const auto& p : check.problems) text += p + "\n";
  return text;
}

TEST_F(SelfTestTest, EveryCheckPassesOnTheSimulatedMacInItsOrder) {
  make();
  const auto report = run();
  std::vector<std::string> names;
  for (const auto& c : report.checks) {
    names.push_back(c.name);
    EXPECT_TRUE(c.passed()) << c.name << ": " << problemsOf(c);
  }
  EXPECT_EQ(names, kChecks);
  EXPECT_EQ(exitStatus(report), 0);
  EXPECT_EQ(report.version, "0.1.0 (1)");
  EXPECT_EQ(report.macOSMajorVersion, 15);
}

TEST_F(SelfTestTest, ItLeavesNeitherScratchFilesNorItsDefaultsSuite) {
  make();
  (void)run();
  EXPECT_FALSE(std::filesystem::exists(options().scratchDirectory + "/home"));
  EXPECT_FALSE(selfTest_->ports()
                   .defaultsSuites.open(SelfTest::kDefaultsSuite)
                   ->objectKind("Kestrune.settings.v1"));
}

TEST_F(SelfTestTest, WithAFolderItWritesTheReportAndThePicturesAtTheSizesItChecked) {
  make();
  auto opts = options();
  opts.outputDirectory = home_.path() + "/out";
  const auto report = selfTest_->run(opts);
  ASSERT_TRUE(report.written);
  EXPECT_EQ(report.path, home_.path() + "/out/report.json");
  const auto json = nlohmann::json::parse(home_.read("out/report.json"));
  EXPECT_EQ(json["passed"], true);
  EXPECT_EQ(json["failed"].size(), 0U);
  ASSERT_EQ(json["checks"].size(), kChecks.size());
  EXPECT_EQ(json["checks"][0]["name"], "screens");
  EXPECT_EQ(json["checks"][0]["status"], "passed");
  EXPECT_TRUE(json["checks"][0]["did"].is_string());
  EXPECT_EQ(json["checks"][0]["saw"]["screens"], 1);
  EXPECT_TRUE(json["checks"][0]["seconds"].is_number());

  sim::SimImageCodec codec;
  for (const auto& [name, file] : std::vector<std::pair<std::string, std::string>>{
           {"picker", "picker.png"},
           {"panel", "panel.png"},
           {"arrangement list", "arrange-list.png"},
           {"settings: General", "settings-general.png"},
           {"settings: Menu Bar Order", "settings-arrange.png"}}) {
    const auto check = checkNamed(report, name);
    EXPECT_EQ(seen<std::string>(check, "file"), home_.path() + "/out/" + file);
    const auto png = codec.decodePNG(home_.read("out/" + file));
    ASSERT_TRUE(png) << file;
    // "920×768": the pixels the check saw are those in the file.
    EXPECT_EQ(seen<std::string>(check, "pixels"),
              std::to_string(png->width) + "\u00D7" + std::to_string(png->height))
        << file;
  }
  EXPECT_EQ(seen<std::string>(checkNamed(report, "settings: General"), "laid out"),
            "520\u00D7560 pt");
}

TEST_F(SelfTestTest, AFailingWindowListFailsTheRunWithItsCheckNamed) {
  make();
  NoWindowList broken;
  const auto report = run({.windowServer = &broken});
  EXPECT_EQ(exitStatus(report), 1);
  const auto check = checkNamed(report, "window list");
  EXPECT_FALSE(check.passed());
  EXPECT_EQ(check.problems, std::vector<std::string>{"the window server gave no window list"});
  // The status item is looked for in the window list too.
  EXPECT_EQ(failedNames(report), (std::vector<std::string>{"window list", "status item"}));
  const auto json = nlohmann::json::parse(toJson(report));
  EXPECT_EQ(json["passed"], false);
  EXPECT_EQ(json["failed"], nlohmann::json::array({"window list", "status item"}));
  EXPECT_NE(toText(report).find("FAILED  window list"), std::string::npos);
}

TEST_F(SelfTestTest, AReadThatHangsIsGivenUpAtTheLimitAndTheNextChecksStillRun) {
  make();
  HangingAccessibility hanging(platform().accessibility, ex_);
  const auto report = run({.accessibility = &hanging});
  const auto check = checkNamed(report, "accessibility");
  EXPECT_EQ(check.problems, std::vector<std::string>{"did not finish within 10.000 s"});
  EXPECT_EQ(check.took, seconds(10));
  EXPECT_EQ(failedNames(report), std::vector<std::string>{"accessibility"});
  EXPECT_EQ(report.checks.size(), kChecks.size());
  EXPECT_EQ(exitStatus(report), 1);
}

TEST_F(SelfTestTest, WithoutAccessibilityTheReadMustAnswerAPIDisabled) {
  auto scenario = defaultScenario();
  scenario.permissions.accessibility = false;
  make(std::move(scenario));
  const auto check = checkNamed(run(), "accessibility");
  EXPECT_TRUE(check.passed()) << problemsOf(check);
  EXPECT_EQ(seen<bool>(check, "AXIsProcessTrusted"), false);
  EXPECT_EQ(seen<std::string>(check, "answer"), "kAXErrorAPIDisabled");
}

TEST_F(SelfTestTest, WithAccessibilityAnAppThatDoesNotAnswerFailsAfterTheTimeOut) {
  auto scenario = defaultScenario();
  for (auto& app : scenario.apps) {
    if (app.bundleID == "com.apple.controlcenter") app.accessibility = sim::AXMode::never;
  }
  make(std::move(scenario));
  const auto check = checkNamed(run(), "accessibility");
  EXPECT_EQ(check.problems, std::vector<std::string>{"with Accessibility, the read failed with "
                                                     "kAXErrorCannotComplete"});
  EXPECT_EQ(seen<double>(check, "seconds"), 1.0);
}

TEST_F(SelfTestTest, WithoutScreenRecordingACaptureMustComeBackEmpty) {
  auto scenario = defaultScenario();
  scenario.permissions.screenRecording = false;
  make(std::move(scenario));
  const auto passing = checkNamed(run(), "screen recording");
  EXPECT_TRUE(passing.passed()) << problemsOf(passing);
  EXPECT_EQ(seen<std::string>(passing, "result"), "none");

  LeakyCapture leaky;
  const auto failing = checkNamed(run({.screenCapture = &leaky}), "screen recording");
  EXPECT_EQ(failing.problems,
            std::vector<std::string>{"without Screen Recording a capture returned pixels"});
}

TEST_F(SelfTestTest, WithScreenRecordingTheCaptureMustHaveTheSizeAskedFor) {
  make();
  const auto check = checkNamed(run(), "screen recording");
  EXPECT_EQ(seen<bool>(check, "CGPreflightScreenCaptureAccess"), true);
  EXPECT_EQ(seen<std::string>(check, "result"), "128\u00D748 pixels");
}

TEST_F(SelfTestTest, FilesThatCannotBeWrittenFailTheFilesCheck) {
  make();
  ReadOnlyFiles files(platform().fileSystem);
  const auto report = run({.fileSystem = &files});
  EXPECT_FALSE(checkNamed(report, "files").passed());
  EXPECT_EQ(exitStatus(report), 1);
}

TEST_F(SelfTestTest, AHotKeyHeldByAnotherAppIsReported) {
  make();
  app_->hotKeys().takeByOtherApp(17, 6400);
  const auto check = checkNamed(run(), "hot key");
  EXPECT_EQ(seen<bool>(check, "registered \u2303\u2325\u2318T"), false);
  ASSERT_EQ(check.problems.size(), 1U);
  EXPECT_NE(check.problems[0].find("Carbon refused"), std::string::npos);
  EXPECT_EQ(app_->hotKeys().handlerCount(), 0U);
}

TEST_F(SelfTestTest, TheStatusItemIsOnTheBarDuringItsCheckAndGoneAfter) {
  make();
  const auto report = run();
  const auto check = checkNamed(report, "status item");
  EXPECT_TRUE(check.passed()) << problemsOf(check);
  EXPECT_EQ(seen<std::string>(check, "after removal"), "gone from the window list");
  EXPECT_EQ(app_->statusBar().item(), nullptr);
  EXPECT_FALSE(platform().defaults.objectKind("NSStatusItem Preferred Position Kestrune.selfTest"));
}

TEST_F(SelfTestTest, TheLoginItemIsReadButNeverChanged) {
  make();
  const auto check = checkNamed(run(), "login item");
  EXPECT_EQ(seen<std::string>(check, "status"), "not registered");
  EXPECT_TRUE(app_->loginItems().changes().empty());
}

TEST_F(SelfTestTest, ThePanelIsLaidOutAtTheFrameItsLayoutGaveAndNeverShown) {
  make();
  const auto report = run();
  const auto check = checkNamed(report, "panel");
  EXPECT_TRUE(check.passed()) << problemsOf(check);
  EXPECT_FALSE(app_->panelWindow().isVisible());
  EXPECT_EQ(seen<std::string>(check, "laid out"), seen<std::string>(check, "fitting size"));
  // The sample's 28 items without the clock, Control Center and Kestrune's own.
  EXPECT_EQ(seen<int64_t>(checkNamed(report, "picker"), "cells"), 25);
}

// Pictures whose views were laid out narrower than asked.
struct NarrowPictures final : ViewPictures {
  explicit NarrowPictures(ViewPictures& real) : real(real) {}
  std::optional<ViewPicture> picker(const OverflowViewModel& view, double scale) override {
    auto narrower = view;
    narrower.width -= 40;
    return real.picker(narrower, scale);
  }
  std::optional<ViewPicture> panel(double scale) override { return real.panel(scale); }
  std::optional<ViewPicture> arrangeList(const ArrangeViewModel& view, Size size,
                                         double scale) override {
    return real.arrangeList(view, size, scale);
  }
  std::optional<ViewPicture> settingsTab(const SettingsViewModel& view,
                                         const ArrangeViewModel& arrange, double scale) override {
    return real.settingsTab(view, arrange, scale);
  }
  ViewPictures& real;
};

TEST_F(SelfTestTest, AViewLaidOutAtAnotherSizeThanAskedFails) {
  make();
  auto ports = selfTest_->ports();
  NarrowPictures narrow(ports.pictures);
  const SelfTestPorts narrowed{ports.statusBar,   ports.hotKeys, ports.loginItems,
                               ports.panelWindow, narrow,        ports.defaultsSuites};
  std::optional<SelfTestReport> report;
  auto test = SelfTest::create(platform(), narrowed, options());
  test->run([&](const SelfTestReport& r) { report = r; });
  while (!report && ex_.nextDue()) ex_.advanceTo(std::max(*ex_.nextDue(), ex_.now()));
  ASSERT_TRUE(report);
  EXPECT_EQ(failedNames(*report), std::vector<std::string>{"picker"});
  EXPECT_EQ(checkNamed(*report, "picker").problems,
            std::vector<std::string>{"laid out at 420\u00D7502 pt, not at the size asked"});
}

TEST(SelfTestRequest, TakesTheFolderAfterTheEqualsSign) {
  EXPECT_FALSE(selfTestRequest({}));
  EXPECT_FALSE(selfTestRequest({"-NSDocumentRevisionsDebugMode", "YES"}));
  EXPECT_FALSE(selfTestRequest({"--self-testing"}));
  ASSERT_TRUE(selfTestRequest({"--self-test"}));
  EXPECT_EQ(selfTestRequest({"--self-test"})->directory, std::nullopt);
  EXPECT_EQ(selfTestRequest({"--self-test="})->directory, std::nullopt);
  EXPECT_EQ(selfTestRequest({"-psn_0_1", "--self-test=self-test"})->directory, "self-test");
}

TEST(SelfTestReportTest, ExitsNonZeroWhenACheckFailedOrTheReportWasNotWritten) {
  SelfTestReport report;
  report.checks.push_back({"a", "did", {}, {}, {}});
  EXPECT_EQ(exitStatus(report), 0);
  report.path = "/out/report.json";
  EXPECT_EQ(exitStatus(report), 1);
  report.written = true;
  EXPECT_EQ(exitStatus(report), 0);
  report.checks.push_back({"b", "did", {}, {"broken"}, {}});
  EXPECT_EQ(exitStatus(report), 1);
}

// The sample is the default scenario's bar as a scan of it finds it.
TEST(SelfTestSample, IsTheDefaultScenariosMenuBar) {
  VirtualExecutors ex;
  sim::SimMac mac(defaultScenario(), ex);
  const Platform& p = mac.platform();
  MenuBarLayout layout(p);
  testing::TempHome home;
  Diag diag(p.fileSystem, p.system, p.executors);
  ItemScanner scanner(p, layout, diag);
  const auto scanned = scanner.scan();
  std::vector<MenuBarItem> sample;
  for (auto& item : selfTestSampleItems(p.system.processIdentifier())) {
    // A scan leaves out the running app's own items.
    if (!item.owner || item.owner->pid != p.system.processIdentifier()) {
      sample.push_back(std::move(item));
    }
  }
  ASSERT_EQ(sample.size(), scanned.size());
  for (size_t i = 0; i < sample.size(); ++i) {
    EXPECT_EQ(sample[i].windowID, scanned[i].windowID) << i;
    EXPECT_EQ(sample[i].displayName(false), scanned[i].displayName(false)) << i;
    EXPECT_EQ(sample[i].isOnScreen, scanned[i].isOnScreen) << i;
    EXPECT_EQ(sample[i].frame, scanned[i].frame) << i;
    EXPECT_EQ(sample[i].symbolIconName(false), scanned[i].symbolIconName(false)) << i;
    ASSERT_EQ(sample[i].owner.has_value(), scanned[i].owner.has_value()) << i;
    if (sample[i].owner) {
      EXPECT_EQ(sample[i].owner->bundleID, scanned[i].owner->bundleID) << i;
    }
  }
}

}  // namespace
}  // namespace kestrune
