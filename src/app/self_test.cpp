#include "app/self_test.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "app/self_test_checks.hpp"

namespace kestrune {
namespace {

constexpr std::string_view kArgument = "--self-test";

std::string version(Application& app) {
  const auto marketing = app.infoString("CFBundleShortVersionString");
  const auto build = app.infoString("CFBundleVersion");
  if (!marketing) return "unknown";
  return build ? *marketing + " (" + *build + ")" : *marketing;
}

// Seconds to the millisecond, as a person reads them.
double roundedSeconds(Duration d) {
  return std::round(toSeconds(d) * 1000) / 1000;
}

std::string secondsText(Duration d) {
  char text[32];
  std::snprintf(text, sizeof text, "%.3f s", roundedSeconds(d));
  return text;
}

nlohmann::ordered_json toJson(const SelfTestValue& value) {
  return std::visit([](const auto& v) { return nlohmann::ordered_json(v); }, value);
}

nlohmann::ordered_json toJson(const SelfTestCheck& check) {
  nlohmann::ordered_json saw = nlohmann::ordered_json::object();
  for (const auto& [what, value] : check.saw) saw[what] = toJson(value);
  return {{"name", check.name},         {"status", check.passed() ? "passed" : "failed"},
          {"did", check.did},           {"saw", saw},
          {"problems", check.problems}, {"seconds", roundedSeconds(check.took)}};
}

}  // namespace

void SelfTestCheck::see(std::string what, SelfTestValue value) {
  saw.emplace_back(std::move(what), std::move(value));
}

bool SelfTestCheck::expect(bool condition, std::string problem) {
  if (!condition) problems.push_back(std::move(problem));
  return condition;
}

bool SelfTestReport::passed() const {
  return std::all_of(checks.begin(), checks.end(), [](const auto& c) { return c.passed(); });
}

std::string toJson(const SelfTestReport& report) {
  nlohmann::ordered_json failed = nlohmann::ordered_json::array();
  nlohmann::ordered_json checks = nlohmann::ordered_json::array();
  for (const auto& check : report.checks) {
    if (!check.passed()) failed.push_back(check.name);
    checks.push_back(toJson(check));
  }
  const nlohmann::ordered_json json{{"version", report.version},
                                    {"macOS", report.macOSMajorVersion},
                                    {"passed", report.passed()},
                                    {"failed", failed},
                                    {"checks", checks}};
  return json.dump(2) + "\n";
}

std::string toText(const SelfTestReport& report) {
  const auto passed = std::count_if(report.checks.begin(), report.checks.end(),
                                    [](const auto& c) { return c.passed(); });
  std::string text = "Kestrune " + report.version + " self-test on macOS " +
                     std::to_string(report.macOSMajorVersion) + ": " + std::to_string(passed) +
                     " of " + std::to_string(report.checks.size()) + " checks passed\n";
  for (const auto& check : report.checks) {
    text += std::string(check.passed() ? "  passed  " : "  FAILED  ") + check.name + " (" +
            secondsText(check.took) + ")\n";
    for (const auto& problem : check.problems) text += "          " + problem + "\n";
  }
  if (report.path) {
    text += (report.written ? "Report: " : "Could not write the report: ") + *report.path + "\n";
  }
  return text;
}

int exitStatus(const SelfTestReport& report) {
  return report.passed() && (!report.path || report.written) ? 0 : 1;
}

std::optional<SelfTestRequest> selfTestRequest(const std::vector<std::string>& args) {
  for (const std::string_view arg : args) {
    if (arg == kArgument) return SelfTestRequest{};
    if (arg.starts_with(kArgument) && arg[kArgument.size()] == '=') {
      const auto directory = arg.substr(kArgument.size() + 1);
      if (directory.empty()) return SelfTestRequest{};
      return SelfTestRequest{std::string(directory)};
    }
  }
  return std::nullopt;
}

std::shared_ptr<SelfTest> SelfTest::create(const Platform& platform, SelfTestPorts ports,
                                           SelfTestOptions options) {
  return std::shared_ptr<SelfTest>(new SelfTest(platform, ports, std::move(options)));
}

SelfTest::SelfTest(const Platform& platform, SelfTestPorts ports, SelfTestOptions options)
    : context_(std::make_shared<SelfTestContext>(platform, ports, std::move(options))),
      steps_(systemChecks(context_)) {
  auto views = viewChecks(context_);
  steps_.insert(steps_.end(), std::make_move_iterator(views.begin()),
                std::make_move_iterator(views.end()));
}

SelfTest::~SelfTest() = default;

void SelfTest::run(std::function<void(const SelfTestReport&)> finished) {
  finished_ = std::move(finished);
  const Platform& platform = context_->platform;
  report_ = SelfTestReport{};
  report_.version = version(platform.application);
  report_.macOSMajorVersion = platform.system.operatingSystemMajorVersion();
  // Before the checks, which put their pictures there.
  if (const auto& out = context_->options.outputDirectory)
    platform.fileSystem.createDirectory(*out);
  runStep(0);
}

void SelfTest::runStep(size_t index) {
  if (index == steps_.size()) {
    finish();
    return;
  }
  const Step& step = steps_[index];
  MainExecutor* main = &context_->platform.executors.main();
  auto check = std::make_shared<SelfTestCheck>();
  check->name = step.name;
  check->did = step.does;
  // The check's end or its time limit, whichever comes first, ends it.
  auto ended = std::make_shared<bool>(false);
  const auto end = [weak = weak_from_this(), check, ended, start = main->now(), index,
                    main](std::optional<std::string> problem) {
    auto self = weak.lock();
    if (*ended || !self) return;
    *ended = true;
    // A copy: work that was given up may still write to the check.
    SelfTestCheck record = *check;
    if (problem) record.problems.push_back(std::move(*problem));
    record.took = main->now() - start;
    self->report_.checks.push_back(std::move(record));
    main->post([weak, index] {
      if (auto self = weak.lock()) self->runStep(index + 1);
    });
  };
  main->postAfter(step.limit, [end, limit = step.limit] {
    end("did not finish within " + secondsText(limit));
  });
  step.run(check, [end] { end(std::nullopt); });
}

void SelfTest::finish() {
  FileSystem& files = context_->platform.fileSystem;
  context_->ports.defaultsSuites.remove(kDefaultsSuite);
  files.removeItem(context_->options.scratchDirectory);
  if (const auto path = context_->outputPath(kReportFile)) {
    report_.path = *path;
    report_.written = files.writeAtomically(*path, toJson(report_));
  }
  if (finished_) finished_(report_);
}

}  // namespace kestrune
