#include "sim/bar_drawing.hpp"

#include <cmath>
#include <ctime>

#include "discovery/menu_bar_item.hpp"
#include "sim/canvas.hpp"
#include "sim/drawing_renderer.hpp"
#include "sim/fonts.hpp"
#include "sim/symbols.hpp"
#include "sim/world.hpp"

namespace kestrune::sim {
namespace {

constexpr double kGlyphSide = 16;
constexpr double kMenuFontSize = 13;
constexpr double kTitleFontSize = 12;
constexpr double kMenuSpacing = 20;
constexpr double kMenuMinimumSpacing = 12;

// The item as the product reads it, for the symbol it stands for.
MenuBarItem asRead(const World& world, const StatusItemState& state) {
  MenuBarItem item;
  item.windowName = state.item.windowName;
  const auto app = world.app(state.pid);
  ItemOwner owner;
  owner.pid = state.pid;
  owner.bundleID = app ? app->bundleID : std::nullopt;
  owner.axTitle = state.item.title;
  owner.axDescription = state.item.description;
  owner.axIdentifier = state.item.identifier;
  item.owner = owner;
  return item;
}

// "Thu 1 Jan  09:41", as the menu bar clock shows the date and time.
std::string clockText(const World& world) {
  if (world.clock() == nullptr) return "Thu 1 Jan  09:41";
  const auto local =
      world.clock()->wallNow() + std::chrono::minutes(world.scenario().utcOffsetMinutes);
  const std::time_t t =
      std::chrono::duration_cast<std::chrono::seconds>(local.time_since_epoch()).count();
  std::tm parts{};
  gmtime_r(&t, &parts);
  char weekday[8];
  char rest[16];
  std::strftime(weekday, sizeof weekday, "%a", &parts);
  std::strftime(rest, sizeof rest, "%b  %H:%M", &parts);
  // The day of the month without a leading zero, as macOS writes it.
  return std::string(weekday) + " " + std::to_string(parts.tm_mday) + " " + rest;
}

// The battery's charge from its description ("Battery, 84 percent").
int batteryPercent(const std::string& description) {
  const auto digit = description.find_first_of("0123456789");
  return digit == std::string::npos ? 100 : std::clamp(std::atoi(&description[digit]), 0, 100);
}

// The battery at its level to the nearest quarter, and the percentage on
// its left.
void drawBattery(cairo_t* cr, const StatusItemState& item, const Rect& frame, Colour ink) {
  const int percent = batteryPercent(item.item.description);
  constexpr const char* kLevels[] = {"battery.0percent", "battery.25percent", "battery.50percent",
                                     "battery.75percent", "battery.100percent"};
  const Rect glyph{frame.maxX() - kGlyphSide - 1, frame.midY() - kGlyphSide / 2, kGlyphSide,
                   kGlyphSide};
  drawSymbolGlyph(cr, kLevels[(percent + 12) / 25], glyph, ink);
  drawText(cr, std::to_string(percent) + "%",
           {frame.minX(), frame.minY(), glyph.minX() - frame.minX() + 1, frame.height()}, 9, ink,
           Align::right);
}

}  // namespace

Colour barColour(bool dark) {
  return dark ? Colour{0.13, 0.13, 0.14} : Colour{0.92, 0.92, 0.93};
}
Colour glyphColour(bool dark) {
  return dark ? Colour{1, 1, 1} : Colour{0, 0, 0};
}

void drawStatusItem(cairo_t* cr, const World& world, const StatusItemState& item, const Rect& frame,
                    Colour ink) {
  const auto own = world.ownStatusItem();
  const MenuBarItem read = asRead(world, item);
  const auto kind = read.systemKind();
  if (own && own->windowID == item.windowID) {
    drawDrawing(cr, *MenuBarIcon::main().drawing(), centred(frame, {18, 18}), ink);
  } else if (kind == MenuBarItem::SystemKind::clock) {
    drawText(cr, clockText(world), frame, kMenuFontSize, ink, Align::centre, FontWeight::medium);
  } else if (kind == MenuBarItem::SystemKind::battery) {
    drawBattery(cr, item, frame, ink);
  } else if (const auto symbol = read.symbolIconName(world.isModern())) {
    drawSymbolGlyph(cr, *symbol, centred(frame, {kGlyphSide, kGlyphSide}), ink);
  } else if (!item.item.title.empty()) {
    const Rect box = frame.insetBy(2, 0);
    useTextFont(cr, kTitleFontSize, FontWeight::medium);
    const double fit = box.width() / std::max(1.0, textWidth(cr, item.item.title));
    drawText(cr, item.item.title, box, std::max(7.0, std::min(1.0, fit) * kTitleFontSize), ink,
             Align::centre, FontWeight::medium);
  } else {
    const auto app = world.app(item.pid);
    drawSymbolGlyph(cr, bundleName(app ? app->bundlePath.value_or("") : ""),
                    centred(frame, {kGlyphSide, kGlyphSide}), ink);
  }
}

void drawMenuBar(cairo_t* cr, const World& world) {
  const ScenarioScreen& display = world.mainDisplay();
  const bool dark = world.scenario().menuBar.darkAppearance;
  const double height = display.menuBarHeight;
  setColour(cr, barColour(dark));
  cairo_rectangle(cr, 0, 0, display.frame.width(), height);
  cairo_fill(cr);
  const Colour ink = glyphColour(dark);
  const World::AppMenus menus = world.appMenus();
  const auto weight = [](size_t i) { return i == 0 ? FontWeight::bold : FontWeight::regular; };
  std::vector<double> widths;
  double total = 0;
  for (size_t i = 0; i < menus.titles.size(); ++i) {
    useTextFont(cr, kMenuFontSize, weight(i));
    total += widths.emplace_back(textWidth(cr, menus.titles[i]));
  }
  double x = 12;
  drawSymbolGlyph(cr, "apple.logo", {x, height / 2 - 8, 16, 16}, ink);
  x += 16;
  // The titles share the room the layout gives the menus, closer together
  // when they need to be; what still does not fit is cut.
  const double room = menus.width - x - total;
  const double spacing = std::clamp(room / static_cast<double>(std::max<size_t>(widths.size(), 1)),
                                    kMenuMinimumSpacing, kMenuSpacing);
  cairo_save(cr);
  cairo_rectangle(cr, 0, 0, menus.width, height);
  cairo_clip(cr);
  for (size_t i = 0; i < menus.titles.size(); ++i) {
    x += spacing;
    drawText(cr, menus.titles[i], {x, 0, widths[i] + 1, height}, kMenuFontSize, ink, Align::left,
             weight(i));
    x += widths[i];
  }
  cairo_restore(cr);
  for (const auto& item : world.statusItems()) {
    if (item.placed.isDrawn()) drawStatusItem(cr, world, item, item.placed.frame, ink);
  }
  if (const auto button = world.overflowButton()) {
    drawText(cr, "\u00BB", *button, 15, ink, Align::centre, FontWeight::bold);
  }
}

}  // namespace kestrune::sim
