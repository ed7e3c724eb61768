#pragma once

#include <memory>

#include "platform/screen_capture.hpp"

namespace kestrune {

// Screen Recording access through Core Graphics; shareable content and
// screenshots through ScreenCaptureKit: content from macOS 12.3, screenshots
// from macOS 14 (before that they yield nothing). The ScreenCaptureKit calls
// wait for their completion handlers, at most ten seconds each (a capture
// that takes longer yields nothing), so call them off the main thread; an
// Objective-C exception inside one stays there and it yields nothing. Every
// call drains its own autorelease pool. Callable from any thread.
class MacScreenCapture final : public ScreenCapture {
 public:
  MacScreenCapture();
  ~MacScreenCapture() override;
  MacScreenCapture(const MacScreenCapture&) = delete;
  MacScreenCapture& operator=(const MacScreenCapture&) = delete;

  [[nodiscard]] bool preflightAccess() override;
  bool requestAccess() override;
  [[nodiscard]] std::optional<ShareableContent> shareableContent(bool excludingDesktopWindows,
                                                                 bool onScreenWindowsOnly) override;
  [[nodiscard]] uint32_t mainDisplayID() override;
  // The display object of that id from the last shareable content (fetched
  // afresh when it has none), its `sourceRect` scaled to width by height
  // pixels. Nothing for an empty source rectangle or image size.
  [[nodiscard]] std::optional<Bitmap> captureDisplay(
      uint32_t displayID, const CaptureConfiguration& configuration) override;
  // The window object of that id, found the same way, captured whole: the
  // source rectangle is ignored.
  [[nodiscard]] std::optional<Bitmap> captureWindow(
      uint32_t windowID, const CaptureConfiguration& configuration) override;

 private:
  // ScreenCaptureKit builds filters from its own display and window objects,
  // not from ids: the last content fetched keeps them at hand.
  class LastContent;
  std::unique_ptr<LastContent> last_;
};

}  // namespace kestrune
