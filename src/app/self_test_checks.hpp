#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/self_test.hpp"
#include "discovery/menu_bar_layout.hpp"
#include "settings/diag.hpp"

// The self-test's checks, for self_test.cpp.
namespace kestrune {

// What every check reaches. Shared with the checks' queued work, which may
// outlive the test when a check is given up.
struct SelfTestContext {
  SelfTestContext(const Platform& platform, SelfTestPorts ports, SelfTestOptions options)
      : platform(platform),
        ports(ports),
        options(std::move(options)),
        layout(platform),
        diag(platform.fileSystem, platform.system, platform.executors) {}

  const Platform& platform;
  SelfTestPorts ports;
  SelfTestOptions options;
  // What the scanner and the views' models are made with. Nothing is
  // logged.
  MenuBarLayout layout;
  Diag diag;

  // `name` in the output folder; none without one.
  [[nodiscard]] std::optional<std::string> outputPath(const std::string& name) const {
    if (!options.outputDirectory) return std::nullopt;
    return *options.outputDirectory + "/" + name;
  }
};

// Within a point of each other, as frames and sizes are compared.
[[nodiscard]] bool near(double a, double b);
[[nodiscard]] bool near(const Rect& a, const Rect& b);

// Screens, window list, Accessibility, Screen Recording, user defaults,
// files, executors, status item, hot key and login item, in that order.
[[nodiscard]] std::vector<SelfTest::Step> systemChecks(
    const std::shared_ptr<SelfTestContext>& context);

// The picker, its panel, the arrangement list and the settings window's two
// tabs, drawn from view models of the fixed sample.
[[nodiscard]] std::vector<SelfTest::Step> viewChecks(
    const std::shared_ptr<SelfTestContext>& context);

}  // namespace kestrune
