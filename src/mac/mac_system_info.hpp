#pragma once

#include "platform/system_info.hpp"

namespace kestrune {

// This process and the operating system, from NSProcessInfo, NSTimeZone and
// POSIX.
class MacSystemInfo final : public SystemInfo {
 public:
  [[nodiscard]] int operatingSystemMajorVersion() override;
  [[nodiscard]] pid_t processIdentifier() override;
  [[nodiscard]] int signalProbe(pid_t pid) override;
  [[nodiscard]] std::optional<std::string> environment(const std::string& name) override;
  [[nodiscard]] int secondsFromGMT(WallTime when) override;
};

}  // namespace kestrune
