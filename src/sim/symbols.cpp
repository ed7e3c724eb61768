#include "sim/symbols.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <utility>

#include "sim/canvas.hpp"
#include "sim/fonts.hpp"

namespace kestrune::sim {
namespace {

// Every symbol the pictures draw, by the name the product or the simulated
// Mac gives it, and its closest Material Design Icons glyph (the icon's own
// name in the comment).
constexpr auto kGlyphs = std::to_array<std::pair<std::string_view, char32_t>>({
    // The system's symbols, as the product names them.
    {"accessibility", 0xF2E6},                     // human
    {"airplayvideo", 0xF01F},                      // airplay
    {"apple.logo", 0xF035},                        // apple
    {"arrow.left.arrow.right", 0xF4E1},            // swap-horizontal
    {"battery.0percent", 0xF08E},                  // battery-outline
    {"battery.25percent", 0xF07C},                 // battery-30
    {"battery.50percent", 0xF07E},                 // battery-50
    {"battery.75percent", 0xF080},                 // battery-70
    {"battery.100percent", 0xF079},                // battery
    {"checkmark.circle", 0xF5E1},                  // check-circle-outline
    {"checkmark.circle.fill", 0xF5E0},             // check-circle
    {"clock", 0xF150},                             // clock
    {"clock.arrow.circlepath", 0xF2DA},            // history
    {"display", 0xF379},                           // monitor
    {"dot.radiowaves.left.and.right", 0xF002},     // access-point
    {"exclamationmark.triangle.fill", 0xF026},     // alert
    {"gearshape", 0xF493},                         // settings
    {"hourglass", 0xF51F},                         // timer-sand
    {"keyboard", 0xF30C},                          // keyboard
    {"light.max", 0xF0DE},                         // brightness-5
    {"line.3.horizontal", 0xF35C},                 // menu
    {"magnifyingglass", 0xF349},                   // magnify
    {"menubar.rectangle", 0xF614},                 // application
    {"mic.circle", 0xF36C},                        // microphone
    {"moon", 0xF594},                              // weather-night
    {"network.badge.shield.half.filled", 0xF582},  // vpn
    {"person.crop.circle", 0xF009},                // account-circle
    {"photo.badge.exclamationmark", 0xF2EE},       // image-broken-variant
    {"play.circle", 0xF40C},                       // play-circle
    {"record.circle", 0xF44A},                     // record
    {"rectangle.on.rectangle", 0xF37A},            // monitor-multiple
    {"speaker.wave.2", 0xF57E},                    // volume-high
    {"square.and.arrow.up", 0xF207},               // export
    {"squares.leading.rectangle", 0xF56E},         // view-dashboard
    {"sun.max", 0xF0E0},                           // brightness-7
    {"switch.2", 0xF521},                          // toggle-switch
    {"wifi", 0xF5A9},                              // wifi
    // The apps' own glyphs, by the name of their bundle.
    {"1Password.app", 0xF30B},           // key-variant
    {"Amphetamine.app", 0xF402},         // pill
    {"CleanShot X.app", 0xF104},         // camera-iris
    {"ControlCenter.app", 0xF521},       // toggle-switch
    {"Docker.app", 0xF213},              // ferry
    {"Dropbox.app", 0xF1E3},             // dropbox
    {"Fantastical.app", 0xF0F6},         // calendar-today
    {"Finder.app", 0xF036},              // apple-finder
    {"Google Drive.app", 0xF2B6},        // google-drive
    {"iStat Menus.app", 0xF127},         // chart-areaspline
    {"Karabiner-Menu.app", 0xF313},      // keyboard-variant
    {"Magnet.app", 0xF347},              // magnet
    {"MeetingBar.app", 0xF0F0},          // calendar-clock
    {"Ollama.app", 0xF18D},              // console
    {"Raycast.app", 0xF463},             // rocket
    {"Rectangle.app", 0xF574},           // view-quilt
    {"Safari.app", 0xF039},              // apple-safari
    {"Signal.app", 0xF369},              // message-text
    {"Simulator.app", 0xF11C},           // cellphone
    {"Slack.app", 0xF4B1},               // slack
    {"SoundSource.app", 0xF66A},         // tune-vertical
    {"Spotify.app", 0xF4C7},             // spotify
    {"Spotlight.app", 0xF349},           // magnify
    {"Tailscale.app", 0xF03B},           // apps
    {"TextInputMenuAgent.app", 0xF30C},  // keyboard
    {"Toggl Track.app", 0xF51B},         // timer
    {"bzbmenu.app", 0xF238},             // fire (Backblaze)
    {"zoom.us.app", 0xF567},             // video
});
constexpr char32_t kGenericGlyph = 0xF614;  // application

std::string utf8(char32_t c) {
  std::string s;
  if (c < 0x80) {
    s += static_cast<char>(c);
  } else if (c < 0x800) {
    s += static_cast<char>(0xC0 | (c >> 6));
    s += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    s += static_cast<char>(0xE0 | (c >> 12));
    s += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    s += static_cast<char>(0x80 | (c & 0x3F));
  }
  return s;
}

}  // namespace

std::optional<char32_t> knownGlyph(std::string_view name) {
  const auto it = std::find_if(kGlyphs.begin(), kGlyphs.end(),
                               [&](const auto& entry) { return entry.first == name; });
  if (it == kGlyphs.end()) return std::nullopt;
  return it->second;
}

char32_t symbolGlyph(std::string_view name) {
  return knownGlyph(name).value_or(kGenericGlyph);
}

std::string bundleName(std::string_view bundlePath) {
  return std::string(bundlePath.substr(bundlePath.find_last_of('/') + 1));
}

void drawSymbolGlyph(cairo_t* cr, std::string_view name, const Rect& box, Colour colour) {
  const double side = std::min(box.width(), box.height());
  // The font's glyphs fill about five sixths of their em square.
  if (side <= 0 || !useSymbolFont(cr, side * 1.2)) return;
  const std::string text = utf8(symbolGlyph(name));
  cairo_text_extents_t ink;
  cairo_text_extents(cr, text.c_str(), &ink);
  setColour(cr, colour);
  cairo_save(cr);
  cairo_translate(cr, box.midX(), box.midY());
  // The font's batteries stand upright; the system's lie on their side.
  if (name.starts_with("battery.")) cairo_rotate(cr, M_PI / 2);
  cairo_move_to(cr, -ink.x_bearing - ink.width / 2, -ink.y_bearing - ink.height / 2);
  cairo_show_text(cr, text.c_str());
  cairo_new_path(cr);
  cairo_restore(cr);
}

}  // namespace kestrune::sim
