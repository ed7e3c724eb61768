// The simulated Mac's pictures: every symbol the product names has a glyph,
// each drawn status item draws what it stands for, and a picture is the same
// bytes every time.
#include "sim/bar_drawing.hpp"

#include <gtest/gtest.h>

#include "app/settings_view.hpp"
#include "arrange/arrange_view.hpp"
#include "discovery/menu_bar_item.hpp"
#include "picker/picker_view.hpp"
#include "sim/builtin_scenarios.hpp"
#include "sim/cairo_bitmap.hpp"
#include "sim/fonts.hpp"
#include "sim/picker_renderer.hpp"
#include "sim/symbols.hpp"
#include "sim/world.hpp"

namespace kestrune::sim {
namespace {

World crowdedLaptop() {
  return World(parseScenario(builtinScenario("laptop14-macos15")->json));
}

// One status item drawn alone, as its window is captured.
Bitmap itemPicture(const World& world, const StatusItemState& item) {
  const Rect& frame = item.placed.frame;
  Surface surface =
      surfaceOf(static_cast<int>(frame.width() * 2), static_cast<int>(frame.height() * 2));
  Context cr(cairo_create(surface.get()), cairo_destroy);
  cairo_scale(cr.get(), 2, 2);
  drawStatusItem(cr.get(), world, item, {0, 0, frame.width(), frame.height()}, {0, 0, 0});
  return bitmapOf(surface.get());
}

size_t inkedPixels(const Bitmap& b) {
  size_t inked = 0;
  for (int y = 0; y < b.height; ++y) {
    for (int x = 0; x < b.width; ++x) inked += b.pixel(x, y)[3] > 128 ? 1 : 0;
  }
  return inked;
}

TEST(SymbolGlyphs, EverySymbolTheProductNamesHasItsOwnGlyph) {
  std::vector<std::string> names{PickerStyle::kHintSymbol,      PickerStyle::kSettingsSymbol,
                                 PickerStyle::kScanningSymbol,  PickerStyle::kScannedSymbol,
                                 ArrangeStyle::kHandleSymbol,   SettingsStyle::kGeneralSymbol,
                                 SettingsStyle::kArrangeSymbol, SettingsStyle::kGrantedSymbol,
                                 SettingsStyle::kMissingSymbol, "menubar.rectangle"};
  for (const char* piece : {"wifi",
                            "battery",
                            "clock",
                            "controlcenter",
                            "bluetooth",
                            "sound",
                            "focus",
                            "airplay",
                            "screenmirroring",
                            "display",
                            "nowplaying",
                            "airdrop",
                            "user",
                            "screenrecording",
                            "accessibility",
                            "keyboardbrightness",
                            "stagemanager",
                            "vpn",
                            "spotlight",
                            "siri",
                            "timemachine",
                            "textinput"}) {
    const auto name = MenuBarItem::symbolName(std::string("com.apple.menuextra.") + piece);
    ASSERT_TRUE(name) << piece;
    names.push_back(*name);
  }
  for (const auto& name : names) EXPECT_TRUE(knownGlyph(name)) << name;
  EXPECT_FALSE(knownGlyph("no.such.symbol"));
  EXPECT_NE(symbolGlyph("wifi"), symbolGlyph("gearshape"));
}

TEST(BarDrawing, EachDrawnItemDrawsWhatItStandsFor) {
  const Surface probe = surfaceOf(1, 1);
  const Context cr(cairo_create(probe.get()), cairo_destroy);
  ASSERT_TRUE(useSymbolFont(cr.get(), 12)) << "the symbol font is installed by scripts/setup.sh";
  World world = crowdedLaptop();
  world.placeOwnStatusItem(1, 24);
  std::map<std::string, Bitmap> pictures;
  for (const auto& item : world.statusItems()) {
    if (!item.placed.isDrawn()) continue;
    pictures[item.item.key] = itemPicture(world, item);
    EXPECT_GT(inkedPixels(pictures[item.item.key]), 20U) << item.item.key;
  }
  ASSERT_TRUE(pictures.contains("wifi") && pictures.contains("bluetooth"));
  EXPECT_NE(pictures["wifi"].data, pictures["bluetooth"].data);
  EXPECT_NE(pictures["dropbox"].data, pictures["googledrive"].data);
  // Kestrune's own item is its icon's drawing, not a glyph.
  const auto own = world.ownStatusItem();
  ASSERT_TRUE(own);
  EXPECT_GT(inkedPixels(itemPicture(world, *own)), 20U);
  // The clock shows the time: much more ink than a glyph.
  EXPECT_GT(inkedPixels(pictures["clock"]), 2 * inkedPixels(pictures["wifi"]));
}

TEST(BarDrawing, TheSameScenarioDrawsTheSameBytes) {
  const World a = crowdedLaptop();
  const World b = crowdedLaptop();
  EXPECT_EQ(renderMenuBar(a).data, renderMenuBar(b).data);
}

}  // namespace
}  // namespace kestrune::sim
