#include "mac/mac_system_info.hpp"

#import <Foundation/Foundation.h>

#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace kestrune {

int MacSystemInfo::operatingSystemMajorVersion() {
  return static_cast<int>(NSProcessInfo.processInfo.operatingSystemVersion.majorVersion);
}

pid_t MacSystemInfo::processIdentifier() {
  return getpid();
}

int MacSystemInfo::signalProbe(pid_t pid) {
  return kill(pid, 0) == 0 ? 0 : errno;
}

// getenv rather than NSProcessInfo.environment: it reads the environment as
// it is now, and needs no round trip through NSString.
std::optional<std::string> MacSystemInfo::environment(const std::string& name) {
  const char* value = std::getenv(name.c_str());
  if (!value) return std::nullopt;
  return std::string(value);
}

// localTimeZone follows the system time zone as it changes, where
// systemTimeZone is cached until reset.
int MacSystemInfo::secondsFromGMT(WallTime when) {
  NSDate* date = [NSDate dateWithTimeIntervalSince1970:toSeconds(when.time_since_epoch())];
  return static_cast<int>([NSTimeZone.localTimeZone secondsFromGMTForDate:date]);
}

}  // namespace kestrune
