#pragma once

#include <sys/types.h>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kestrune {

// Options of CGWindowListCopyWindowInfo, with the platform's values.
enum class WindowListOption : uint32_t {
  all = 0,                 // kCGWindowListOptionAll
  onScreenOnly = 1U << 0,  // kCGWindowListOptionOnScreenOnly
};

// The bounds dictionary of a window entry (top-left origin, points). The
// platform's dictionary may lack any key.
struct WindowBounds {
  std::optional<double> x;
  std::optional<double> y;
  std::optional<double> width;
  std::optional<double> height;
};

// One entry of the window list, every key optional as in the platform's
// dictionaries.
struct WindowInfo {
  std::optional<int64_t> layer;          // kCGWindowLayer
  std::optional<uint32_t> number;        // kCGWindowNumber
  std::optional<WindowBounds> bounds;    // kCGWindowBounds
  std::optional<double> alpha;           // kCGWindowAlpha
  std::optional<bool> isOnscreen;        // kCGWindowIsOnscreen
  std::optional<std::string> name;       // kCGWindowName
  std::optional<std::string> ownerName;  // kCGWindowOwnerName
  std::optional<pid_t> ownerPID;         // kCGWindowOwnerPID
};

// The window server's window list.
class WindowServer {
 public:
  virtual ~WindowServer() = default;
  // CGWindowListCopyWindowInfo: the windows front to back, or nothing when
  // the window server gives no list.
  [[nodiscard]] virtual std::optional<std::vector<WindowInfo>> copyWindowInfo(
      WindowListOption option, uint32_t relativeToWindow) = 0;
};

}  // namespace kestrune
