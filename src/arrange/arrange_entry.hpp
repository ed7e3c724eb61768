#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/geometry.hpp"
#include "core/image.hpp"

namespace kestrune {

// One row of the arrangement: a status item, identified by the window
// number of its status item window.
struct ArrangeEntry {
  enum class Kind {
    item,     // an app's status item; only these can be re-ordered
    ownIcon,  // one of Kestrune's own status item windows
    fixed,    // never moved by a plan
  };

  uint32_t id = 0;
  std::string name;
  Kind kind = Kind::item;
  bool isOnScreen = false;       // false: hidden in the overflow or behind the notch
  std::optional<Image> image;    // the live capture, when there is one
  std::optional<Image> appIcon;  // the owning app's icon

  friend bool operator==(const ArrangeEntry&, const ArrangeEntry&) = default;
};

// One status item window as a layout reading sees it.
struct Win {
  uint32_t id = 0;
  Rect frame;  // global, top-left origin, points
  bool onScreen = false;

  friend bool operator==(const Win&, const Win&) = default;
};

}  // namespace kestrune
