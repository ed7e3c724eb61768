#include "mac/mac_screen_capture.hpp"

#import <CoreGraphics/CoreGraphics.h>
#import <Foundation/Foundation.h>
#import <ScreenCaptureKit/ScreenCaptureKit.h>
#import <dispatch/dispatch.h>

#include <chrono>
#include <mutex>

#include "mac/cf_ref.hpp"
#include "mac/cg_image_bitmap.hpp"

namespace kestrune {
namespace {

// Far beyond any real answer. A handler that never comes, or one queued
// behind a blocked thread, must not hold the caller forever.
constexpr std::chrono::seconds kReplyTimeout{10};

// False when the handler did not answer in time.
bool awaitReply(dispatch_semaphore_t replied) {
  const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(kReplyTimeout);
  return dispatch_semaphore_wait(replied, dispatch_time(DISPATCH_TIME_NOW, nanoseconds.count())) ==
         0;
}

// Runs `body`; an Objective-C exception thrown inside yields nothing.
// (Objective-C++ unwinds under ARC, releasing what the frames held.)
template <class Result, class Body>
std::optional<Result> guarded(const Body& body) {
  @try {
    return body();
  } @catch (id exception) {
    (void)exception;
    return std::nullopt;
  }
}

// The __block result moves to the heap with the handler, so an answer that
// comes after the wait gave up writes where nobody reads any more.
API_AVAILABLE(macos(12.3))
SCShareableContent* fetchContent(bool excludingDesktopWindows, bool onScreenWindowsOnly) {
  dispatch_semaphore_t replied = dispatch_semaphore_create(0);
  __block SCShareableContent* result = nil;
  [SCShareableContent
      getShareableContentExcludingDesktopWindows:excludingDesktopWindows ? YES : NO
                             onScreenWindowsOnly:onScreenWindowsOnly ? YES : NO
                               completionHandler:^(SCShareableContent* content, NSError* error) {
                                 if (!error) result = content;
                                 dispatch_semaphore_signal(replied);
                               }];
  if (!awaitReply(replied)) return nil;
  return result;
}

// Display sizes in points; window frames in the window list's top-left
// global space.
API_AVAILABLE(macos(12.3))
ShareableContent toShareableContent(SCShareableContent* content) {
  ShareableContent result;
  for (SCDisplay* display in content.displays) {
    result.displays.push_back({display.displayID, static_cast<double>(display.width),
                               static_cast<double>(display.height)});
  }
  for (SCWindow* window in content.windows) {
    const CGRect frame = window.frame;
    result.windows.push_back({window.windowID, Rect{frame.origin.x, frame.origin.y,
                                                    frame.size.width, frame.size.height}});
  }
  return result;
}

API_AVAILABLE(macos(12.3))
SCDisplay* displayIn(SCShareableContent* content, uint32_t displayID) {
  for (SCDisplay* display in content.displays) {
    if (display.displayID == displayID) return display;
  }
  return nil;
}

API_AVAILABLE(macos(12.3))
SCWindow* windowIn(SCShareableContent* content, uint32_t windowID) {
  for (SCWindow* window in content.windows) {
    if (window.windowID == windowID) return window;
  }
  return nil;
}

bool hasOutputSize(const CaptureConfiguration& configuration) {
  return configuration.width > 0 && configuration.height > 0;
}

// What display and window captures share. Without bestResolution the
// resolution stays ScreenCaptureKit's default.
API_AVAILABLE(macos(14.0))
SCStreamConfiguration* streamConfiguration(const CaptureConfiguration& configuration) {
  SCStreamConfiguration* stream = [[SCStreamConfiguration alloc] init];
  stream.width = static_cast<size_t>(configuration.width);
  stream.height = static_cast<size_t>(configuration.height);
  stream.showsCursor = configuration.showsCursor ? YES : NO;
  if (configuration.bestResolution) stream.captureResolution = SCCaptureResolutionBest;
  return stream;
}

// The image is the handler's only for the call: it keeps a reference of its
// own, and the pixels are read on the calling thread, not on the queue the
// handler runs on.
API_AVAILABLE(macos(14.0))
std::optional<Bitmap> screenshot(SCContentFilter* filter, SCStreamConfiguration* configuration) {
  if (!filter) return std::nullopt;
  dispatch_semaphore_t replied = dispatch_semaphore_create(0);
  __block CFRef<CGImageRef> result;
  [SCScreenshotManager captureImageWithFilter:filter
                                configuration:configuration
                            completionHandler:^(CGImageRef image, NSError* error) {
                              if (!error && image) result = CFRef<CGImageRef>::retain(image);
                              dispatch_semaphore_signal(replied);
                            }];
  if (!awaitReply(replied) || !result) return std::nullopt;
  return bitmapFromCGImage(result.get());
}

}  // namespace

class MacScreenCapture::LastContent {
 public:
  void remember(id content) {
    std::lock_guard lock(mutex_);
    content_ = content;
  }

  // The object of that id in the last content, else in content fetched
  // afresh, which then becomes the last.
  API_AVAILABLE(macos(12.3)) SCDisplay* display(uint32_t displayID) {
    if (SCDisplay* found = displayIn(current(), displayID)) return found;
    return displayIn(refreshed(), displayID);
  }
  API_AVAILABLE(macos(12.3)) SCWindow* window(uint32_t windowID) {
    if (SCWindow* found = windowIn(current(), windowID)) return found;
    return windowIn(refreshed(), windowID);
  }

 private:
  API_AVAILABLE(macos(12.3)) SCShareableContent* current() {
    std::lock_guard lock(mutex_);
    return content_;
  }
  // Desktop and off-screen windows included: the widest net for an id.
  API_AVAILABLE(macos(12.3)) SCShareableContent* refreshed() {
    SCShareableContent* content = fetchContent(false, false);
    if (content) remember(content);
    return content;
  }

  std::mutex mutex_;
  // An SCShareableContent, strong under ARC; typed `id` so that the member
  // itself needs no availability check.
  id content_ = nil;
};

MacScreenCapture::MacScreenCapture() : last_(std::make_unique<LastContent>()) {}

MacScreenCapture::~MacScreenCapture() = default;

bool MacScreenCapture::preflightAccess() {
  @autoreleasepool {
    return CGPreflightScreenCaptureAccess();
  }
}

bool MacScreenCapture::requestAccess() {
  @autoreleasepool {
    return CGRequestScreenCaptureAccess();
  }
}

std::optional<ShareableContent> MacScreenCapture::shareableContent(bool excludingDesktopWindows,
                                                                   bool onScreenWindowsOnly) {
  @autoreleasepool {
    return guarded<ShareableContent>([&]() -> std::optional<ShareableContent> {
      if (@available(macOS 12.3, *)) {
        SCShareableContent* content = fetchContent(excludingDesktopWindows, onScreenWindowsOnly);
        if (!content) return std::nullopt;
        last_->remember(content);
        return toShareableContent(content);
      }
      return std::nullopt;
    });
  }
}

uint32_t MacScreenCapture::mainDisplayID() {
  @autoreleasepool {
    return CGMainDisplayID();
  }
}

std::optional<Bitmap> MacScreenCapture::captureDisplay(uint32_t displayID,
                                                       const CaptureConfiguration& configuration) {
  @autoreleasepool {
    return guarded<Bitmap>([&]() -> std::optional<Bitmap> {
      if (@available(macOS 14.0, *)) {
        const Rect source = configuration.sourceRect.standardized();
        if (source.isEmpty() || !hasOutputSize(configuration)) return std::nullopt;
        SCDisplay* display = last_->display(displayID);
        if (!display) return std::nullopt;
        SCContentFilter* filter = [[SCContentFilter alloc] initWithDisplay:display
                                                          excludingWindows:@[]];
        SCStreamConfiguration* stream = streamConfiguration(configuration);
        stream.sourceRect =
            CGRectMake(source.origin.x, source.origin.y, source.size.width, source.size.height);
        stream.ignoreShadowsDisplay = configuration.ignoresShadows ? YES : NO;
        return screenshot(filter, stream);
      }
      return std::nullopt;
    });
  }
}

std::optional<Bitmap> MacScreenCapture::captureWindow(uint32_t windowID,
                                                      const CaptureConfiguration& configuration) {
  @autoreleasepool {
    return guarded<Bitmap>([&]() -> std::optional<Bitmap> {
      if (@available(macOS 14.0, *)) {
        if (!hasOutputSize(configuration)) return std::nullopt;
        SCWindow* window = last_->window(windowID);
        if (!window) return std::nullopt;
        SCContentFilter* filter = [[SCContentFilter alloc] initWithDesktopIndependentWindow:window];
        SCStreamConfiguration* stream = streamConfiguration(configuration);
        stream.ignoreShadowsSingleWindow = configuration.ignoresShadows ? YES : NO;
        return screenshot(filter, stream);
      }
      return std::nullopt;
    });
  }
}

}  // namespace kestrune
