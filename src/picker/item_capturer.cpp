#include "picker/item_capturer.hpp"

#include <cmath>
#include <memory>

#include "core/unicode.hpp"

namespace kestrune {
namespace {

constexpr double kMinStripHeight = 24;
constexpr double kMaxItemBottom = 48;

// The part of `image` inside `rect` (pixels), as CGImageCreateWithImageInRect
// cuts it: the integral rectangle clipped to the image; none when empty.
std::optional<Bitmap> crop(const Bitmap& image, const Rect& rect) {
  const Rect cut =
      rect.integral().intersection(Rect{0, 0, double(image.width), double(image.height)});
  if (cut.isEmpty()) return std::nullopt;
  Bitmap out = image;
  out.width = static_cast<int>(cut.width());
  out.height = static_cast<int>(cut.height());
  out.bytesPerRow = static_cast<size_t>(out.width) * 4;
  out.data.resize(out.bytesPerRow * static_cast<size_t>(out.height));
  for (int y = 0; y < out.height; ++y) {
    const uint8_t* from =
        image.pixel(static_cast<int>(cut.minX()), static_cast<int>(cut.minY()) + y);
    std::copy(from, from + out.bytesPerRow, out.pixel(0, y));
  }
  return out;
}

Image imageOf(Bitmap bitmap, const Rect& frame) {
  return Image{std::make_shared<const Bitmap>(std::move(bitmap)), frame.size, false};
}

bool samePicture(const Image& a, const Image& b) {
  const Bitmap* x = a.bitmap();
  const Bitmap* y = b.bitmap();
  return x && y && a.size == b.size && x->width == y->width && x->height == y->height &&
         x->bytesPerRow == y->bytesPerRow && x->alphaInfo == y->alphaInfo &&
         x->byteOrder == y->byteOrder && x->data == y->data;
}

}  // namespace

ItemCapturer::ItemCapturer(const Platform& platform, const MenuBarLayout& layout)
    : platform_(platform), layout_(layout) {}

std::optional<std::string> ItemCapturer::diskKey(const MenuBarItem& item) {
  if (!item.owner) return std::nullopt;
  const std::string base = item.owner->bundleID ? *item.owner->bundleID : item.owner->name;
  if (base.empty()) return std::nullopt;
  const std::string suffix =
      item.windowName.empty() ? "ax" + std::to_string(item.owner->ordinal) : item.windowName;
  // Character by character, as the user reads them: an accent that
  // combines with a letter is kept with it.
  std::string key;
  std::string text = base;
  text += '|';
  text += suffix;
  for (const std::string& c : unicode::characters(text)) {
    const bool kept = c == "." || c == "-" || c == "_" || unicode::isLetterOrNumber(c);
    key += kept ? c : "_";
  }
  return key;
}

const std::string& ItemCapturer::iconDirectory() {
  std::call_once(directoryOnce_, [this] {
    directory_ = platform_.fileSystem.cachesDirectory() + "/" + kIconFolder;
    platform_.fileSystem.createDirectory(directory_);  // a failure only costs the disk cache
  });
  return directory_;
}

std::optional<ItemCapturer::ScreenMetrics> ItemCapturer::mainScreenMetrics() {
  std::optional<ScreenMetrics> metrics;
  platform_.executors.main().postAndWait([&] {
    const auto screens = platform_.screens.screens();
    if (screens.empty()) return;
    const ScreenInfo& s = screens.front();
    metrics = ScreenMetrics{s.frame.width(), s.safeAreaInsets.top,
                            platform_.screens.statusBarThickness(), s.backingScaleFactor};
  });
  return metrics;
}

std::map<uint32_t, Image> ItemCapturer::captureStrip(const std::vector<MenuBarItem>& items) {
  const auto screen = mainScreenMetrics();
  if (!screen) return {};
  std::vector<const MenuBarItem*> candidates;
  double lowest = 0;
  for (const auto& item : items) {
    const Rect& f = item.frame;
    if (item.isOnScreen && f.width() >= 1 && f.height() >= 1 && f.minX() >= 0 &&
        f.maxX() <= screen->width && f.minY() >= 0 && f.maxY() <= kMaxItemBottom) {
      candidates.push_back(&item);
      lowest = std::max(lowest, f.maxY());
    }
  }
  if (candidates.empty()) return {};
  const double stripHeight =
      std::ceil(std::max({kMinStripHeight, screen->safeTop, screen->thickness, lowest}));

  const auto content = platform_.screenCapture.shareableContent(true, true);
  if (!content) return {};
  const uint32_t mainID = platform_.screenCapture.mainDisplayID();
  const auto display = std::find_if(content->displays.begin(), content->displays.end(),
                                    [&](const auto& d) { return d.displayID == mainID; });
  if (display == content->displays.end()) return {};
  const double stripWidth = std::min(screen->width, display->width);

  CaptureConfiguration config;
  config.sourceRect = Rect{0, 0, stripWidth, stripHeight};
  config.width = std::max(1, static_cast<int>(screen->scale * stripWidth));
  config.height = std::max(1, static_cast<int>(screen->scale * stripHeight));
  const auto strip = platform_.screenCapture.captureDisplay(mainID, config);
  if (!strip || strip->width < 1 || strip->height < 1 || !strip->isComplete()) return {};
  const double sx = strip->width / stripWidth;
  const double sy = strip->height / stripHeight;

  std::map<uint32_t, Image> result;
  for (const MenuBarItem* item : candidates) {
    const Rect& f = item->frame;
    const auto cut =
        crop(*strip, Rect{f.minX() * sx, f.minY() * sy, f.width() * sx, f.height() * sy});
    if (!cut) continue;
    auto icon = keyed(*cut);
    if (!icon || isBlank(*icon)) continue;
    result[item->windowID] = imageOf(std::move(*icon), f);
  }
  return result;
}

std::map<uint32_t, Image> ItemCapturer::captureWindows(
    const std::vector<CapturableWindow>& windows) {
  double scale = 2.0;
  platform_.executors.main().postAndWait([&] {
    if (const auto main = platform_.screens.mainScreen()) scale = main->backingScaleFactor;
  });
  std::vector<std::optional<Bitmap>> shots(windows.size());
  platform_.executors.parallelFor(windows.size(), kWindowCaptureWidth, [&](size_t i) {
    CaptureConfiguration config;
    config.width = std::max(1, static_cast<int>(scale * windows[i].frame.width()));
    config.height = std::max(1, static_cast<int>(scale * windows[i].frame.height()));
    auto shot = platform_.screenCapture.captureWindow(windows[i].windowID, config);
    // A window capture has a transparent background already: no keying.
    if (shot && !isBlank(*shot)) shots[i] = std::move(shot);
  });
  std::map<uint32_t, Image> result;
  for (size_t i = 0; i < windows.size(); ++i) {
    if (shots[i]) result[windows[i].windowID] = imageOf(std::move(*shots[i]), windows[i].frame);
  }
  return result;
}

void ItemCapturer::save(const MenuBarItem& item, const Bitmap& image) {
  const auto key = diskKey(item);
  if (!key) return;
  if (const auto png = platform_.imageCodec.encodePNG(image)) {
    platform_.fileSystem.writeAtomically(iconDirectory() + "/" + *key + ".png", *png);
  }
}

std::optional<Image> ItemCapturer::load(const MenuBarItem& item) {
  const auto key = diskKey(item);
  if (!key) return std::nullopt;
  const auto bytes = platform_.fileSystem.readFile(iconDirectory() + "/" + *key + ".png");
  if (!bytes) return std::nullopt;
  auto bitmap = platform_.imageCodec.decodePNG(*bytes);
  if (!bitmap) return std::nullopt;
  return imageOf(std::move(*bitmap), item.frame);
}

std::map<uint32_t, Image> ItemCapturer::capture(const std::vector<MenuBarItem>& items) {
  return captureDetailed(items).icons;
}

ItemCapturer::Captured ItemCapturer::captureDetailed(const std::vector<MenuBarItem>& items) {
  std::lock_guard serial(serial_);
  Captured captured;
  if (items.empty()) {
    captured.icons = cache_;
    return captured;
  }
  std::map<uint32_t, const MenuBarItem*> byID;
  for (const auto& item : items) byID.emplace(item.windowID, &item);

  std::map<uint32_t, Image> fresh;
  if (layout_.isModern()) {
    fresh = captureStrip(items);
  } else if (const auto content = platform_.screenCapture.shareableContent(false, false)) {
    std::vector<CapturableWindow> windows;
    for (const auto& w : content->windows) {
      if (byID.contains(w.windowID)) windows.push_back(w);
    }
    fresh = captureWindows(windows);
  }

  for (const auto& [id, image] : fresh) {
    captured.fresh.insert(id);
    // An icon that has not changed keeps its picture: nothing is written
    // again, and whoever shows it sees the very same image.
    if (auto cached = cache_.find(id);
        cached != cache_.end() && samePicture(cached->second, image)) {
      continue;
    }
    if (auto it = byID.find(id); it != byID.end()) save(*it->second, *image.bitmap());
    cache_[id] = image;
  }
  for (const auto& [id, item] : byID) {
    auto cached = cache_.find(id);
    if (cached == cache_.end()) {
      auto loaded = load(*item);
      if (!loaded) continue;
      cached = cache_.emplace(id, std::move(*loaded)).first;
      captured.fromDisk.insert(id);
    }
    captured.icons.emplace(id, cached->second);
  }
  return captured;
}

}  // namespace kestrune
