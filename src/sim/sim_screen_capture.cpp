#include "sim/sim_screen_capture.hpp"

#include "sim/bar_drawing.hpp"
#include "sim/cairo_bitmap.hpp"

#include <bit>
#include <cmath>
#include <cstring>
#include <functional>
#include <memory>

namespace kestrune::sim {
namespace {

bool usable(const CaptureConfiguration& c) {
  return c.width > 0 && c.height > 0 && c.width <= 16384 && c.height <= 16384;
}

}  // namespace

bool SimScreenCapture::preflightAccess() {
  return world_.screenRecordingGranted();
}

bool SimScreenCapture::requestAccess() {
  world_.recordScreenRecordingRequest();
  return preflightAccess();
}

std::optional<ShareableContent> SimScreenCapture::shareableContent(bool /*excludingDesktop*/,
                                                                   bool onScreenWindowsOnly) {
  if (!preflightAccess()) return std::nullopt;
  ShareableContent content;
  uint32_t id = kMainDisplayID;
  for (const auto& screen : world_.scenario().screens) {
    content.displays.push_back({id++, screen.frame.width(), screen.frame.height()});
  }
  for (const auto& item : world_.statusItems()) {
    if (onScreenWindowsOnly && !item.placed.isDrawn()) continue;
    content.windows.push_back({item.windowID, item.placed.frame});
  }
  return content;
}

std::optional<Bitmap> SimScreenCapture::captureDisplay(uint32_t displayID,
                                                       const CaptureConfiguration& config) {
  {
    std::lock_guard lock(mutex_);
    requests_.push_back({displayID, config});
  }
  if (!preflightAccess() || displayID != kMainDisplayID || !usable(config) ||
      config.sourceRect.isEmpty()) {
    return std::nullopt;
  }
  Surface surface = surfaceOf(config.width, config.height);
  Context cr(cairo_create(surface.get()), cairo_destroy);
  cairo_scale(cr.get(), config.width / config.sourceRect.width(),
              config.height / config.sourceRect.height());
  cairo_translate(cr.get(), -config.sourceRect.minX(), -config.sourceRect.minY());
  cairo_set_source_rgb(cr.get(), 0.24, 0.35, 0.55);  // the wallpaper
  cairo_paint(cr.get());
  if (!world_.scenario().menuBar.autoHidden) drawMenuBar(cr.get(), world_);
  return bitmapOf(surface.get());
}

std::optional<Bitmap> SimScreenCapture::captureWindow(uint32_t windowID,
                                                      const CaptureConfiguration& config) {
  const auto item = world_.statusItem(windowID);
  // macOS does not draw hidden items, so there is nothing to capture.
  if (!preflightAccess() || !item || !item->placed.isDrawn() || !usable(config)) {
    return std::nullopt;
  }
  const Rect& frame = item->placed.frame;
  Surface surface = surfaceOf(config.width, config.height);
  Context cr(cairo_create(surface.get()), cairo_destroy);
  cairo_scale(cr.get(), config.width / frame.width(), config.height / frame.height());
  drawStatusItem(cr.get(), world_, *item, Rect{0, 0, frame.width(), frame.height()},
                 glyphColour(world_.scenario().menuBar.darkAppearance));
  return bitmapOf(surface.get());
}

std::vector<SimScreenCapture::DisplayRequest> SimScreenCapture::displayRequests() const {
  std::lock_guard lock(mutex_);
  return requests_;
}

}  // namespace kestrune::sim
