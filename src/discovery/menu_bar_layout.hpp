#pragma once

#include <sys/types.h>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "core/geometry.hpp"
#include "core/time.hpp"
#include "platform/platform.hpp"

namespace kestrune {

// What the Accessibility trees of the apps cannot tell about the real menu
// bar: which system family runs, whether the bar is on screen, and on modern
// systems where the system's menu bar agent draws each status item.
class MenuBarLayout {
 public:
  // One drawn status item of the agent's bar window (top-left origin).
  struct Host {
    Rect frame;
    pid_t pid = 0;  // the app whose item is drawn there
    friend bool operator==(const Host&, const Host&) = default;
  };
  struct Snapshot {
    std::vector<Host> hosts;               // left to right
    std::optional<Rect> showHiddenButton;  // the » button, when the bar has one
    double barHeight = 0;
    friend bool operator==(const Snapshot&, const Snapshot&) = default;
  };
  // A status window of the window list that may be matched to a host.
  struct Candidate {
    uint32_t id = 0;
    pid_t pid = 0;
    Rect frame;
  };

  static constexpr const char* kAgentBundleID = "com.apple.MenuBarAgent";

  // From macOS 27 on, items that do not fit go into the system's hidden
  // overflow instead of behind the notch. 26 itself is not modern.
  [[nodiscard]] static constexpr bool isModernVersion(int majorVersion) {
    return majorVersion > 26;
  }

  // Reads the system version once, here; the answer never changes.
  explicit MenuBarLayout(const Platform& platform);

  [[nodiscard]] bool isModern() const { return isModern_; }
  [[nodiscard]] std::optional<pid_t> agentPID() const;
  [[nodiscard]] bool menuBarIsVisible() const;
  // Blocks for up to `timeout` per Accessibility call: never on the main
  // thread.
  [[nodiscard]] std::optional<Snapshot> snapshot(Duration timeout) const;

  [[nodiscard]] static std::map<uint32_t, Host> matchHosts(const std::vector<Candidate>& candidates,
                                                           const Snapshot& snapshot,
                                                           double proximity);

 private:
  struct BarWindow {
    AXElement element;
    Rect frame;
  };
  // Both give every element they read `timeout` first.
  [[nodiscard]] std::optional<BarWindow> barWindow(const AXElement& agent, Duration timeout) const;
  [[nodiscard]] std::vector<Host> hostsIn(const AXElement& barWindow, Duration timeout) const;

  Accessibility& ax_;
  WindowServer& windowServer_;
  Workspace& workspace_;
  bool isModern_;
};

}  // namespace kestrune
