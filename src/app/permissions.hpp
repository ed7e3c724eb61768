#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "core/executor.hpp"
#include "platform/platform.hpp"

namespace kestrune {

// Asks for the permissions Kestrune needs. Live icons need Screen Recording,
// and macOS lets a process use a newly granted Screen Recording only after
// it restarts: so a request opens the Screen Recording pane, waits for the
// user's grant, then opens a new instance of the app and quits this one.
// Lives on the main thread; it keeps the timers of pending requests.
class Permissions {
 public:
  static constexpr const char* kAccessibilityPaneURL =
      "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility";
  static constexpr const char* kScreenRecordingPaneURL =
      "x-apple.systempreferences:com.apple.preference.security?Privacy_ScreenCapture";
  static constexpr Duration kPollInterval = std::chrono::seconds(1);

  explicit Permissions(const Platform& platform);
  Permissions(const Permissions&) = delete;
  Permissions& operator=(const Permissions&) = delete;

  // Asks macOS for Screen Recording. Already granted: nothing more. Else
  // opens the pane and checks every second; once granted within `timeout`,
  // relaunches. After the time-out the app stays as it is, whatever the
  // user does later. Each request waits on its own.
  void requestScreenRecordingAndRelaunch(Duration timeout);

  // Opens a new instance of the app's bundle, then quits this instance
  // whether or not the new one opened. Outside an app bundle there is
  // nothing to open: it does nothing.
  void relaunch();

  // Requests still waiting for the grant.
  [[nodiscard]] size_t pendingRequests() const { return pending_.size(); }

  // Whether a path ends in a folder or file with the given extension
  // ("app" for /Applications/Kestrune.app), trailing slashes aside.
  [[nodiscard]] static bool hasPathExtension(std::string_view path, std::string_view extension);

 private:
  void tick(uint64_t request);

  const Platform& platform_;
  struct Pending {
    Timer timer;
    TimePoint deadline;
  };
  std::map<uint64_t, Pending> pending_;
  uint64_t nextRequest_ = 0;
};

}  // namespace kestrune
