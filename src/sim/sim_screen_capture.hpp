#pragma once

#include <mutex>
#include <vector>

#include "platform/screen_capture.hpp"
#include "sim/world.hpp"

namespace kestrune::sim {

// The simulated screen as ScreenCaptureKit sees it: the main display's
// menu bar (light or dark, each drawn item's glyph anti-aliased in the
// matching colour, nothing for hidden items) over a wallpaper, and single
// status windows on a transparent background. Pixels come as the platform
// delivers them: B, G, R, A in memory, premultiplied. Without Screen
// Recording nothing can be captured.
class SimScreenCapture final : public ScreenCapture {
 public:
  static constexpr uint32_t kMainDisplayID = 1;

  explicit SimScreenCapture(World& world) : world_(world) {}

  [[nodiscard]] bool preflightAccess() override;
  bool requestAccess() override;
  [[nodiscard]] std::optional<ShareableContent> shareableContent(bool excludingDesktopWindows,
                                                                 bool onScreenWindowsOnly) override;
  [[nodiscard]] uint32_t mainDisplayID() override { return kMainDisplayID; }
  [[nodiscard]] std::optional<Bitmap> captureDisplay(
      uint32_t displayID, const CaptureConfiguration& configuration) override;
  [[nodiscard]] std::optional<Bitmap> captureWindow(
      uint32_t windowID, const CaptureConfiguration& configuration) override;

  // Every display capture asked for, for checking what was looked at.
  struct DisplayRequest {
    uint32_t displayID = 0;
    CaptureConfiguration configuration;
  };
  [[nodiscard]] std::vector<DisplayRequest> displayRequests() const;

 private:
  World& world_;
  mutable std::mutex mutex_;
  std::vector<DisplayRequest> requests_;
};

// PNG through cairo.
class SimImageCodec final : public ImageCodec {
 public:
  [[nodiscard]] std::optional<std::string> encodePNG(const Bitmap& image) override;
  [[nodiscard]] std::optional<Bitmap> decodePNG(std::string_view bytes) override;
};

}  // namespace kestrune::sim
