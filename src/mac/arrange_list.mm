#include "mac/arrange_list.hpp"

#import <AppKit/AppKit.h>

#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "mac/cf_ref.hpp"
#include "mac/image_renderer.hpp"
#include "mac/ns_string.hpp"

namespace kestrune {
namespace {

constexpr double kRowHeight = 28;
constexpr double kRowInset = 6;  // before the image and after the handle or label
// The image area: wide enough for most status items, as tall as the bar's
// icons. Images larger than it are scaled down, keeping their proportions.
constexpr double kImageWidth = 44;
constexpr double kImageHeight = 22;

// Only this table reads it: a drag carries the dragged entry's window number.
NSPasteboardType rowType() {
  return @"Kestrune.arrangeRow";
}

// A template is tinted with the label colour, as the menu bar tints it.
NSView* imageArea(const std::optional<Image>& image) {
  NSView* area = [[NSView alloc] initWithFrame:NSZeroRect];
  area.translatesAutoresizingMaskIntoConstraints = NO;
  [NSLayoutConstraint activateConstraints:@[
    [area.widthAnchor constraintEqualToConstant:kImageWidth],
    [area.heightAnchor constraintEqualToConstant:kImageHeight],
  ]];
  NSImage* content = image ? toNSImage(*image) : nil;
  if (!content) return area;
  NSImageView* view = [NSImageView imageViewWithImage:content];
  view.translatesAutoresizingMaskIntoConstraints = NO;
  view.imageScaling = NSImageScaleProportionallyDown;
  if (image->isTemplate) view.contentTintColor = NSColor.labelColor;
  [area addSubview:view];
  [NSLayoutConstraint activateConstraints:@[
    [view.leadingAnchor constraintEqualToAnchor:area.leadingAnchor],
    [view.trailingAnchor constraintEqualToAnchor:area.trailingAnchor],
    [view.topAnchor constraintEqualToAnchor:area.topAnchor],
    [view.bottomAnchor constraintEqualToAnchor:area.bottomAnchor],
  ]];
  return area;
}

// One line that takes the width left over and is cut short at its end.
NSTextField* nameLabel(const std::string& name) {
  NSTextField* label = [NSTextField labelWithString:nsText(name)];
  label.translatesAutoresizingMaskIntoConstraints = NO;
  label.lineBreakMode = NSLineBreakByTruncatingTail;
  label.maximumNumberOfLines = 1;
  [label setContentHuggingPriority:1 forOrientation:NSLayoutConstraintOrientationHorizontal];
  [label setContentCompressionResistancePriority:NSLayoutPriorityDefaultLow
                                  forOrientation:NSLayoutConstraintOrientationHorizontal];
  return label;
}

NSView* handleView(const std::string& symbol) {
  Image image;
  image.content = SymbolImage{symbol, std::nullopt, std::nullopt};
  image.isTemplate = true;
  NSImage* content = toNSImage(image);
  if (!content) return nil;
  NSImageView* view = [NSImageView imageViewWithImage:content];
  view.translatesAutoresizingMaskIntoConstraints = NO;
  view.contentTintColor = NSColor.secondaryLabelColor;
  return view;
}

NSTextField* fixedLabel(const std::string& text) {
  NSTextField* label = [NSTextField labelWithString:nsText(text)];
  label.translatesAutoresizingMaskIntoConstraints = NO;
  label.font = [NSFont systemFontOfSize:NSFont.smallSystemFontSize];
  label.textColor = NSColor.secondaryLabelColor;
  return label;
}

// The table sizes the row's view to the row; its parts are centred on it.
NSView* rowView(const ArrangeRow& row) {
  NSStackView* parts =
      [NSStackView stackViewWithViews:@[ imageArea(row.image), nameLabel(row.entry.name) ]];
  parts.orientation = NSUserInterfaceLayoutOrientationHorizontal;
  parts.alignment = NSLayoutAttributeCenterY;
  parts.distribution = NSStackViewDistributionFill;
  parts.spacing = ArrangeStyle::kRowSpacing;
  parts.edgeInsets = NSEdgeInsetsMake(0, kRowInset, 0, kRowInset);
  if (row.handleSymbol) {
    if (NSView* handle = handleView(*row.handleSymbol)) [parts addArrangedSubview:handle];
  }
  if (row.fixedLabel) [parts addArrangedSubview:fixedLabel(*row.fixedLabel)];
  parts.alphaValue = row.opacity;
  parts.toolTip = row.tooltip ? nsText(*row.tooltip) : nil;
  return parts;
}

// What a row shows follows from its entry and its section.
bool sameRows(const std::vector<ArrangeRow>& a, const std::vector<ArrangeRow>& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (a[i].entry != b[i].entry || a[i].isPinned != b[i].isPinned) return false;
  }
  return true;
}

std::optional<uint32_t> draggedID(id<NSDraggingInfo> info) {
  NSPasteboardItem* item = info.draggingPasteboard.pasteboardItems.firstObject;
  const std::optional<std::string> text = fromNSString([item stringForType:rowType()]);
  if (!text) return std::nullopt;
  uint32_t value = 0;
  const char* end = text->data() + text->size();
  const auto [stop, error] = std::from_chars(text->data(), end, value);
  if (error != std::errc() || stop != end) return std::nullopt;
  return value;
}

NSTableView* makeTable() {
  NSTableView* table = [[NSTableView alloc] initWithFrame:NSZeroRect];
  NSTableColumn* column = [[NSTableColumn alloc] initWithIdentifier:@"Kestrune.arrangeColumn"];
  column.resizingMask = NSTableColumnAutoresizingMask;
  [table addTableColumn:column];
  table.headerView = nil;
  table.columnAutoresizingStyle = NSTableViewLastColumnOnlyAutoresizingStyle;
  table.rowHeight = kRowHeight;
  table.allowsMultipleSelection = NO;
  // Rows move within this table only.
  [table registerForDraggedTypes:@[ rowType() ]];
  [table setDraggingSourceOperationMask:NSDragOperationMove forLocal:YES];
  [table setDraggingSourceOperationMask:NSDragOperationNone forLocal:NO];
  return table;
}

NSScrollView* makeScrollView(NSTableView* table) {
  NSScrollView* scroll = [[NSScrollView alloc] initWithFrame:NSZeroRect];
  scroll.translatesAutoresizingMaskIntoConstraints = NO;
  scroll.documentView = table;
  scroll.hasVerticalScroller = YES;
  scroll.autohidesScrollers = YES;
  scroll.borderType = NSBezelBorder;
  return scroll;
}

}  // namespace
}  // namespace kestrune

@implementation KestruneArrangeList {
  void (^_moveHandler)(size_t, size_t);
  NSTableView* _table;
  std::vector<kestrune::ArrangeRow> _rows;  // right to left
  BOOL _editable;
}

- (instancetype)initWithMoveHandler:(void (^)(size_t, size_t))moveHandler {
  self = [super init];
  if (!self) return nil;
  _moveHandler = [moveHandler copy];
  _table = kestrune::makeTable();
  _table.dataSource = self;
  _table.delegate = self;
  _scrollView = kestrune::makeScrollView(_table);
  return self;
}

// The table may outlive its data source for a moment while the views are
// taken down.
- (void)dealloc {
  _table.dataSource = nil;
  _table.delegate = nil;
}

- (void)showRowsOf:(const kestrune::ArrangeViewModel&)view editable:(BOOL)editable {
  _editable = editable;
  if (kestrune::sameRows(view.rows, _rows)) return;
  _rows = view.rows;
  [_table reloadData];
}

// Where the dragged entry stands now: the list may have been reloaded since
// the drag began.
- (std::optional<size_t>)offsetOfDrag:(id<NSDraggingInfo>)info {
  const std::optional<uint32_t> dragged = kestrune::draggedID(info);
  if (!dragged) return std::nullopt;
  for (size_t i = 0; i < _rows.size(); ++i) {
    if (_rows[i].entry.id == *dragged) {
      return kestrune::draggableOffset(_rows, static_cast<std::ptrdiff_t>(i));
    }
  }
  return std::nullopt;
}

- (NSInteger)numberOfRowsInTableView:(NSTableView*)tableView {
  (void)tableView;
  return static_cast<NSInteger>(_rows.size());
}

- (NSView*)tableView:(NSTableView*)tableView
    viewForTableColumn:(NSTableColumn*)tableColumn
                   row:(NSInteger)row {
  (void)tableView;
  (void)tableColumn;
  if (row < 0 || static_cast<size_t>(row) >= _rows.size()) return nil;
  return kestrune::rowView(_rows[static_cast<size_t>(row)]);
}

// nil keeps a row from being dragged.
- (id<NSPasteboardWriting>)tableView:(NSTableView*)tableView pasteboardWriterForRow:(NSInteger)row {
  (void)tableView;
  if (!_editable || !kestrune::draggableOffset(_rows, row)) return nil;
  NSPasteboardItem* item = [[NSPasteboardItem alloc] init];
  const uint32_t windowID = _rows[static_cast<size_t>(row)].entry.id;
  [item setString:kestrune::nsText(std::to_string(windowID)) forType:kestrune::rowType()];
  return item;
}

// A drop onto a row becomes a drop above it: rows are placed between
// others, never merged.
- (NSDragOperation)tableView:(NSTableView*)tableView
                validateDrop:(id<NSDraggingInfo>)info
                 proposedRow:(NSInteger)row
       proposedDropOperation:(NSTableViewDropOperation)dropOperation {
  if (!_editable || info.draggingSource != tableView) return NSDragOperationNone;
  if (![self offsetOfDrag:info] || !kestrune::dropOffset(_rows, row)) {
    return NSDragOperationNone;
  }
  if (dropOperation != NSTableViewDropAbove) {
    [tableView setDropRow:row dropOperation:NSTableViewDropAbove];
  }
  return NSDragOperationMove;
}

// The handler may publish a new order and so reload this table: it runs
// last, with its own reference to the block.
- (BOOL)tableView:(NSTableView*)tableView
       acceptDrop:(id<NSDraggingInfo>)info
              row:(NSInteger)row
    dropOperation:(NSTableViewDropOperation)dropOperation {
  (void)tableView;
  if (!_editable || dropOperation != NSTableViewDropAbove) return NO;
  const std::optional<size_t> from = [self offsetOfDrag:info];
  const std::optional<size_t> to = kestrune::dropOffset(_rows, row);
  void (^handler)(size_t, size_t) = _moveHandler;
  if (!from || !to || !handler) return NO;
  handler(*from, *to);
  return YES;
}

@end
