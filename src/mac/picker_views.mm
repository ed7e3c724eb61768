#include "mac/picker_views.hpp"

#import <AppKit/AppKit.h>

#include <algorithm>
#include <optional>
#include <string>

#include "mac/cf_ref.hpp"
#include "mac/image_renderer.hpp"
#include "mac/ns_string.hpp"
#include "mac/view_kit.hpp"

// A button-like view: a click released inside it runs its action, and, when
// it highlights on hover, it fills itself with the hover highlight while the
// pointer is over it. The whole view is the hit target; what it holds takes
// no clicks of its own.
// A disabled one takes no clicks, has no highlight and tells Accessibility
// that it is not enabled.
@interface KestrunePickerButton : NSView
+ (instancetype)buttonWithContent:(NSView*)content
                           action:(void (^)(void))action
                highlightsOnHover:(BOOL)highlightsOnHover
                          enabled:(BOOL)enabled;
@end

@implementation KestrunePickerButton {
  void (^_action)(void);
  BOOL _highlightsOnHover;
  BOOL _enabled;
  BOOL _hovering;
}

+ (instancetype)buttonWithContent:(NSView*)content
                           action:(void (^)(void))action
                highlightsOnHover:(BOOL)highlightsOnHover
                          enabled:(BOOL)enabled {
  KestrunePickerButton* button = [[self alloc] initWithFrame:NSZeroRect];
  button->_action = [action copy];
  button->_highlightsOnHover = highlightsOnHover && enabled;
  button->_enabled = enabled;
  button.translatesAutoresizingMaskIntoConstraints = NO;
  content.translatesAutoresizingMaskIntoConstraints = NO;
  [button addSubview:content];
  [NSLayoutConstraint activateConstraints:@[
    [content.leadingAnchor constraintEqualToAnchor:button.leadingAnchor],
    [content.trailingAnchor constraintEqualToAnchor:button.trailingAnchor],
    [content.topAnchor constraintEqualToAnchor:button.topAnchor],
    [content.bottomAnchor constraintEqualToAnchor:button.bottomAnchor],
  ]];
  if (highlightsOnHover) {
    const NSTrackingAreaOptions options =
        NSTrackingMouseEnteredAndExited | NSTrackingActiveAlways | NSTrackingInVisibleRect;
    [button addTrackingArea:[[NSTrackingArea alloc] initWithRect:NSZeroRect
                                                         options:options
                                                           owner:button
                                                        userInfo:nil]];
  }
  return button;
}

- (NSView*)hitTest:(NSPoint)point {
  const NSPoint local = [self convertPoint:point fromView:self.superview];
  return NSPointInRect(local, self.bounds) ? self : nil;
}

// The panel does not activate the app: its first click must count.
- (BOOL)acceptsFirstMouse:(NSEvent*)event {
  (void)event;
  return YES;
}

// Taken here so that the release comes here as well.
- (void)mouseDown:(NSEvent*)event {
  (void)event;
}

- (void)mouseUp:(NSEvent*)event {
  const NSPoint point = [self convertPoint:event.locationInWindow fromView:nil];
  if (NSPointInRect(point, self.bounds)) [self runAction];
}

// The action may rebuild the views and so release this one: the block is
// held here until it returns.
- (void)runAction {
  void (^action)(void) = _action;
  if (action && _enabled) action();
}

- (void)mouseEntered:(NSEvent*)event {
  (void)event;
  [self setHovering:YES];
}

- (void)mouseExited:(NSEvent*)event {
  (void)event;
  [self setHovering:NO];
}

- (void)setHovering:(BOOL)hovering {
  if (_hovering == hovering) return;
  _hovering = hovering;
  self.needsDisplay = YES;
}

// Views built anew under a resting pointer get no entered event: they take
// their hover state from where the pointer is.
- (void)layout {
  [super layout];
  NSWindow* window = self.window;
  if (!_highlightsOnHover || !window) return;
  const NSPoint mouse = [self convertPoint:window.mouseLocationOutsideOfEventStream fromView:nil];
  [self setHovering:NSPointInRect(mouse, self.bounds)];
}

- (void)drawRect:(NSRect)dirtyRect {
  (void)dirtyRect;
  const auto highlight = kestrune::hoverHighlight(_hovering && _highlightsOnHover, _enabled);
  if (!highlight) return;
  [[NSColor.labelColor colorWithAlphaComponent:highlight->opacity] setFill];
  [[NSBezierPath bezierPathWithRoundedRect:self.bounds
                                   xRadius:highlight->cornerRadius
                                   yRadius:highlight->cornerRadius] fill];
}

- (BOOL)isAccessibilityElement {
  return YES;
}

- (NSAccessibilityRole)accessibilityRole {
  return NSAccessibilityButtonRole;
}

- (BOOL)isAccessibilityEnabled {
  return _enabled;
}

- (BOOL)accessibilityPerformPress {
  if (!_enabled) return NO;
  [self runAction];
  return YES;
}

@end

namespace kestrune {
namespace {

// Measures the picker leaves to each renderer. The padding, the spacing, the
// cell inset and the font sizes are the simulated Mac's as well.
constexpr double kInset = 10;          // around the whole picker
constexpr double kSectionSpacing = 8;  // between the grid, the hint and the footer
constexpr double kCellInset = 5;
constexpr double kCellSpacing = 2;  // between a cell's icon and its name
constexpr double kCellLabelFontSize = 10;
constexpr double kEmptySymbolPointSize = 24;
constexpr double kEmptyStateSpacing = 8;
constexpr double kEmptyStatePadding = 16;
constexpr double kFooterSpacing = 6;
constexpr double kFooterInset = 6;

// A template symbol, to be tinted by its image view.
NSImage* symbolImage(const std::string& name, std::optional<double> pointSize) {
  Image image;
  image.content = SymbolImage{name, std::nullopt, pointSize};
  image.isTemplate = true;
  return toNSImage(image);
}

NSImageView* tintedImageView(NSImage* image, NSColor* tint) {
  NSImageView* view = [NSImageView imageViewWithImage:image];
  view.translatesAutoresizingMaskIntoConstraints = NO;
  view.contentTintColor = tint;
  return view;
}

void fixWidth(NSView* view, double width) {
  [view.widthAnchor constraintEqualToConstant:width].active = YES;
}

NSTextField* wrappingLabel(const std::string& text, NSFont* font, double width) {
  NSTextField* label = [NSTextField wrappingLabelWithString:nsText(text)];
  label.translatesAutoresizingMaskIntoConstraints = NO;
  label.selectable = NO;
  label.font = font;
  label.textColor = NSColor.secondaryLabelColor;
  label.preferredMaxLayoutWidth = width;
  return label;
}

// The icon, centred in an area of the cell's inner width and the icon
// area's height. A captured image is stretched to its display size, as
// given; the others keep their proportions. A symbol is a template, tinted
// with the label colour.
NSView* iconArea(const CellIcon& icon, double width) {
  NSView* area = [[NSView alloc] initWithFrame:NSZeroRect];
  area.translatesAutoresizingMaskIntoConstraints = NO;
  fixWidth(area, width);
  [area.heightAnchor constraintEqualToConstant:PickerStyle::kIconAreaHeight].active = YES;
  NSImage* image = toNSImage(icon.image);
  if (!image) return area;
  const bool captured = icon.source == CellIcon::Source::captured;
  NSImageView* view = tintedImageView(image, icon.image.isTemplate ? NSColor.labelColor : nil);
  view.imageScaling = captured ? NSImageScaleAxesIndependently : NSImageScaleProportionallyUpOrDown;
  NSSize size =
      icon.displaySize ? NSMakeSize(icon.displaySize->width, icon.displaySize->height) : image.size;
  if (captured) size.width = std::min<double>(size.width, PickerStyle::kMaxCapturedWidth);
  [area addSubview:view];
  [NSLayoutConstraint activateConstraints:@[
    [view.widthAnchor constraintEqualToConstant:size.width],
    [view.heightAnchor constraintEqualToConstant:size.height],
    [view.centerXAnchor constraintEqualToAnchor:area.centerXAnchor],
    [view.centerYAnchor constraintEqualToAnchor:area.centerYAnchor],
  ]];
  return area;
}

// One line, cut short at the end when it does not fit the cell.
NSTextField* cellLabel(const std::string& text, double width) {
  NSTextField* label = [NSTextField labelWithString:nsText(text)];
  label.translatesAutoresizingMaskIntoConstraints = NO;
  label.font = [NSFont systemFontOfSize:kCellLabelFontSize];
  label.alignment = NSTextAlignmentCenter;
  label.lineBreakMode = NSLineBreakByTruncatingTail;
  label.maximumNumberOfLines = 1;
  [label setContentCompressionResistancePriority:NSLayoutPriorityDefaultLow
                                  forOrientation:NSLayoutConstraintOrientationHorizontal];
  [label.widthAnchor constraintLessThanOrEqualToConstant:width].active = YES;
  return label;
}

using Content = std::shared_ptr<const PickerContent>;

// The cell at `index` as the newest content has it: its item may have been
// scanned again since the views were built.
NSView* itemCellView(const ItemCell& cell, size_t index, const Content& live, double width) {
  const double inner = width - 2 * kCellInset;
  NSStackView* content = stack(NSUserInterfaceLayoutOrientationVertical, kCellSpacing,
                               @[ iconArea(cell.icon, inner) ]);
  content.alignment = NSLayoutAttributeCenterX;
  content.edgeInsets = NSEdgeInsetsMake(kCellInset, kCellInset, kCellInset, kCellInset);
  if (cell.showLabel) [content addArrangedSubview:cellLabel(cell.label, inner)];
  const Content clicked = live;
  KestrunePickerButton* button =
      [KestrunePickerButton buttonWithContent:content
                                       action:^{
                                         const auto& grid = clicked->view.grid;
                                         if (grid && index < grid->cells.size()) {
                                           clickCell(grid->cells[index], clicked->actions);
                                         }
                                       }
                            highlightsOnHover:YES
                                      enabled:cell.enabled];
  button.alphaValue = cell.opacity;
  button.toolTip = nsText(cell.tooltip);
  button.accessibilityLabel = nsText(cell.label);
  fixWidth(button, width);
  return button;
}

NSView* gridView(const ItemGrid& grid, const Content& live, double width) {
  const GridColumn column = grid.columns.empty() ? GridColumn{} : grid.columns.front();
  const ColumnFit columns = fitColumns(column, width);
  NSStackView* rows = stack(NSUserInterfaceLayoutOrientationVertical, grid.rowSpacing, @[]);
  rows.alignment = NSLayoutAttributeLeading;
  NSStackView* row = nil;
  for (size_t i = 0; i < grid.cells.size(); ++i) {
    if (i % static_cast<size_t>(columns.count) == 0) {
      row = stack(NSUserInterfaceLayoutOrientationHorizontal, column.spacing, @[]);
      row.alignment = NSLayoutAttributeTop;
      [rows addArrangedSubview:row];
    }
    [row addArrangedSubview:itemCellView(grid.cells[i], i, live, columns.width)];
  }
  return rows;
}

NSView* emptyStateView(const EmptyState& state, double width) {
  NSStackView* view = stack(NSUserInterfaceLayoutOrientationVertical, kEmptyStateSpacing, @[]);
  view.alignment = NSLayoutAttributeCenterX;
  view.edgeInsets = NSEdgeInsetsMake(kEmptyStatePadding, 0, kEmptyStatePadding, 0);
  if (NSImage* symbol = symbolImage(state.symbol, kEmptySymbolPointSize)) {
    [view addArrangedSubview:tintedImageView(symbol, NSColor.secondaryLabelColor)];
  }
  NSTextField* text = wrappingLabel(state.text, calloutFont(), width);
  text.alignment = NSTextAlignmentCenter;
  [view addArrangedSubview:text];
  fixWidth(view, width);
  return view;
}

// A divider with its padding above and below, then a plain button of the
// symbol and the wrapping text.
NSView* hintView(const ScreenRecordingHint& hint, const Content& live, double width) {
  NSBox* divider = [[NSBox alloc] initWithFrame:NSZeroRect];
  divider.translatesAutoresizingMaskIntoConstraints = NO;
  divider.boxType = NSBoxSeparator;
  fixWidth(divider, width);

  NSFont* font = captionFont();
  NSStackView* label =
      stack(NSUserInterfaceLayoutOrientationHorizontal, PickerStyle::kHintRowSpacing, @[]);
  label.alignment = NSLayoutAttributeCenterY;
  double textWidth = width;
  if (NSImage* symbol = symbolImage(hint.symbol, font.pointSize)) {
    [label addArrangedSubview:tintedImageView(symbol, NSColor.secondaryLabelColor)];
    textWidth -= symbol.size.width + PickerStyle::kHintRowSpacing;
  }
  [label addArrangedSubview:wrappingLabel(hint.text, font, textWidth)];

  const Content clicked = live;
  KestrunePickerButton* button = [KestrunePickerButton
      buttonWithContent:label
                 action:^{
                   const auto& request = clicked->actions.onRequestScreenRecording;
                   if (request) request();
                 }
      highlightsOnHover:NO
                enabled:YES];
  button.accessibilityLabel = nsText(hint.text);
  fixWidth(button, width);

  NSStackView* view = stack(NSUserInterfaceLayoutOrientationVertical,
                            PickerStyle::kHintDividerPadding, @[ divider, button ]);
  view.alignment = NSLayoutAttributeLeading;
  view.edgeInsets = NSEdgeInsetsMake(PickerStyle::kHintDividerPadding, 0, 0, 0);
  return view;
}

// The symbol, the title and a spacer that takes the rest of the width.
NSView* footerView(const FooterButton& footer, const Content& live, double width) {
  NSTextField* title = [NSTextField labelWithString:nsText(footer.title)];
  title.translatesAutoresizingMaskIntoConstraints = NO;
  [title setContentHuggingPriority:NSLayoutPriorityDefaultHigh
                    forOrientation:NSLayoutConstraintOrientationHorizontal];
  NSView* spacer = [[NSView alloc] initWithFrame:NSZeroRect];
  spacer.translatesAutoresizingMaskIntoConstraints = NO;

  NSStackView* row = stack(NSUserInterfaceLayoutOrientationHorizontal, kFooterSpacing, @[]);
  row.alignment = NSLayoutAttributeCenterY;
  row.distribution = NSStackViewDistributionFill;
  row.edgeInsets = NSEdgeInsetsMake(kFooterInset, kFooterInset, kFooterInset, kFooterInset);
  if (NSImage* symbol = symbolImage(footer.symbol, PickerStyle::kFooterSymbolPointSize)) {
    NSImageView* icon = tintedImageView(symbol, NSColor.labelColor);
    [icon setContentHuggingPriority:NSLayoutPriorityDefaultHigh
                     forOrientation:NSLayoutConstraintOrientationHorizontal];
    [row addArrangedSubview:icon];
  }
  [row addArrangedSubview:title];
  [row addArrangedSubview:spacer];

  const Content clicked = live;
  KestrunePickerButton* button =
      [KestrunePickerButton buttonWithContent:row
                                       action:^{
                                         const auto& open = clicked->actions.onOpenSettings;
                                         if (open) open();
                                       }
                            highlightsOnHover:YES
                                      enabled:YES];
  button.accessibilityLabel = nsText(footer.title);
  fixWidth(button, width);
  return button;
}

}  // namespace

NSView* makeOverflowView(const Content& content) {
  const OverflowViewModel& view = content->view;
  const double inner = view.width - 2 * kInset;
  NSStackView* picker = stack(NSUserInterfaceLayoutOrientationVertical, kSectionSpacing, @[]);
  picker.alignment = NSLayoutAttributeLeading;
  picker.edgeInsets = NSEdgeInsetsMake(kInset, kInset, kInset, kInset);
  if (view.emptyState) [picker addArrangedSubview:emptyStateView(*view.emptyState, inner)];
  if (view.grid) [picker addArrangedSubview:gridView(*view.grid, content, inner)];
  if (view.hint) [picker addArrangedSubview:hintView(*view.hint, content, inner)];
  [picker addArrangedSubview:footerView(view.footer, content, inner)];
  fixWidth(picker, view.width);
  return picker;
}

}  // namespace kestrune
