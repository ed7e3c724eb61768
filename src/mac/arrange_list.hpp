#pragma once

#include <cstddef>
#include <optional>

#include "arrange/arrange_view.hpp"

namespace kestrune {

// The list's table shows the pinned rows, then the movable rows. Row
// indices are the table's (NSInteger); offsets are those kestrune::move
// takes, within the movable rows in display order.

// The offset of table row `row`; none for a pinned row or a row past the end.
[[nodiscard]] inline std::optional<size_t> movableOffsetOfRow(size_t pinnedCount, size_t rowCount,
                                                              std::ptrdiff_t row) {
  if (row < 0) return std::nullopt;
  const auto index = static_cast<size_t>(row);
  if (index < pinnedCount || index >= rowCount) return std::nullopt;
  return index - pinnedCount;
}

// The destination of a drop above table row `row` (`rowCount`: below the
// last row): from above the first movable row to below the last one; none
// above or among the pinned rows.
[[nodiscard]] inline std::optional<size_t> dropOffsetAboveRow(size_t pinnedCount, size_t rowCount,
                                                              std::ptrdiff_t row) {
  if (row < 0) return std::nullopt;
  const auto index = static_cast<size_t>(row);
  if (index < pinnedCount || index > rowCount) return std::nullopt;
  return index - pinnedCount;
}

}  // namespace kestrune

// Objective-C++ only: an AppKit table's data source and delegate.
#ifdef __OBJC__

#import <AppKit/AppKit.h>

NS_ASSUME_NONNULL_BEGIN

// The arrangement's list: a one-column, view-based table in a scroll view,
// pinned rows first, then movable rows. Movable rows re-order by dragging
// within the movable section; pinned rows cannot be dragged, and nothing
// can be dropped among them. A drop reports the dragged row and its
// destination as offsets within the movable rows, in display order, as
// kestrune::move takes them. Main thread only.
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
