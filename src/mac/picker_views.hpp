#pragma once

#include "picker/picker_view.hpp"

#include <memory>

// Objective-C++ only: the result is an AppKit view.
#ifdef __OBJC__

@class NSView;

namespace kestrune {

// What the picker's views act on. The window replaces it with every new
// view model, and keeps the views while they would look the same, so a
// click always reaches the newest items and actions.
struct PickerContent {
  OverflowViewModel view;
  OverflowViewActions actions;
};

// The picker's AppKit view tree for `content->view`, its width in points,
// laid out with Auto Layout. Clicks go through `content`, read at the time
// of the click; cells and the footer track the pointer themselves for their
// hover highlight.
[[nodiscard]] NSView* makeOverflowView(const std::shared_ptr<const PickerContent>& content);

}  // namespace kestrune

#endif  // __OBJC__
