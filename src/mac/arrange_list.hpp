#pragma once

#include <algorithm>
#include <cstddef>
#include <optional>
#include <vector>

#include "arrange/arrange_view.hpp"

namespace kestrune {

// The list's table shows the view model's rows in their order. Row indices
// are the table's (NSInteger); offsets are those kestrune::move takes.

// The offset of table row `row` when the row can be dragged: a movable row
// of the table; none for a pinned row or a row outside it.
[[nodiscard]] inline std::optional<size_t> draggableOffset(const std::vector<ArrangeRow>& rows,
                                                           std::ptrdiff_t row) {
  if (row < 0) return std::nullopt;
  const auto index = static_cast<size_t>(row);
  if (index >= rows.size() || rows[index].isPinned) return std::nullopt;
  return index;
}

// The destination of a drop above table row `row` (the row count: below
// the last row); none above the pinned rows at the top, or outside the
// table.
[[nodiscard]] inline std::optional<size_t> dropOffset(const std::vector<ArrangeRow>& rows,
                                                      std::ptrdiff_t row) {
  if (row < 0) return std::nullopt;
  const auto index = static_cast<size_t>(row);
  const auto firstMovable =
      std::find_if(rows.begin(), rows.end(), [](const ArrangeRow& r) { return !r.isPinned; });
  if (index < static_cast<size_t>(firstMovable - rows.begin()) || index > rows.size()) {
    return std::nullopt;
  }
  return index;
}

}  // namespace kestrune

// Objective-C++ only: an AppKit table's data source and delegate.
#ifdef __OBJC__

#import <AppKit/AppKit.h>

NS_ASSUME_NONNULL_BEGIN

// The arrangement's list: a one-column, view-based table in a scroll view,
// the menu bar from right to left. Movable rows re-order by dragging; pinned
// rows cannot be dragged and keep their places. A drop reports the dragged
// row and its destination as offsets in display order, as kestrune::move
// takes them. Main thread only.
@interface KestruneArrangeList : NSObject <NSTableViewDataSource, NSTableViewDelegate>

@property(nonatomic, readonly) NSScrollView* scrollView;

- (instancetype)initWithMoveHandler:(void (^)(size_t fromOffset, size_t toOffset))moveHandler
    NS_DESIGNATED_INITIALIZER;
- (instancetype)init NS_UNAVAILABLE;

// Shows the view model's rows; the table reloads only when they differ from
// the rows it shows, so that a drag in progress survives unrelated changes.
// Rows can be dragged only while `editable`.
- (void)showRowsOf:(const kestrune::ArrangeViewModel&)view editable:(BOOL)editable;

@end

NS_ASSUME_NONNULL_END

#endif  // __OBJC__
