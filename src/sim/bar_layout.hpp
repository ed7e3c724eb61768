#pragma once

#include <optional>
#include <vector>

#include "core/geometry.hpp"

namespace kestrune::sim {

// Where macOS puts status items: packed from the right edge of the main
// display, right to left, until they meet the app menus or the camera
// housing. What does not fit is hidden: behind the notch (or under the app
// menus) up to macOS 26, in the system's » overflow from 27 on.
struct BarGeometry {
  // Free points on each side of the » button.
  static constexpr double kOverflowButtonGap = 4;

  double screenWidth = 0;
  double barHeight = 24;
  std::optional<double> notchWidth;
  double appMenusWidth = 0;
  double rightMargin = 8;
  double itemSpacing = 0;
  double overflowButtonWidth = 24;
  bool modern = false;

  // The notch's left and right edges, when there is one.
  [[nodiscard]] std::optional<std::pair<double, double>> notchEdges() const;
  // Status items may not start left of this.
  [[nodiscard]] double leftLimit() const;
};

enum class Placement { drawn, behindNotch, underAppMenus, inOverflow };

struct PlacedItem {
  Rect frame;  // top-left origin; hidden items continue leftward
  Placement placement = Placement::drawn;
  [[nodiscard]] bool isDrawn() const { return placement == Placement::drawn; }
};

struct BarPlan {
  std::vector<PlacedItem> items;       // in the order given: right to left
  std::optional<Rect> overflowButton;  // modern bar with hidden items only
};

// `widths` are the items' widths from the rightmost to the leftmost.
[[nodiscard]] BarPlan layOutBar(const BarGeometry& geometry, const std::vector<double>& widths);

}  // namespace kestrune::sim
