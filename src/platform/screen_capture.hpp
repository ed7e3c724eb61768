#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/bitmap.hpp"
#include "core/geometry.hpp"

namespace kestrune {

// SCStreamConfiguration, as far as screenshots use it.
struct CaptureConfiguration {
  Rect sourceRect;  // points, top-left origin of the display (display captures)
  int width = 1;    // pixels
  int height = 1;
  bool showsCursor = false;
  bool ignoresShadows = true;  // ignoreShadowsDisplay / ignoreShadowsSingleWindow
  bool bestResolution = true;  // captureResolution: SCCaptureResolutionBest
};

struct CapturableDisplay {
  uint32_t displayID = 0;
  double width = 0;  // points
  double height = 0;
};

struct CapturableWindow {
  uint32_t windowID = 0;
  Rect frame;  // points, top-left origin
};

// SCShareableContent.
struct ShareableContent {
  std::vector<CapturableDisplay> displays;
  std::vector<CapturableWindow> windows;
};

// Screen Recording and ScreenCaptureKit. The calls block the calling thread
// until the platform's completion handler answers: never the main thread.
class ScreenCapture {
 public:
  virtual ~ScreenCapture() = default;
  // CGPreflightScreenCaptureAccess.
  [[nodiscard]] virtual bool preflightAccess() = 0;
  // CGRequestScreenCaptureAccess.
  virtual bool requestAccess() = 0;
  // getShareableContentExcludingDesktopWindows:onScreenWindowsOnly:.
  [[nodiscard]] virtual std::optional<ShareableContent> shareableContent(
      bool excludingDesktopWindows, bool onScreenWindowsOnly) = 0;
  // CGMainDisplayID.
  [[nodiscard]] virtual uint32_t mainDisplayID() = 0;
  // SCScreenshotManager with a filter of the display, excluding no window.
  [[nodiscard]] virtual std::optional<Bitmap> captureDisplay(
      uint32_t displayID, const CaptureConfiguration& configuration) = 0;
  // SCScreenshotManager with a desktop-independent window filter.
  [[nodiscard]] virtual std::optional<Bitmap> captureWindow(
      uint32_t windowID, const CaptureConfiguration& configuration) = 0;
};

// PNG files (ImageIO or NSBitmapImageRep on the Mac).
class ImageCodec {
 public:
  virtual ~ImageCodec() = default;
  [[nodiscard]] virtual std::optional<std::string> encodePNG(const Bitmap& image) = 0;
  // Any bytes: what is not a whole PNG image yields nothing.
  [[nodiscard]] virtual std::optional<Bitmap> decodePNG(std::string_view bytes) = 0;
};

}  // namespace kestrune
