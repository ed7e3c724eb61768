#pragma once

#include <chrono>

namespace kestrune {

// Monotonic time. Every interval in the product is a Duration; points in time
// come only from an executor's clock, so that tests can run them virtually.
using Duration = std::chrono::nanoseconds;
using TimePoint = std::chrono::time_point<std::chrono::steady_clock, Duration>;
// Wall-clock time, for stamps that a person reads.
using WallTime = std::chrono::time_point<std::chrono::system_clock, Duration>;

[[nodiscard]] constexpr Duration seconds(double s) {
  return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(s));
}

[[nodiscard]] constexpr Duration milliseconds(double ms) {
  return seconds(ms / 1000.0);
}

[[nodiscard]] constexpr double toSeconds(Duration d) {
  return std::chrono::duration<double>(d).count();
}

}  // namespace kestrune
