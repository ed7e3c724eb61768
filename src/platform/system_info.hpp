#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include "core/time.hpp"

namespace kestrune {

// Facts about this process and the operating system.
class SystemInfo {
 public:
  virtual ~SystemInfo() = default;
  // NSProcessInfo operatingSystemVersion.majorVersion.
  [[nodiscard]] virtual int operatingSystemMajorVersion() = 0;
  // getpid().
  [[nodiscard]] virtual pid_t processIdentifier() = 0;
  // kill(pid, 0): 0 when the process exists and may be signalled, otherwise
  // the errno (ESRCH: no such process; EPERM: it exists but is not ours).
  [[nodiscard]] virtual int signalProbe(pid_t pid) = 0;
  // The process environment's value for `name`, absent when the key is not
  // there (an empty value is present).
  [[nodiscard]] virtual std::optional<std::string> environment(const std::string& name) = 0;
  // The user's current time zone's offset from UTC at `when`, in seconds
  // (NSTimeZone localTimeZone secondsFromGMTForDate:).
  [[nodiscard]] virtual int secondsFromGMT(WallTime when) = 0;
};

}  // namespace kestrune
