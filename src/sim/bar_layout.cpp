#include "sim/bar_layout.hpp"

namespace kestrune::sim {

std::optional<std::pair<double, double>> BarGeometry::notchEdges() const {
  if (!notchWidth) return std::nullopt;
  const double left = (screenWidth - *notchWidth) / 2;
  return std::pair{left, left + *notchWidth};
}

double BarGeometry::leftLimit() const {
  const auto notch = notchEdges();
  if (!notch) return appMenusWidth;
  // App menus too long for the left side continue right of the notch.
  const double spill = appMenusWidth > notch->first ? appMenusWidth - notch->first : 0;
  return notch->second + spill;
}

BarPlan layOutBar(const BarGeometry& g, const std::vector<double>& widths) {
  const double limit = g.leftLimit();
  // How many items fit between the right margin and `limit`, keeping
  // `reserve` points free at the left end.
  auto fitting = [&](double reserve) {
    size_t count = 0;
    double cursor = g.screenWidth - g.rightMargin;
    for (double w : widths) {
      if (cursor - w - reserve < limit) break;
      cursor -= w + g.itemSpacing;
      ++count;
    }
    return count;
  };

  size_t drawn = fitting(0);
  const bool overflow = g.modern && drawn < widths.size();
  // The » button keeps a little air on both sides.
  const double buttonSpan = g.overflowButtonWidth + 2 * BarGeometry::kOverflowButtonGap;
  if (overflow) drawn = fitting(buttonSpan + g.itemSpacing);

  // Menus that spill past the notch hide the items, not the notch.
  const auto notch = g.notchEdges();
  const bool menusSpill = notch && g.appMenusWidth > notch->first;
  const Placement hidden = g.modern               ? Placement::inOverflow
                           : notch && !menusSpill ? Placement::behindNotch
                                                  : Placement::underAppMenus;
  BarPlan plan;
  double cursor = g.screenWidth - g.rightMargin;
  for (size_t i = 0; i < widths.size(); ++i) {
    if (i == drawn && overflow) {
      const double buttonX = cursor - BarGeometry::kOverflowButtonGap - g.overflowButtonWidth;
      plan.overflowButton = Rect{buttonX, 0, g.overflowButtonWidth, g.barHeight};
      cursor -= buttonSpan + g.itemSpacing;
    }
    const double x = cursor - widths[i];
    plan.items.push_back(
        {Rect{x, 0, widths[i], g.barHeight}, i < drawn ? Placement::drawn : hidden});
    cursor = x - g.itemSpacing;
  }
  return plan;
}

}  // namespace kestrune::sim
