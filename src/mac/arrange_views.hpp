#pragma once

#include <memory>

#include "arrange/arrange_view.hpp"

// Objective-C++ only: the result is an AppKit view.
#ifdef __OBJC__

@class NSView;

namespace kestrune {

class ArrangeModel;

// The arrangement tab's AppKit view, bound to `model` (not null), laid out
// with Auto Layout to fill whatever the host gives it. It shows what
// describeArrangeView says, describes the model again after each of its
// changes, edits the order by dragging rows, and starts the first scan when
// it first appears in a window. Main thread only.
[[nodiscard]] NSView* makeArrangeView(const std::shared_ptr<ArrangeModel>& model);
// The same view showing `view` and nothing else, for a picture of it: its
// rows and buttons do nothing.
[[nodiscard]] NSView* makeArrangeView(const ArrangeViewModel& view);

}  // namespace kestrune

#endif  // __OBJC__
