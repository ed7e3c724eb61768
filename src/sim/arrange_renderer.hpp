#pragma once

#include "arrange/arrange_view.hpp"
#include "core/bitmap.hpp"

namespace kestrune::sim {

// The arrangement tab as the user sees it, at `scale` pixels per point: the
// introduction, the caption, the rows from right to left (pinned ones dimmed
// and marked "Fixed", movable ones with their drag handle), the progress or
// the error in red, and the three buttons, the default one filled.
[[nodiscard]] Bitmap renderArrangeView(const ArrangeViewModel& view, double scale, bool dark);

}  // namespace kestrune::sim
