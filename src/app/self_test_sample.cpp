#include "app/self_test_sample.hpp"

#include <array>

#include "arrange/arrange_model.hpp"

namespace kestrune {
namespace {

struct SampleApp {
  pid_t pid;
  const char* name;
  const char* bundleID;
};

constexpr SampleApp kControlCenter{301, "Control Center", "com.apple.controlcenter"};
constexpr SampleApp kSpotlight{302, "Spotlight", "com.apple.Spotlight"};
constexpr SampleApp kTextInput{303, "TextInputMenuAgent", "com.apple.TextInputMenuAgent"};
constexpr SampleApp kSystemUIServer{304, "SystemUIServer", "com.apple.systemuiserver"};
constexpr SampleApp kIStatMenus{414, "iStat Menus Status", "com.bjango.istatmenus.status"};
constexpr pid_t kOwn = 0;  // stands for the running app's own process

struct SampleItem {
  uint32_t windowID;
  double x;
  double width;
  bool drawn;
  SampleApp app;
  const char* windowName = "Item-0";
  const char* description = "";
  const char* identifier = "";
  const char* title = "";
  bool answers = true;  // false: the app never answers Accessibility
};

constexpr double kMenuBarHeight = 37;

// The default scenario's bar, left to right.
constexpr auto kItems = std::to_array<SampleItem>({
    {227, 510, 30, false, {428, "Spotify", "com.spotify.client"}},
    {226, 540, 30, false, {427, "Signal", "org.whispersystems.signal-desktop"}},
    {225, 570, 30, false, {423, "Rectangle", "com.knollsoft.Rectangle"}},
    {224, 600, 30, false, {422, "Fantastical", "com.flexibits.fantastical2.mac"}},
    {223, 630, 30, false, {421, "Raycast", "com.raycast.macos"}},
    {222, 660, 30, false, {420, "CleanShot X", "pl.maketheweb.cleanshotx"}},
    {221, 690, 30, false, {419, "Backblaze", "com.backblaze.bzbmenu"}, "Item-0", "", "", "", false},
    {220, 720, 30, false, {418, "Tailscale", "io.tailscale.ipn.macos"}},
    {219, 750, 30, false, {417, "zoom.us", "us.zoom.xos"}},
    {218, 780, 30, false, {416, "Amphetamine", "com.if.Amphetamine"}},
    {217, 810, 30, false, {415, "Magnet", "com.crowdcafe.windowmagnet"}},
    {214, 840, 48, false, kIStatMenus, "Item-0", "", "", "CPU"},
    {215, 888, 36, true, kIStatMenus, "Item-1", "", "", "Memory"},
    {216, 924, 56, true, kIStatMenus, "Item-2", "", "", "Network"},
    {213, 980, 30, true, {413, "Google Drive", "com.google.drivefs"}},
    {212, 1010, 34, true, {412, "Docker Desktop", "com.docker.docker"}},
    {211, 1044, 30, true, {411, "Dropbox", "com.getdropbox.dropbox"}, "Item-0", "Dropbox"},
    {210, 1074, 30, true, {410, "1Password", "com.1password.1password"}},
    {205, 1104, 30, true, kControlCenter, "Bluetooth", "Bluetooth",
     "com.apple.menuextra.bluetooth"},
    {208, 1134, 30, true, kSystemUIServer, "com.apple.menuextra.TimeMachine", "Time Machine"},
    {204, 1164, 30, true, kControlCenter, "Sound", "Sound", "com.apple.menuextra.sound"},
    {207, 1194, 30, true, kTextInput, "Item-0", "U.S."},
    {203, 1224, 40, true, kControlCenter, "Battery", "Battery, 84 percent",
     "com.apple.menuextra.battery"},
    {202, 1264, 30, true, kControlCenter, "WiFi", "Wi\u2011Fi, connected, 3 bars",
     "com.apple.menuextra.wifi"},
    {209, 1294, 30, true, {kOwn, "Kestrune", "com.kestrune.Kestrune"}, "Item-0", "Kestrune"},
    {206, 1324, 30, true, kSpotlight, "Item-0", "Spotlight"},
    {201, 1354, 32, true, kControlCenter, "BentoBox-0", "Control Center",
     "com.apple.menuextra.controlcenter"},
    {200, 1386, 118, true, kControlCenter, "Clock", "Clock", "com.apple.menuextra.clock"},
});

}  // namespace

std::vector<MenuBarItem> selfTestSampleItems(pid_t ownPID) {
  std::vector<MenuBarItem> items;
  for (const SampleItem& s : kItems) {
    MenuBarItem item;
    item.windowID = s.windowID;
    item.frame = Rect{s.x, 0, s.width, kMenuBarHeight};
    item.isOnScreen = s.drawn;
    item.windowName = s.windowName;
    item.windowOwnerName = s.app.name;
    if (!s.answers) {
      items.push_back(std::move(item));
      continue;
    }
    ItemOwner owner;
    owner.pid = s.app.pid == kOwn ? ownPID : s.app.pid;
    owner.name = s.app.name;
    owner.bundleID = s.app.bundleID;
    owner.axTitle = s.title;
    owner.axDescription = s.description;
    owner.axIdentifier = s.identifier;
    item.owner = std::move(owner);
    items.push_back(std::move(item));
  }
  return items;
}

std::vector<ArrangeEntry> selfTestSampleEntries(const std::vector<MenuBarItem>& items, pid_t ownPID,
                                                Workspace& workspace) {
  std::vector<ArrangeEntry> entries;
  for (const MenuBarItem& item : items) {
    if (item.owner && item.owner->pid == ownPID) {
      entries.push_back({item.windowID,
                         ArrangeModel::kMenuTitle,
                         ArrangeEntry::Kind::ownIcon,
                         item.isOnScreen,
                         {},
                         {}});
    } else {
      entries.push_back(entryFor(item, false, workspace));
    }
  }
  return entries;
}

}  // namespace kestrune
