#pragma once

#include "picker/picker_view.hpp"

// Objective-C++ only: the result is an AppKit view.
#ifdef __OBJC__

@class NSView;

namespace kestrune {

// The picker's AppKit view tree for `view`, `view.width` points wide, laid
// out with Auto Layout. The views keep their own copies of `actions`; cells
// and the footer track the pointer themselves for their hover highlight.
[[nodiscard]] NSView* makeOverflowView(const OverflowViewModel& view,
                                       const OverflowViewActions& actions);

}  // namespace kestrune

#endif  // __OBJC__
