#include "picker/item_capturer.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "core/virtual_executors.hpp"
#include "sim/builtin_scenarios.hpp"
#include "sim/sim_mac.hpp"
#include "sim/sim_screen_capture.hpp"
#include "support/scenarios.hpp"
#include "support/temp_home.hpp"

namespace kestrune {
namespace {

using testing::app;
using testing::item;

// A capturer over a simulated Mac whose home folder persists across
// "restarts" of the app (new capturers).
class CapturerTest : public ::testing::Test {
 protected:
  void make(sim::Scenario scenario) {
    mac_ = std::make_unique<sim::SimMac>(std::move(scenario), ex_, home_.path());
    layout_ = std::make_unique<MenuBarLayout>(mac_->platform());
    restart();
  }
  // A new capturer: the app started again, with an empty memory cache.
  void restart() { capturer_ = std::make_unique<ItemCapturer>(mac_->platform(), *layout_); }
  // The world's status items as a scan would list them, with owners.
  std::vector<MenuBarItem> items() {
    std::vector<MenuBarItem> result;
    for (const auto& s : mac_->world().statusItems()) {
      MenuBarItem i;
      i.windowID = s.windowID;
      i.frame = s.placed.frame;
      i.isOnScreen = s.placed.isDrawn();
      i.windowName = s.item.windowName;
      const auto owner = mac_->world().app(s.pid);
      i.owner =
          ItemOwner{s.pid, owner->name.value_or(""), owner->bundleID, {}, "", "", "", s.ordinal};
      result.push_back(i);
    }
    return result;
  }
  std::string iconFile(const MenuBarItem& i) {
    return home_.path() + "/Library/Caches/Kestrune/icons/" + *ItemCapturer::diskKey(i) + ".png";
  }
  size_t iconFileCount() {
    const auto dir = std::filesystem::path(home_.path()) / "Library/Caches/Kestrune/icons";
    if (!std::filesystem::exists(dir)) return 0;
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(dir),
                                             std::filesystem::directory_iterator()));
  }

  testing::TempHome home_;
  VirtualExecutors ex_;
  std::unique_ptr<sim::SimMac> mac_;
  std::unique_ptr<MenuBarLayout> layout_;
  std::unique_ptr<ItemCapturer> capturer_;
};

sim::Scenario modernBar(int apps, bool dark = false, int version = 27) {
  std::vector<sim::ScenarioApp> list;
  for (int i = 0; i < apps; ++i) {
    list.push_back(app(400 + i, "com.example.app" + std::to_string(i), "App " + std::to_string(i),
                       {item("item" + std::to_string(i), 36)}));
  }
  auto s = testing::scenario(version, 1512, 190.0, 330, list);
  s.screens[0].scale = 2;
  s.menuBar.darkAppearance = dark;
  return s;
}

uint8_t alpha(const Bitmap& b, int x, int y) {
  // Captures hold B, G, R, A and keyed icons R, G, B, A: alpha is last in both.
  return b.pixel(x, y)[3];
}

TEST_F(CapturerTest, StripIconsAreOpaqueWhereTheGlyphIsAndClearElsewhere) {
  make(modernBar(20));
  const auto all = items();
  const auto icons = capturer_->capture(all);
  size_t drawn = 0;
  for (const auto& i : all) {
    if (!i.isOnScreen) {
      EXPECT_FALSE(icons.contains(i.windowID)) << "hidden items are not drawn";
      continue;
    }
    ++drawn;
    ASSERT_TRUE(icons.contains(i.windowID));
    const Image& icon = icons.at(i.windowID);
    EXPECT_EQ(icon.size, i.frame.size);
    const Bitmap& keyed = *icon.bitmap();
    // The same glyph alone on a transparent window, at the same scale.
    CaptureConfiguration config;
    config.width = keyed.width;
    config.height = keyed.height;
    const auto glyph = mac_->screenCapture().captureWindow(i.windowID, config);
    ASSERT_TRUE(glyph);
    int opaque = 0;
    for (int y = 0; y < keyed.height; ++y) {
      for (int x = 0; x < keyed.width; ++x) {
        if (alpha(*glyph, x, y) == 0) {
          EXPECT_EQ(alpha(keyed, x, y), 0) << x << "," << y;
        }
        if (alpha(*glyph, x, y) == 255) {
          EXPECT_GT(alpha(keyed, x, y), 200) << x << "," << y;
          ++opaque;
        }
      }
    }
    EXPECT_GT(opaque, 20);
  }
  EXPECT_GT(drawn, 10U);
  EXPECT_LT(drawn, all.size());
  // Fresh pictures went to disk, one file per item.
  EXPECT_EQ(iconFileCount(), drawn);
}

TEST_F(CapturerTest, HiddenItemsGetTheirPictureFromDiskAfterARestart) {
  auto scenario = modernBar(12);
  make(scenario);
  const auto before = items();
  ASSERT_TRUE(std::all_of(before.begin(), before.end(), [](auto& i) { return i.isOnScreen; }));
  (void)capturer_->capture(before);
  // The Mac restarts with a wider front app: some items go to the overflow.
  scenario.menuBar.appMenusWidth = 900;
  mac_ = std::make_unique<sim::SimMac>(scenario, ex_, home_.path());
  layout_ = std::make_unique<MenuBarLayout>(mac_->platform());
  restart();
  const auto now = items();
  const auto hidden = std::count_if(now.begin(), now.end(), [](auto& i) { return !i.isOnScreen; });
  ASSERT_GT(hidden, 0);
  const auto icons = capturer_->capture(now);
  for (const auto& i : now) {
    ASSERT_TRUE(icons.contains(i.windowID)) << i.windowID;
    EXPECT_EQ(icons.at(i.windowID).size, i.frame.size);
    EXPECT_FALSE(ItemCapturer::isBlank(*icons.at(i.windowID).bitmap()));
  }
}

TEST_F(CapturerTest, EmptyListReturnsTheWholeMemoryCache) {
  make(modernBar(5));
  const auto all = items();
  (void)capturer_->capture({all[0], all[1]});
  (void)capturer_->capture({all[2]});
  const auto cache = capturer_->capture({});
  EXPECT_EQ(cache.size(), 3U);
  EXPECT_EQ(capturer_->capture({all[2]}).size(), 1U);  // only what was asked
}

TEST_F(CapturerTest, ItemsLowOrPartlyOffScreenAreNotCroppedAndTheStripStaysSmall) {
  make(modernBar(3));
  auto all = items();
  MenuBarItem low = all[0];
  low.owner.reset();  // no disk cache to fall back on
  low.windowID = 900;
  low.frame = Rect{600, 30, 30, 24};  // bottom at 54
  MenuBarItem off = all[1];
  off.owner.reset();
  off.windowID = 901;
  off.frame = Rect{1300, 0, 220, 24};  // over drawn items, but past the 1512-point width
  MenuBarItem own = all[2];
  own.owner.reset();
  own.windowID = 902;
  MenuBarItem left = all[1];
  left.owner.reset();
  left.windowID = 903;
  left.frame = Rect{-10, 0, 1480, 24};  // over drawn items, but starting left of the screen
  const auto icons = capturer_->capture({low, off, own, left, all[0]});
  EXPECT_FALSE(icons.contains(900));
  EXPECT_FALSE(icons.contains(901));
  EXPECT_TRUE(icons.contains(902));
  EXPECT_FALSE(icons.contains(903));
  EXPECT_TRUE(icons.contains(all[0].windowID));
  const auto requests = mac_->screenCapture().displayRequests();
  ASSERT_EQ(requests.size(), 1U);
  const auto& request = requests[0].configuration;
  EXPECT_EQ(request.sourceRect, (Rect{0, 0, 1512, 37}));  // the notch's height
  EXPECT_EQ(request.width, 3024);
  EXPECT_EQ(request.height, 74);
}

TEST_F(CapturerTest, ItemsWithoutOwnerNeverTouchTheDisk) {
  make(modernBar(2));
  auto all = items();
  all[0].owner.reset();
  EXPECT_EQ(ItemCapturer::diskKey(all[0]), std::nullopt);
  const auto icons = capturer_->capture(all);
  EXPECT_TRUE(icons.contains(all[0].windowID));  // captured all the same
  EXPECT_EQ(iconFileCount(), 1U);
  // After a restart, an ownerless hidden item finds nothing.
  restart();
  all[0].isOnScreen = false;
  EXPECT_FALSE(capturer_->capture({all[0]}).contains(all[0].windowID));
}

TEST_F(CapturerTest, DamagedIconFilesAreIgnoredAndKept) {
  make(modernBar(3));
  auto all = items();
  for (auto& i : all) i.isOnScreen = false;  // nothing to capture: disk only
  std::filesystem::create_directories(home_.path() + "/Library/Caches/Kestrune/icons");
  const std::vector<std::string> damaged{"", "not a png at all",
                                         std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16)};
  for (size_t k = 0; k < damaged.size(); ++k) {
    std::ofstream(iconFile(all[k]), std::ios::binary) << damaged[k];
  }
  EXPECT_TRUE(capturer_->capture(all).empty());
  for (size_t k = 0; k < damaged.size(); ++k) {
    EXPECT_TRUE(std::filesystem::exists(iconFile(all[k])));
  }
}

// Window captures arrive as ScreenCaptureKit lays them out (alpha first in a
// little-endian word: B, G, R, A in memory); black glyphs on a light bar are
// icons as much as white ones on a dark bar.
TEST_F(CapturerTest, LegacyBarCapturesEachDrawnWindowOnLightAndDarkBars) {
  for (const bool dark : {false, true}) {
    SCOPED_TRACE(dark ? "dark" : "light");
    make(modernBar(20, dark, /*version=*/15));
    const auto all = items();
    const auto icons = capturer_->capture(all);
    size_t drawn = 0;
    for (const auto& i : all) {
      EXPECT_EQ(icons.contains(i.windowID), i.isOnScreen) << i.windowID;
      if (!i.isOnScreen) continue;
      ++drawn;
      const Bitmap& b = *icons.at(i.windowID).bitmap();
      EXPECT_EQ(b.width, static_cast<int>(2 * i.frame.width()));
      EXPECT_EQ(b.alphaInfo, AlphaInfo::premultipliedFirst);  // no keying
      EXPECT_EQ(b.byteOrder, ByteOrder::little32);
    }
    EXPECT_GT(drawn, 10U);
    EXPECT_TRUE(mac_->screenCapture().displayRequests().empty());
  }
}

// Executors that note how many bodies a parallel run may start at once.
class WidthRecordingExecutors final : public Executors {
 public:
  explicit WidthRecordingExecutors(Executors& inner) : inner_(inner) {}
  [[nodiscard]] MainExecutor& main() override { return inner_.main(); }
  [[nodiscard]] TaskQueue& background() override { return inner_.background(); }
  [[nodiscard]] std::shared_ptr<TaskQueue> makeSerialQueue(std::string label,
                                                           QualityOfService qos) override {
    return inner_.makeSerialQueue(std::move(label), qos);
  }
  void sleepFor(Duration duration) override { inner_.sleepFor(duration); }
  void parallelFor(size_t count, size_t width, const std::function<void(size_t)>& body) override {
    widths.push_back(std::min(count, width));
    inner_.parallelFor(count, width, body);
  }
  std::vector<size_t> widths;

 private:
  Executors& inner_;
};

TEST_F(CapturerTest, AtMostEightWindowsAreCapturedAtOnce) {
  make(modernBar(20, false, /*version=*/15));
  WidthRecordingExecutors executors(ex_);
  const Platform& p = mac_->platform();
  const Platform recorded{p.accessibility, p.windowServer, p.workspace, p.screens,
                          p.system,        p.fileSystem,   p.defaults,  p.screenCapture,
                          p.imageCodec,    p.application,  p.events,    executors};
  ItemCapturer capturer(recorded, *layout_);
  const auto all = items();
  const auto icons = capturer.capture(all);
  EXPECT_GT(icons.size(), 8U);
  EXPECT_EQ(executors.widths, (std::vector<size_t>{8}));
}

// A capture that shows what the cache already holds changes nothing: the
// icon keeps its picture and its file is not written again.
TEST_F(CapturerTest, AnUnchangedIconKeepsItsPictureAndIsNotWrittenAgain) {
  make(modernBar(3));
  const auto all = items();
  const auto first = capturer_->capture(all);
  const std::string file = iconFile(all[0]);
  ASSERT_TRUE(std::filesystem::exists(file));
  std::filesystem::remove(file);
  const auto again = capturer_->capture(all);
  ASSERT_EQ(again.size(), first.size());
  for (const auto& [id, image] : first) EXPECT_EQ(again.at(id), image) << id;
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(CapturerTest, WithoutScreenRecordingOnlyTheCachesServe) {
  auto s = modernBar(3);
  make(s);
  const auto all = items();
  (void)capturer_->capture(all);
  s.permissions.screenRecording = false;
  mac_ = std::make_unique<sim::SimMac>(s, ex_, home_.path());
  layout_ = std::make_unique<MenuBarLayout>(mac_->platform());
  restart();
  const auto icons = capturer_->capture(all);
  EXPECT_EQ(icons.size(), all.size());  // all from disk
}

TEST(DiskKey, KeepsLettersDigitsAndDotDashUnderscore) {
  MenuBarItem i;
  i.windowName = "Item-0";
  i.owner = ItemOwner{};
  i.owner->name = "Sample Tool";
  EXPECT_EQ(ItemCapturer::diskKey(i), "Sample_Tool_Item-0");
  i.windowName.clear();
  i.owner->ordinal = 0;
  EXPECT_EQ(ItemCapturer::diskKey(i), "Sample_Tool_ax0");
  i.owner->bundleID = "com.caf\u00e9.m\u00fcsli";
  i.owner->ordinal = 12;
  EXPECT_EQ(ItemCapturer::diskKey(i), "com.caf\u00e9.m\u00fcsli_ax12");
  i.owner->bundleID = "com.cafe\u0301";  // e and a combining acute: one letter
  EXPECT_EQ(ItemCapturer::diskKey(i), "com.cafe\u0301_ax12");
  i.owner->bundleID = "a/b c\u2014d";
  EXPECT_EQ(ItemCapturer::diskKey(i), "a_b_c_d_ax12");
  // Unicode letters and numbers: "½" and the Arabic-Indic three are numbers;
  // the euro sign, with an accent on it, is one character and neither.
  i.owner->bundleID = "v\u00BD.\u0663\u20AC\u0301";
  EXPECT_EQ(ItemCapturer::diskKey(i), "v\u00BD.\u0663__ax12");
  i.owner->bundleID = "";  // present but empty: no key, even with a name
  EXPECT_EQ(ItemCapturer::diskKey(i), std::nullopt);
  i.owner->bundleID.reset();
  i.owner->name = "";
  EXPECT_EQ(ItemCapturer::diskKey(i), std::nullopt);
  i.owner->name = "\xff\xfe";  // not UTF-8: replaced, not dropped
  EXPECT_EQ(ItemCapturer::diskKey(i), "___ax12");
}

TEST(DiskKey, NamesDifferingOnlyInOtherPunctuationShareAFile) {
  MenuBarItem a;
  a.windowName = "Item:0";
  a.owner = ItemOwner{};
  a.owner->bundleID = "com.example+tool";
  MenuBarItem b = a;
  b.windowName = "Item/0";
  b.owner->bundleID = "com.example tool";
  EXPECT_EQ(ItemCapturer::diskKey(a), ItemCapturer::diskKey(b));
  MenuBarItem c = a;
  c.windowName = "Item-0";
  EXPECT_NE(ItemCapturer::diskKey(a), ItemCapturer::diskKey(c));
}

// Whatever the scenario and the items' frames, the capturer only looks at
// the strip at the top of the main display.
TEST(CapturerPrivacy, NeverAsksForMoreThanTheMenuBarStrip) {
  for (const auto& builtin : sim::builtinScenarios()) {
    for (const bool modern : {false, true}) {
      auto scenario = sim::parseScenario(builtin.json);
      scenario.osMajorVersion = modern ? 27 : 15;
      testing::TempHome home;
      VirtualExecutors ex;
      sim::SimMac mac(scenario, ex, home.path());
      const MenuBarLayout layout(mac.platform());
      auto& screen = mac.screenCapture();
      ItemCapturer capturer(mac.platform(), layout);
      std::vector<MenuBarItem> list;
      uint32_t id = 1;
      for (const Rect& f : {Rect{0, 0, 30, 24}, Rect{-50, 0, 30, 24}, Rect{100, 0, 30, 48},
                            Rect{100, 40, 30, 60}, Rect{200, 500, 30, 24}, Rect{3000, 0, 30, 24},
                            Rect{1200, -5, 30, 24}, Rect{10, 0, 0.5, 24}}) {
        MenuBarItem i;
        i.windowID = id++;
        i.frame = f;
        i.isOnScreen = true;
        list.push_back(i);
      }
      (void)capturer.capture(list);
      const auto& display = scenario.screens.front();
      const double limit =
          std::ceil(std::max({24.0, display.notchWidth ? display.menuBarHeight : 0.0,
                              scenario.menuBar.statusBarThickness, 48.0}));
      const auto requests = screen.displayRequests();
      for (const auto& request : requests) {
        SCOPED_TRACE(std::string(builtin.name));
        EXPECT_EQ(request.displayID, sim::SimScreenCapture::kMainDisplayID);
        const Rect& r = request.configuration.sourceRect;
        EXPECT_GE(r.minX(), 0);
        EXPECT_GE(r.minY(), 0);
        EXPECT_LE(r.maxX(), display.frame.width());
        EXPECT_LE(r.height(), limit);
      }
      EXPECT_EQ(requests.size(), modern ? 1U : 0U);
    }
  }
}

}  // namespace
}  // namespace kestrune

namespace kestrune {
namespace {

TEST(SimImageCodec, RoundTripsAndRefusesHugeOrBrokenImages) {
  sim::SimImageCodec codec;
  Bitmap b = Bitmap::rgba(5, 3);
  b.pixel(2, 1)[0] = 200;
  b.pixel(2, 1)[3] = 255;
  const auto png = codec.encodePNG(b);
  ASSERT_TRUE(png);
  const auto back = codec.decodePNG(*png);
  ASSERT_TRUE(back);
  EXPECT_EQ(back->width, 5);
  EXPECT_EQ(back->height, 3);
  EXPECT_EQ(back->premultipliedRGBA().pixel(2, 1)[0], 200);
  std::string huge = *png;
  huge[16] = '\x7f';  // the header's width, far beyond any icon
  EXPECT_FALSE(codec.decodePNG(huge));
  EXPECT_FALSE(codec.decodePNG(png->substr(0, png->size() / 2)));
  EXPECT_FALSE(codec.decodePNG(""));
}

}  // namespace
}  // namespace kestrune
