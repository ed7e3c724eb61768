#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "core/bitmap.hpp"
#include "core/image.hpp"
#include "discovery/menu_bar_item.hpp"
#include "discovery/menu_bar_layout.hpp"
#include "platform/platform.hpp"
#include "platform/screen_capture.hpp"

namespace kestrune {

// Live icons of status items: pictures of the items exactly as the menu bar
// draws them, with a memory cache and a disk cache so that an item macOS
// hides now still shows its last known picture, also after a restart.
// Callers only capture with Screen Recording granted. One capture runs at a
// time (callers are serialised); captures block, so never on the main
// thread.
class ItemCapturer {
 public:
  static constexpr const char* kIconFolder = "Kestrune/icons";
  // Per-window captures run at most this many at a time.
  static constexpr size_t kWindowCaptureWidth = 8;

  ItemCapturer(const Platform& platform, const MenuBarLayout& layout);

  // Icons for `items` by window id; the whole memory cache for no items.
  [[nodiscard]] std::map<uint32_t, Image> capture(const std::vector<MenuBarItem>& items);

  // capture(), telling where each icon came from.
  struct Captured {
    std::map<uint32_t, Image> icons;
    std::set<uint32_t> fresh;     // captured just now
    std::set<uint32_t> fromDisk;  // loaded from the icon files
  };
  [[nodiscard]] Captured captureDetailed(const std::vector<MenuBarItem>& items);

  // A strip crop with the menu bar's background made transparent; none for
  // images of 2 pixels or less either way.
  [[nodiscard]] static std::optional<Bitmap> keyed(const Bitmap& image);
  // True when fewer than 4 pixels are more than faintly visible.
  [[nodiscard]] static bool isBlank(const Bitmap& image);
  // Whether the glyphs are light (a dark menu bar); none when at most 20
  // opaque samples of the first 8 images tell.
  [[nodiscard]] static std::optional<bool> glyphsAreLight(const std::vector<const Bitmap*>& images);
  // The name of an item's icon file without ".png"; none without an owner.
  [[nodiscard]] static std::optional<std::string> diskKey(const MenuBarItem& item);

  // The folder of the icon files, made on first use.
  [[nodiscard]] const std::string& iconDirectory();

 private:
  struct ScreenMetrics {
    double width = 0;
    double safeTop = 0;
    double thickness = 0;
    double scale = 1;
  };

  [[nodiscard]] std::map<uint32_t, Image> captureStrip(const std::vector<MenuBarItem>& items);
  [[nodiscard]] std::map<uint32_t, Image> captureWindows(
      const std::vector<CapturableWindow>& windows);
  [[nodiscard]] std::optional<ScreenMetrics> mainScreenMetrics();
  void save(const MenuBarItem& item, const Bitmap& image);
  [[nodiscard]] std::optional<Image> load(const MenuBarItem& item);

  const Platform& platform_;
  const MenuBarLayout& layout_;
  std::mutex serial_;  // one capture at a time
  std::map<uint32_t, Image> cache_;
  std::once_flag directoryOnce_;
  std::string directory_;
};

}  // namespace kestrune
