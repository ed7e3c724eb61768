#include "discovery/menu_bar_item.hpp"

#include <gtest/gtest.h>

#include "discovery/menu_bar_layout.hpp"

namespace kestrune {
namespace {

constexpr bool kLegacy = MenuBarLayout::isModernVersion(26);
constexpr bool kModern = MenuBarLayout::isModernVersion(27);

class NoApps final : public Workspace {
 public:
  std::vector<RunningApplication> runningApplications() override { return {}; }
  std::optional<std::string> urlForApplication(const std::string& id) override {
    if (id == "com.example.tool") return "/Applications/Tool.app";
    return std::nullopt;
  }
  Subscription observe(WorkspaceEvent, std::function<void(const RunningApplication&)>) override {
    return {};
  }
  bool openURL(const std::string&) override { return false; }
  void openApplication(const std::string&, bool, std::function<void(bool)>) override {}
};

ItemOwner owner(std::string bundleID, std::string description = {}, std::string title = {},
                std::string identifier = {}) {
  ItemOwner o;
  o.pid = 42;
  o.name = "Owner App";
  if (!bundleID.empty()) o.bundleID = std::move(bundleID);
  o.axDescription = std::move(description);
  o.axTitle = std::move(title);
  o.axIdentifier = std::move(identifier);
  return o;
}

MenuBarItem item(std::string windowName, std::optional<ItemOwner> o = std::nullopt) {
  MenuBarItem i;
  i.windowID = 7;
  i.frame = {100, 0, 30, 24};
  i.windowName = std::move(windowName);
  i.owner = std::move(o);
  return i;
}

const std::string kWiFi = "Wi\u2011Fi";

TEST(MenuBarItem, OwnerlessPlaceholderIsAGenericMenuBarItem) {
  NoApps workspace;
  const auto i = item("Item-1");
  EXPECT_EQ(i.displayName(kModern), "Menu bar item");
  EXPECT_EQ(i.symbolIcon(kModern), std::nullopt);
  const Image icon = i.appIcon(workspace);
  ASSERT_NE(icon.symbol(), nullptr);
  EXPECT_EQ(icon.symbol()->name, "menubar.rectangle");
  EXPECT_EQ(icon.symbol()->accessibilityDescription, std::nullopt);
  EXPECT_TRUE(icon.isTemplate) << "tinted like every symbol: not black on a dark bar";
}

TEST(MenuBarItem, ControlCenterWiFiIsNamedByItsFirstDescriptionPiece) {
  const auto i = item("Item-0", owner("com.apple.controlcenter", kWiFi + ", connected"));
  EXPECT_EQ(i.systemKind(), MenuBarItem::SystemKind::wifi);
  EXPECT_EQ(i.displayName(kLegacy), kWiFi);
  EXPECT_EQ(kWiFi.size(), 7U);
  EXPECT_EQ(i.symbolIconName(kLegacy), "wifi");
  const auto symbol = i.symbolIcon(kLegacy);
  ASSERT_TRUE(symbol && symbol->symbol());
  EXPECT_EQ(symbol->symbol()->accessibilityDescription, kWiFi);
  EXPECT_EQ(symbol->symbol()->pointSize, 18.0);
  EXPECT_EQ(symbol->symbol()->weight, SymbolWeight::medium);
}

TEST(MenuBarItem, LeadingCommaIsDroppedButBlanksAreKept) {
  const auto i = item("Item-0", owner("com.apple.controlcenter", ",  Sound, muted"));
  EXPECT_EQ(i.displayName(kModern), "  Sound");
  const auto j = item("Item-0", owner("com.apple.controlcenter", ",,Focus"));
  EXPECT_EQ(j.displayName(kModern), "Focus");
}

TEST(MenuBarItem, SpotlightTitleMeansNothingOnVersion26) {
  const auto o = owner("com.example.search", "", "Spotlight");
  EXPECT_FALSE(MenuBarItem::isSpotlight(o, kLegacy));
  EXPECT_TRUE(MenuBarItem::isSpotlight(o, kModern));
  EXPECT_EQ(item("Item-0", o).displayName(kLegacy), "Owner App");
  EXPECT_EQ(item("Item-0", o).displayName(kModern), "Spotlight");
  // On version 26 the identifier table is not consulted for Control Center
  // items: the description table decides.
  const auto display = item(
      "Item-0", owner("com.apple.controlcenter", "Display", "", "com.apple.menuextra.display"));
  EXPECT_EQ(display.symbolIconName(kLegacy), "sun.max");
  EXPECT_EQ(display.symbolIconName(kModern), "display");
}

TEST(MenuBarItem, SiriWithoutTitleIsSpotlightOnModernBarsOnly) {
  ItemOwner siri = owner("com.apple.Siri");
  EXPECT_TRUE(MenuBarItem::isSpotlight(siri, kModern));
  siri.axTitle = "Siri";
  EXPECT_FALSE(MenuBarItem::isSpotlight(siri, kModern));
  EXPECT_FALSE(MenuBarItem::isSpotlight(owner(""), kModern));
}

TEST(MenuBarItem, IdentifierTableLowercasesTheLastPiece) {
  EXPECT_EQ(MenuBarItem::symbolName("com.apple.menuextra.Display"), "display");
  EXPECT_EQ(MenuBarItem::symbolName("com.apple.menuextra.DISPLAYS"), "display");
  EXPECT_EQ(MenuBarItem::symbolName("com.apple.menuextra.focusmode"), std::nullopt);
  EXPECT_EQ(MenuBarItem::symbolName("com.apple.menuextra.screen-mirroring"),
            "rectangle.on.rectangle");
  EXPECT_EQ(MenuBarItem::symbolName("com.apple.menuextra.siri"), "mic.circle");
  EXPECT_EQ(MenuBarItem::symbolName("com.apple.menuextra."), std::nullopt);
  EXPECT_EQ(MenuBarItem::symbolName("com.example.display"), std::nullopt);
}

TEST(MenuBarItem, DescriptionAndIdentifierTablesDifferOnPurpose) {
  auto cc = [](std::string description, std::string identifier = {}) {
    return item("Item-0", owner("com.apple.controlcenter", std::move(description), "",
                                std::move(identifier)));
  };
  EXPECT_EQ(cc("Screen Mirroring").symbolIconName(kModern), "airplayvideo");
  EXPECT_EQ(cc("x", "com.apple.menuextra.screenmirroring").symbolIconName(kModern),
            "rectangle.on.rectangle");
  EXPECT_EQ(cc("Something new").symbolIconName(kModern), "switch.2");
  EXPECT_EQ(cc("Fast User Switching").symbolIconName(kLegacy), "person.crop.circle");
  EXPECT_EQ(cc("Keyboard Brightness").symbolIconName(kLegacy), "light.max");
  EXPECT_EQ(cc("VPN: Work").symbolIconName(kLegacy), "network.badge.shield.half.filled");
  EXPECT_EQ(cc("Now Playing").symbolIconName(kLegacy), "play.circle");
}

TEST(MenuBarItem, SystemUIServerIsAlwaysTimeMachine) {
  for (const char* description : {"", "Volume", "Display", "Time Machine", "Anything"}) {
    const auto i = item("Item-0", owner("com.apple.systemuiserver", description));
    EXPECT_EQ(i.symbolIconName(kModern), "clock.arrow.circlepath") << description;
  }
  EXPECT_EQ(item("Item-0", owner("com.apple.systemuiserver")).displayName(kModern), "Time Machine");
  // A description that names a system function is read before the owner.
  EXPECT_EQ(item("Item-0", owner("com.apple.systemuiserver", "Battery")).symbolIconName(kModern),
            "battery.100percent");
}

TEST(MenuBarItem, SystemKindPrefersWindowNameThenIdentifierThenDescription) {
  EXPECT_EQ(item("Battery").systemKind(), MenuBarItem::SystemKind::battery);
  EXPECT_EQ(item("BentoBox-0").systemKind(), MenuBarItem::SystemKind::controlCenter);
  EXPECT_EQ(item("Item-0").systemKind(), std::nullopt);
  EXPECT_EQ(
      item("Item-0", owner("com.example", "Clock", "", "com.apple.menuextra.clock")).systemKind(),
      MenuBarItem::SystemKind::clock);
  // A description only counts for system agents.
  EXPECT_EQ(item("Item-0", owner("com.example", "Battery")).systemKind(), std::nullopt);
  EXPECT_EQ(item("Item-0", owner("com.apple.controlcenter", "Control Centre")).systemKind(),
            MenuBarItem::SystemKind::controlCenter);
  EXPECT_EQ(item("Item-0", owner("com.apple.controlcenter", "wifi")).systemKind(),
            MenuBarItem::SystemKind::wifi);
}

TEST(MenuBarItem, FriendlyWindowNames) {
  EXPECT_EQ(MenuBarItem::friendlyWindowName(""), std::nullopt);
  EXPECT_EQ(MenuBarItem::friendlyWindowName("Item-2"), std::nullopt);
  EXPECT_EQ(MenuBarItem::friendlyWindowName("Item-3"), "Item-3");
  EXPECT_EQ(MenuBarItem::friendlyWindowName("BentoBox-0"), "Control Center");
  EXPECT_EQ(MenuBarItem::friendlyWindowName("WiFi"), kWiFi);
  EXPECT_EQ(MenuBarItem::friendlyWindowName("com.apple.menuextra.TimeMachine"), "Time Machine");
  EXPECT_EQ(MenuBarItem::friendlyWindowName("com.apple.menuextra.airplay"), "airplay");
  EXPECT_EQ(MenuBarItem::friendlyWindowName("Clock"), "Clock");
}

TEST(MenuBarItem, DisplayNameFallbacksOfSystemAgents) {
  EXPECT_EQ(item("Item-0", owner("com.apple.TextInputMenuAgent")).displayName(kModern),
            "Input Source");
  EXPECT_EQ(item("WiFi", owner("com.apple.controlcenter", ",,")).displayName(kModern), kWiFi);
  EXPECT_EQ(item("Item-0", owner("com.apple.MenuBarAgent")).displayName(kModern), "Owner App");
  // An app's window title is never its name.
  EXPECT_EQ(item("Fancy Title", owner("com.example.tool")).displayName(kModern), "Owner App");
  EXPECT_EQ(item("Fancy Title").displayName(kModern), "Fancy Title");
}

TEST(MenuBarItem, SymbolsOfNonControlCenterOwners) {
  EXPECT_EQ(item("Item-0", owner("com.apple.TextInputMenuAgent")).symbolIconName(kLegacy),
            "keyboard");
  EXPECT_EQ(item("Item-0", owner("com.apple.Spotlight")).symbolIconName(kLegacy),
            "magnifyingglass");
  EXPECT_EQ(item("Item-0", owner("com.example.tool", "Sound")).symbolIconName(kModern),
            std::nullopt);
  EXPECT_EQ(item("Item-0", owner("")).symbolIconName(kModern), std::nullopt);
  EXPECT_EQ(item("Item-0", owner("", "", "Spotlight")).symbolIconName(kModern), "magnifyingglass");
}

TEST(MenuBarItem, AppIconComesFromTheWorkspace) {
  NoApps workspace;
  const Image icon = item("Item-0", owner("com.example.tool")).appIcon(workspace);
  ASSERT_NE(icon.fileIcon(), nullptr);
  EXPECT_EQ(icon.fileIcon()->path, "/Applications/Tool.app");
  EXPECT_NE(item("Item-0", owner("com.example.unknown")).appIcon(workspace).symbol(), nullptr);
}

TEST(MenuBarItem, SystemAgentsAreExactlyFour) {
  EXPECT_EQ(MenuBarItem::systemAgents().size(), 4U);
  EXPECT_TRUE(MenuBarItem::systemAgents().contains("com.apple.MenuBarAgent"));
  EXPECT_FALSE(MenuBarItem::systemAgents().contains("com.apple.Spotlight"));
}

TEST(MenuBarIcon, IsAnEighteenPointTemplateOfFrameDotsAndChevron) {
  const Image icon = MenuBarIcon::main();
  EXPECT_TRUE(icon.isTemplate);
  ASSERT_NE(icon.drawing(), nullptr);
  const VectorDrawing& d = *icon.drawing();
  EXPECT_EQ(d.size, (Size{18, 18}));
  ASSERT_EQ(d.shapes.size(), 5U);
  const auto& frame = std::get<VectorDrawing::RoundedRectStroke>(d.shapes[0]);
  EXPECT_EQ(frame.rect, (Rect{1.5, 2.0, 15.0, 7.5}));
  EXPECT_EQ(frame.lineWidth, 1.5);
  for (int i = 0; i < 3; ++i) {
    const auto& dot = std::get<VectorDrawing::FilledEllipse>(d.shapes[1 + i]);
    EXPECT_DOUBLE_EQ(dot.rect.minX(), 4.4 + 3.5 * i);
    EXPECT_DOUBLE_EQ(dot.rect.width(), 2.2);
    // The dots sit on the frame's horizontal centre line.
    EXPECT_DOUBLE_EQ(dot.rect.midY(), frame.rect.midY());
  }
  const auto& chevron = std::get<VectorDrawing::RoundPolylineStroke>(d.shapes[4]);
  EXPECT_EQ(chevron.points, (std::vector<Point>{{6.0, 12.5}, {9.0, 15.5}, {12.0, 12.5}}));
  EXPECT_EQ(chevron.lineWidth, 1.6);
}

}  // namespace
}  // namespace kestrune
