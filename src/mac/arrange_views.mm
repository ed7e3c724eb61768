#include "mac/arrange_views.hpp"

#import <AppKit/AppKit.h>
#include <dispatch/dispatch.h>

#include <algorithm>
#include <memory>
#include <string>

#include "arrange/arrange_model.hpp"
#include "arrange/arrange_view.hpp"
#include "core/observable.hpp"
#include "mac/arrange_list.hpp"
#include "mac/ns_string.hpp"
#include "mac/view_kit.hpp"

namespace kestrune {
namespace {

constexpr double kInset = 20;          // around the whole tab
constexpr double kSectionSpacing = 8;  // between the tab's parts
constexpr double kFooterSpacing = 6;   // between a spinner and its text
constexpr double kButtonSpacing = 8;
constexpr double kMinWidth = 420;
constexpr double kMinListHeight = 200;

NSTextField* plainLabel(NSFont* font, NSColor* color) {
  NSTextField* label = [NSTextField labelWithString:@""];
  label.translatesAutoresizingMaskIntoConstraints = NO;
  label.font = font;
  label.textColor = color;
  label.lineBreakMode = NSLineBreakByTruncatingTail;
  [label setContentCompressionResistancePriority:NSLayoutPriorityDefaultLow
                                  forOrientation:NSLayoutConstraintOrientationHorizontal];
  return label;
}

// Wraps at the width the view gives it once laid out (see -layout).
NSTextField* wrappingLabel(NSColor* color) {
  NSTextField* label = [NSTextField wrappingLabelWithString:@""];
  label.translatesAutoresizingMaskIntoConstraints = NO;
  label.selectable = NO;
  label.textColor = color;
  label.preferredMaxLayoutWidth = kMinWidth - 2 * kInset;
  return label;
}

NSProgressIndicator* spinner(NSControlSize size) {
  NSProgressIndicator* view = [[NSProgressIndicator alloc] initWithFrame:NSZeroRect];
  view.translatesAutoresizingMaskIntoConstraints = NO;
  view.style = NSProgressIndicatorStyleSpinning;
  view.controlSize = size;
  view.indeterminate = YES;
  view.displayedWhenStopped = NO;
  [view sizeToFit];
  return view;
}

// A spinner turns only while it is shown.
void setSpinning(NSProgressIndicator* view, bool spinning) {
  if (spinning) {
    [view startAnimation:nil];
  } else {
    [view stopAnimation:nil];
  }
}

NSButton* button(id target, SEL action) {
  NSButton* view = [NSButton buttonWithTitle:@"" target:target action:action];
  view.translatesAutoresizingMaskIntoConstraints = NO;
  return view;
}

void showButton(NSButton* view, const ArrangeButton& model) {
  view.title = nsText(model.title);
  view.enabled = model.enabled;
  view.keyEquivalent = model.isDefault ? @"\r" : @"";
}

// Pinned on both sides, inside the stack's insets.
void spanWidth(NSView* view, NSView* container) {
  [NSLayoutConstraint activateConstraints:@[
    [view.leadingAnchor constraintEqualToAnchor:container.leadingAnchor constant:kInset],
    [view.trailingAnchor constraintEqualToAnchor:container.trailingAnchor constant:-kInset],
  ]];
}

// The order can be edited while no Apply runs.
bool isEditable(const ArrangeViewModel& view) {
  return !view.progress;
}

}  // namespace
}  // namespace kestrune

@interface KestruneArrangeView : NSView
- (instancetype)initWithModel:(const std::shared_ptr<kestrune::ArrangeModel>&)model;
// Shows `view` and nothing else: no model, so rows and buttons do nothing.
- (instancetype)initShowing:(const kestrune::ArrangeViewModel&)view NS_DESIGNATED_INITIALIZER;
- (instancetype)initWithFrame:(NSRect)frameRect NS_UNAVAILABLE;
- (instancetype)initWithCoder:(NSCoder*)coder NS_UNAVAILABLE;
@end

@implementation KestruneArrangeView {
  std::shared_ptr<kestrune::ArrangeModel> _model;
  kestrune::Subscription _changes;
  std::shared_ptr<kestrune::MainQueueUpdate> _updates;
  BOOL _started;
  KestruneArrangeList* _list;
  NSTextField* _intro;
  NSTextField* _caption;
  NSView* _scanning;
  NSProgressIndicator* _scanningSpinner;
  NSTextField* _scanningText;
  NSView* _progress;
  NSProgressIndicator* _progressSpinner;
  NSTextField* _progressText;
  NSTextField* _error;
  NSButton* _refresh;
  NSButton* _revert;
  NSButton* _apply;
}

- (instancetype)initWithModel:(const std::shared_ptr<kestrune::ArrangeModel>&)model {
  self = [self initShowing:kestrune::describeArrangeView(*model)];
  if (!self) return nil;
  _model = model;
  __weak KestruneArrangeView* weakSelf = self;
  _updates = std::make_shared<kestrune::MainQueueUpdate>(^{
    [weakSelf update];
  });
  _changes = _model->objectWillChange.connect([updates = _updates] { updates->request(); });
  return self;
}

- (instancetype)initShowing:(const kestrune::ArrangeViewModel&)view {
  self = [super initWithFrame:NSZeroRect];
  if (!self) return nil;
  __weak KestruneArrangeView* weakSelf = self;
  _list = [[KestruneArrangeList alloc] initWithMoveHandler:^(size_t from, size_t to) {
    [weakSelf moveFrom:from to:to];
  }];
  [self buildViews];
  [self show:view];
  return self;
}

- (void)buildViews {
  self.translatesAutoresizingMaskIntoConstraints = NO;
  _intro = kestrune::wrappingLabel(NSColor.secondaryLabelColor);
  _caption = kestrune::plainLabel([NSFont systemFontOfSize:NSFont.smallSystemFontSize
                                                    weight:NSFontWeightSemibold],
                                  NSColor.secondaryLabelColor);
  NSView* listArea = [self makeListArea];
  _progress = [self makeProgressRow];
  _error = kestrune::wrappingLabel(NSColor.systemRedColor);
  NSView* buttons = [self makeButtonRow];

  NSStackView* content =
      kestrune::stack(NSUserInterfaceLayoutOrientationVertical, kestrune::kSectionSpacing,
                      @[ _intro, _caption, listArea, _progress, _error, buttons ]);
  content.alignment = NSLayoutAttributeLeading;
  content.distribution = NSStackViewDistributionFill;
  content.detachesHiddenViews = YES;
  content.edgeInsets =
      NSEdgeInsetsMake(kestrune::kInset, kestrune::kInset, kestrune::kInset, kestrune::kInset);
  [self addSubview:content];
  kestrune::pinEdges(content, self);
  // Shown always, so their constraints to the stack stay in place.
  for (NSView* view in @[ _intro, listArea, buttons ]) kestrune::spanWidth(view, content);
  [self.widthAnchor constraintGreaterThanOrEqualToConstant:kestrune::kMinWidth].active = YES;
}

// The list, or while the first scan runs a spinner in its place. It takes
// the height the other parts leave.
- (NSView*)makeListArea {
  NSView* area = [[NSView alloc] initWithFrame:NSZeroRect];
  area.translatesAutoresizingMaskIntoConstraints = NO;
  [area.heightAnchor constraintGreaterThanOrEqualToConstant:kestrune::kMinListHeight].active = YES;
  NSScrollView* scroll = _list.scrollView;
  [area addSubview:scroll];
  kestrune::pinEdges(scroll, area);

  _scanningSpinner = kestrune::spinner(NSControlSizeRegular);
  _scanningText = kestrune::plainLabel([NSFont systemFontOfSize:NSFont.systemFontSize],
                                       NSColor.secondaryLabelColor);
  NSStackView* scanning =
      kestrune::stack(NSUserInterfaceLayoutOrientationVertical, kestrune::kSectionSpacing,
                      @[ _scanningSpinner, _scanningText ]);
  scanning.alignment = NSLayoutAttributeCenterX;
  [area addSubview:scanning];
  [NSLayoutConstraint activateConstraints:@[
    [scanning.centerXAnchor constraintEqualToAnchor:area.centerXAnchor],
    [scanning.centerYAnchor constraintEqualToAnchor:area.centerYAnchor],
  ]];
  _scanning = scanning;
  return area;
}

- (NSView*)makeProgressRow {
  _progressSpinner = kestrune::spinner(NSControlSizeSmall);
  _progressText = kestrune::plainLabel([NSFont systemFontOfSize:NSFont.smallSystemFontSize],
                                       NSColor.secondaryLabelColor);
  NSStackView* row =
      kestrune::stack(NSUserInterfaceLayoutOrientationHorizontal, kestrune::kFooterSpacing,
                      @[ _progressSpinner, _progressText ]);
  row.alignment = NSLayoutAttributeCenterY;
  [row setHuggingPriority:NSLayoutPriorityDefaultHigh
           forOrientation:NSLayoutConstraintOrientationVertical];
  return row;
}

// Refresh on the leading side; Revert and Apply on the trailing side.
- (NSView*)makeButtonRow {
  _refresh = kestrune::button(self, @selector(refreshPressed:));
  _revert = kestrune::button(self, @selector(revertPressed:));
  _apply = kestrune::button(self, @selector(applyPressed:));
  NSStackView* row =
      kestrune::stack(NSUserInterfaceLayoutOrientationHorizontal, kestrune::kButtonSpacing, @[]);
  row.distribution = NSStackViewDistributionGravityAreas;
  [row addView:_refresh inGravity:NSStackViewGravityLeading];
  [row addView:_revert inGravity:NSStackViewGravityTrailing];
  [row addView:_apply inGravity:NSStackViewGravityTrailing];
  [row setHuggingPriority:NSLayoutPriorityDefaultHigh
           forOrientation:NSLayoutConstraintOrientationVertical];
  return row;
}

- (void)update {
  [self show:kestrune::describeArrangeView(*_model)];
}

- (void)show:(const kestrune::ArrangeViewModel&)view {
  _intro.stringValue = kestrune::nsText(view.intro);
  _caption.stringValue = kestrune::nsText(view.caption);
  [self showList:view];
  [self showFooter:view];
  kestrune::showButton(_refresh, view.refresh);
  kestrune::showButton(_revert, view.revert);
  kestrune::showButton(_apply, view.apply);
}

- (void)showList:(const kestrune::ArrangeViewModel&)view {
  const bool scanning = view.scanning.has_value();
  _scanningText.stringValue = kestrune::nsText(view.scanning.value_or(""));
  _scanning.hidden = !scanning;
  _list.scrollView.hidden = scanning;
  kestrune::setSpinning(_scanningSpinner, scanning);
  [_list showRowsOf:view editable:kestrune::isEditable(view)];
}

- (void)showFooter:(const kestrune::ArrangeViewModel&)view {
  _progressText.stringValue = kestrune::nsText(view.progress.value_or(""));
  _progress.hidden = !view.progress;
  kestrune::setSpinning(_progressSpinner, view.progress.has_value());
  _error.stringValue = kestrune::nsText(view.error.value_or(""));
  _error.hidden = !view.error;
}

// Wrapping labels wrap at the width they are given only once they know it.
- (void)layout {
  [super layout];
  const CGFloat width = std::max(NSWidth(self.bounds), static_cast<CGFloat>(kestrune::kMinWidth)) -
                        2 * kestrune::kInset;
  BOOL changed = NO;
  for (NSTextField* label in @[ _intro, _error ]) {
    if (label.preferredMaxLayoutWidth == width) continue;
    label.preferredMaxLayoutWidth = width;
    changed = YES;
  }
  if (changed) [super layout];
}

- (void)viewDidMoveToWindow {
  [super viewDidMoveToWindow];
  if (!self.window || _started || !_model) return;
  _started = YES;
  _model->reload();
}

// Actions check the model as it is now: the buttons show it as of the
// last update, which may be a turn of the main queue behind.
- (void)refreshPressed:(id)sender {
  (void)sender;
  if (_model && kestrune::describeArrangeView(*_model).refresh.enabled) _model->reload();
}

- (void)revertPressed:(id)sender {
  (void)sender;
  if (_model && kestrune::describeArrangeView(*_model).revert.enabled) kestrune::revert(*_model);
}

- (void)applyPressed:(id)sender {
  (void)sender;
  if (_model && kestrune::describeArrangeView(*_model).apply.enabled) _model->apply();
}

- (void)moveFrom:(size_t)from to:(size_t)to {
  if (_model && kestrune::isEditable(kestrune::describeArrangeView(*_model))) {
    kestrune::move(*_model, {from}, to);
  }
}

@end

namespace kestrune {

NSView* makeArrangeView(const std::shared_ptr<ArrangeModel>& model) {
  return [[KestruneArrangeView alloc] initWithModel:model];
}

NSView* makeArrangeView(const ArrangeViewModel& view) {
  return [[KestruneArrangeView alloc] initShowing:view];
}

}  // namespace kestrune
