#pragma once

#include <sys/types.h>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "core/geometry.hpp"
#include "core/image.hpp"
#include "platform/accessibility.hpp"
#include "platform/workspace.hpp"

namespace kestrune {

// The Accessibility side of one status item.
struct ItemOwner {
  pid_t pid = 0;     // the element's process; the system agent for system items
  std::string name;  // localized name, else bundle id, else "App"
  std::optional<std::string> bundleID;
  AXElement element;  // pressing it opens the item's menu
  std::string axTitle;
  std::string axDescription;
  std::string axIdentifier;
  int ordinal = 0;  // position among the process's status items as read
};

// One status item: a window of the window server, optionally joined to the
// element that presses it. Identified across scans by its window number.
struct MenuBarItem {
  enum class SystemKind { wifi, battery, clock, controlCenter };

  uint32_t windowID = 0;
  Rect frame;  // window-list bounds: top-left origin, y downward
  bool isOnScreen = false;
  std::string windowName;
  std::string windowOwnerName;
  std::optional<ItemOwner> owner;

  [[nodiscard]] uint32_t id() const { return windowID; }

  [[nodiscard]] std::optional<SystemKind> systemKind() const;
  // What the item is called; never empty.
  [[nodiscard]] std::string displayName(bool isModern) const;
  // The owning app's icon, or a generic menu bar symbol.
  [[nodiscard]] Image appIcon(Workspace& workspace) const;
  // A symbol for system items, named by displayName; none for app items.
  [[nodiscard]] std::optional<Image> symbolIcon(bool isModern) const;
  // The symbol symbolIcon draws.
  [[nodiscard]] std::optional<std::string> symbolIconName(bool isModern) const;

  [[nodiscard]] static std::optional<std::string> friendlyWindowName(std::string_view windowName);
  [[nodiscard]] static bool isSpotlight(const ItemOwner& owner, bool isModern);
  [[nodiscard]] static std::optional<std::string> symbolName(
      std::string_view forMenuExtraIdentifier);
  // The processes whose items speak for a system function, not for
  // themselves.
  [[nodiscard]] static const std::set<std::string, std::less<>>& systemAgents();
};

namespace MenuBarIcon {
// The app's own status item glyph: an 18 × 18 point template image.
[[nodiscard]] Image main();
}  // namespace MenuBarIcon

}  // namespace kestrune
