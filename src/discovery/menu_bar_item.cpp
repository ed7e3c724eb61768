#include "discovery/menu_bar_item.hpp"

#include <array>
#include <utility>
#include <vector>

#include "core/unicode.hpp"

namespace kestrune {
namespace {

constexpr std::string_view kNonBreakingHyphen = "\u2011";
constexpr std::string_view kMenuExtraPrefix = "com.apple.menuextra.";

bool startsWith(std::string_view s, std::string_view prefix) {
  return s.starts_with(prefix);
}

std::string replaceAll(std::string s, std::string_view from, std::string_view to) {
  for (size_t at = s.find(from); at != std::string::npos; at = s.find(from, at + to.size())) {
    s.replace(at, from.size(), to);
  }
  return s;
}

// Splits at every separator, dropping empty pieces.
std::vector<std::string_view> splitDroppingEmpty(std::string_view s, char separator) {
  std::vector<std::string_view> pieces;
  while (!s.empty()) {
    const size_t at = s.find(separator);
    const std::string_view piece = s.substr(0, at);
    if (!piece.empty()) pieces.push_back(piece);
    if (at == std::string_view::npos) break;
    s.remove_prefix(at + 1);
  }
  return pieces;
}

template <class Table>
std::optional<std::string> firstPrefixMatch(std::string_view text, const Table& t) {
  for (const auto& [prefix, symbol] : t) {
    if (startsWith(text, prefix)) return std::string(symbol);
  }
  return std::nullopt;
}

// Symbols by the start of a system item's lowercased description.
using SymbolRow = std::pair<std::string_view, std::string_view>;

constexpr auto kDescriptionSymbols = std::to_array<SymbolRow>({
    {"sound", "speaker.wave.2"},
    {"volume", "speaker.wave.2"},
    {"focus", "moon"},
    {"do not disturb", "moon"},
    {"screen mirroring", "airplayvideo"},
    {"airplay", "airplayvideo"},
    {"display", "sun.max"},
    {"now playing", "play.circle"},
    {"bluetooth", "dot.radiowaves.left.and.right"},
    {"airdrop", "square.and.arrow.up"},
    {"user", "person.crop.circle"},
    {"fast user", "person.crop.circle"},
    {"screen recording", "record.circle"},
    {"screen capture", "record.circle"},
    {"hearing", "accessibility"},
    {"accessibility", "accessibility"},
    {"keyboard brightness", "light.max"},
    {"stage manager", "squares.leading.rectangle"},
    {"vpn", "network.badge.shield.half.filled"},
});

// Symbols by the last piece of a menu extra identifier. Deliberately not the
// description table: displays and screen mirroring differ, and there is no
// fallback.
constexpr auto kIdentifierSymbols = std::to_array<SymbolRow>({
    {"wifi", "wifi"},
    {"battery", "battery.100percent"},
    {"clock", "clock"},
    {"controlcenter", "switch.2"},
    {"bluetooth", "dot.radiowaves.left.and.right"},
    {"sound", "speaker.wave.2"},
    {"volume", "speaker.wave.2"},
    {"focus", "moon"},
    {"focusmodes", "moon"},
    {"donotdisturb", "moon"},
    {"airplay", "airplayvideo"},
    {"screenmirroring", "rectangle.on.rectangle"},
    {"screen-mirroring", "rectangle.on.rectangle"},
    {"display", "display"},
    {"displays", "display"},
    {"nowplaying", "play.circle"},
    {"airdrop", "square.and.arrow.up"},
    {"users", "person.crop.circle"},
    {"user", "person.crop.circle"},
    {"fastuserswitching", "person.crop.circle"},
    {"screenrecording", "record.circle"},
    {"screencapture", "record.circle"},
    {"hearing", "accessibility"},
    {"accessibility", "accessibility"},
    {"keyboardbrightness", "light.max"},
    {"stagemanager", "squares.leading.rectangle"},
    {"vpn", "network.badge.shield.half.filled"},
    {"spotlight", "magnifyingglass"},
    {"siri", "mic.circle"},
    {"timemachine", "clock.arrow.circlepath"},
    {"textinput", "keyboard"},
});

bool isSystemAgent(const ItemOwner& owner) {
  return MenuBarItem::systemAgents().contains(owner.bundleID.value_or(""));
}

std::optional<MenuBarItem::SystemKind> kindOfWindowName(std::string_view name) {
  using K = MenuBarItem::SystemKind;
  if (name == "WiFi") return K::wifi;
  if (name == "Battery") return K::battery;
  if (name == "Clock") return K::clock;
  if (name == "BentoBox-0") return K::controlCenter;
  return std::nullopt;
}

std::optional<MenuBarItem::SystemKind> kindOfIdentifier(std::string_view id) {
  using K = MenuBarItem::SystemKind;
  if (id == "com.apple.menuextra.wifi") return K::wifi;
  if (id == "com.apple.menuextra.battery") return K::battery;
  if (id == "com.apple.menuextra.clock") return K::clock;
  if (id == "com.apple.menuextra.controlcenter") return K::controlCenter;
  return std::nullopt;
}

std::optional<MenuBarItem::SystemKind> kindOfDescription(std::string_view description) {
  using K = MenuBarItem::SystemKind;
  const std::string d = replaceAll(unicode::lowercased(description), kNonBreakingHyphen, "-");
  if (startsWith(d, "wi-fi") || startsWith(d, "wifi")) return K::wifi;
  if (startsWith(d, "battery")) return K::battery;
  if (startsWith(d, "clock")) return K::clock;
  if (startsWith(d, "control center") || startsWith(d, "control centre")) return K::controlCenter;
  return std::nullopt;
}

std::string_view symbolOfKind(MenuBarItem::SystemKind kind) {
  switch (kind) {
    case MenuBarItem::SystemKind::wifi:
      return "wifi";
    case MenuBarItem::SystemKind::battery:
      return "battery.100percent";
    case MenuBarItem::SystemKind::clock:
      return "clock";
    case MenuBarItem::SystemKind::controlCenter:
      return "switch.2";
  }
  return "switch.2";
}

}  // namespace

const std::set<std::string, std::less<>>& MenuBarItem::systemAgents() {
  static const std::set<std::string, std::less<>> agents{
      "com.apple.controlcenter", "com.apple.systemuiserver", "com.apple.TextInputMenuAgent",
      "com.apple.MenuBarAgent"};
  return agents;
}

std::optional<MenuBarItem::SystemKind> MenuBarItem::systemKind() const {
  if (auto kind = kindOfWindowName(windowName)) return kind;
  if (!owner) return std::nullopt;
  if (auto kind = kindOfIdentifier(owner->axIdentifier)) return kind;
  if (!isSystemAgent(*owner)) return std::nullopt;
  return kindOfDescription(owner->axDescription);
}

std::optional<std::string> MenuBarItem::friendlyWindowName(std::string_view windowName) {
  if (windowName.empty() || windowName == "Item-0" || windowName == "Item-1" ||
      windowName == "Item-2") {
    return std::nullopt;
  }
  if (windowName == "BentoBox-0") return "Control Center";
  if (windowName == "WiFi") return "Wi\u2011Fi";
  if (startsWith(windowName, kMenuExtraPrefix)) {
    const std::string_view rest = windowName.substr(kMenuExtraPrefix.size());
    if (rest == "TimeMachine") return "Time Machine";
    return std::string(rest);
  }
  return std::string(windowName);
}

bool MenuBarItem::isSpotlight(const ItemOwner& owner, bool isModern) {
  if (!isModern) return false;
  if (owner.axTitle == "Spotlight") return true;
  return owner.bundleID == "com.apple.Siri" && owner.axTitle.empty();
}

std::string MenuBarItem::displayName(bool isModern) const {
  const auto friendly = friendlyWindowName(windowName);
  if (!owner) return friendly.value_or("Menu bar item");
  if (isSystemAgent(*owner)) {
    const auto pieces = splitDroppingEmpty(owner->axDescription, ',');
    if (!pieces.empty() && !pieces.front().empty()) return std::string(pieces.front());
    if (friendly) return *friendly;
    if (owner->bundleID == "com.apple.TextInputMenuAgent") return "Input Source";
    if (owner->bundleID == "com.apple.systemuiserver") return "Time Machine";
  }
  if (isSpotlight(*owner, isModern)) return "Spotlight";
  return owner->name;
}

Image MenuBarItem::appIcon(Workspace& workspace) const {
  if (owner && owner->bundleID) {
    if (auto path = workspace.urlForApplication(*owner->bundleID)) {
      return Image{FileIconImage{*path}, std::nullopt, false};
    }
  }
  // A template, like every symbol, so that it takes the colour of what it
  // is drawn on. A renderer that cannot make it draws an empty image.
  return Image{SymbolImage{"menubar.rectangle", std::nullopt, std::nullopt, SymbolWeight::regular},
               std::nullopt, true};
}

std::optional<std::string> MenuBarItem::symbolIconName(bool isModern) const {
  if (auto kind = systemKind()) return std::string(symbolOfKind(*kind));
  if (!owner) return std::nullopt;
  if (isSpotlight(*owner, isModern)) return "magnifyingglass";
  if (!owner->bundleID) return std::nullopt;
  const std::string& bundle = *owner->bundleID;
  if (bundle == "com.apple.TextInputMenuAgent") return "keyboard";
  if (bundle == "com.apple.systemuiserver") return "clock.arrow.circlepath";
  if (bundle == "com.apple.Spotlight") return "magnifyingglass";
  if (bundle != "com.apple.controlcenter" && bundle != "com.apple.MenuBarAgent") {
    return std::nullopt;
  }
  if (isModern) {
    if (auto name = symbolName(owner->axIdentifier)) return name;
  }
  return firstPrefixMatch(unicode::lowercased(owner->axDescription), kDescriptionSymbols)
      .value_or("switch.2");
}

std::optional<Image> MenuBarItem::symbolIcon(bool isModern) const {
  auto name = symbolIconName(isModern);
  if (!name) return std::nullopt;
  return Image{SymbolImage{*name, displayName(isModern), 18.0, SymbolWeight::medium}, std::nullopt,
               false};
}

std::optional<std::string> MenuBarItem::symbolName(std::string_view forMenuExtraIdentifier) {
  if (!startsWith(forMenuExtraIdentifier, kMenuExtraPrefix)) return std::nullopt;
  const auto pieces = splitDroppingEmpty(forMenuExtraIdentifier, '.');
  const std::string last = pieces.empty() ? std::string() : unicode::lowercased(pieces.back());
  for (const auto& [piece, symbol] : kIdentifierSymbols) {
    if (piece == last) return std::string(symbol);
  }
  return std::nullopt;
}

Image MenuBarIcon::main() {
  using D = VectorDrawing;
  D drawing;
  drawing.size = {18, 18};
  drawing.shapes.emplace_back(D::RoundedRectStroke{{1.5, 2.0, 15.0, 7.5}, 2.0, 2.0, 1.5});
  for (double x : {4.4, 7.9, 11.4})
    drawing.shapes.emplace_back(D::FilledEllipse{{x, 4.65, 2.2, 2.2}});
  drawing.shapes.emplace_back(
      D::RoundPolylineStroke{{{6.0, 12.5}, {9.0, 15.5}, {12.0, 12.5}}, 1.6});
  return Image{std::move(drawing), Size{18, 18}, true};
}

}  // namespace kestrune
