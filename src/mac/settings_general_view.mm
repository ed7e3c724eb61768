#include "mac/settings_window.hpp"

#import <AppKit/AppKit.h>
#include <dispatch/dispatch.h>

#include <memory>
#include <string>
#include <vector>

#include "app/general_settings.hpp"
#include "app/settings_view.hpp"
#include "core/observable.hpp"
#include "mac/ns_string.hpp"
#include "mac/view_kit.hpp"

namespace kestrune {
namespace {

constexpr double kInset = 20;
constexpr double kSectionSpacing = 14;
constexpr double kHeaderSpacing = 4;
constexpr double kRowInset = 12;
constexpr double kRowHeight = 30;
constexpr double kIconSide = 18;
constexpr double kDetailWidth = 300;

NSTextField* label(NSString* text, NSFont* font, NSColor* color) {
  NSTextField* field = [NSTextField labelWithString:text];
  field.translatesAutoresizingMaskIntoConstraints = NO;
  field.font = font;
  field.textColor = color;
  return field;
}

NSSwitch* makeToggle(id target, SEL action) {
  NSSwitch* toggle = [[NSSwitch alloc] initWithFrame:NSZeroRect];
  toggle.target = target;
  toggle.action = action;
  toggle.translatesAutoresizingMaskIntoConstraints = NO;
  return toggle;
}

NSControlStateValue stateOf(bool on) {
  return on ? NSControlStateValueOn : NSControlStateValueOff;
}

void showToggle(NSSwitch* control, const SettingsToggle& toggle) {
  control.state = stateOf(toggle.isOn);
  control.enabled = toggle.enabled;
  control.toolTip = toggle.help.empty() ? nil : nsText(toggle.help);
}

bool isOn(NSSwitch* control) {
  return control.state == NSControlStateValueOn;
}

void showSymbol(NSImageView* view, const PermissionRow& row) {
  view.image = [NSImage imageWithSystemSymbolName:nsText(row.symbol)
                         accessibilityDescription:nsText(row.title)];
  view.contentTintColor =
      row.tint == SymbolTint::green ? NSColor.systemGreenColor : NSColor.systemOrangeColor;
}

}  // namespace
}  // namespace kestrune

// Drawn in drawRect: so that its colours follow the window's appearance.
@interface KestruneSettingsGroup : NSView
@end

@implementation KestruneSettingsGroup

- (void)drawRect:(NSRect)dirtyRect {
  (void)dirtyRect;
  NSBezierPath* path = [NSBezierPath bezierPathWithRoundedRect:NSInsetRect(self.bounds, 0.25, 0.25)
                                                       xRadius:8
                                                       yRadius:8];
  [NSColor.controlBackgroundColor setFill];
  [path fill];
  path.lineWidth = 0.5;
  [NSColor.separatorColor setStroke];
  [path stroke];
}

@end

namespace kestrune {
namespace {

// A grouped section: its rows, each the box's full width, inside a
// rounded box.
NSView* group(NSArray<NSView*>* rowViews) {
  NSStackView* rows = stack(NSUserInterfaceLayoutOrientationVertical, 0, rowViews);
  rows.alignment = NSLayoutAttributeLeading;
  KestruneSettingsGroup* box = [[KestruneSettingsGroup alloc] initWithFrame:NSZeroRect];
  box.translatesAutoresizingMaskIntoConstraints = NO;
  [box addSubview:rows];
  [NSLayoutConstraint activateConstraints:@[
    [rows.leadingAnchor constraintEqualToAnchor:box.leadingAnchor constant:kRowInset],
    [rows.trailingAnchor constraintEqualToAnchor:box.trailingAnchor constant:-kRowInset],
    [rows.topAnchor constraintEqualToAnchor:box.topAnchor constant:4],
    [rows.bottomAnchor constraintEqualToAnchor:box.bottomAnchor constant:-4],
  ]];
  for (NSView* row in rowViews)
    [row.widthAnchor constraintEqualToAnchor:rows.widthAnchor].active = YES;
  return box;
}

}  // namespace
}  // namespace kestrune

@interface KestruneGeneralSettingsView : NSView
- (instancetype)initWithModel:(const std::shared_ptr<kestrune::GeneralSettingsModel>&)model;
// Shows `view` and nothing else: no model, so the controls change nothing.
- (instancetype)initShowing:(const kestrune::GeneralSettingsViewModel&)view
    NS_DESIGNATED_INITIALIZER;
- (instancetype)initWithFrame:(NSRect)frameRect NS_UNAVAILABLE;
- (instancetype)initWithCoder:(NSCoder*)coder NS_UNAVAILABLE;
@end

@implementation KestruneGeneralSettingsView {
  std::shared_ptr<kestrune::GeneralSettingsModel> _model;
  kestrune::Subscription _modelChanges;
  kestrune::Subscription _settingsChanges;
  std::shared_ptr<kestrune::MainQueueUpdate> _updates;
  // In the description's order; a control's tag is its index here.
  std::vector<kestrune::SettingsToggleKind> _toggleKinds;
  NSMutableArray<NSSwitch*>* _toggles;
  std::vector<kestrune::PermissionKind> _permissionKinds;
  NSMutableArray<NSImageView*>* _symbols;
  NSMutableArray<NSButton*>* _grantButtons;
  NSButton* _reset;
}

- (instancetype)initWithModel:(const std::shared_ptr<kestrune::GeneralSettingsModel>&)model {
  self = [self
      initShowing:kestrune::describeGeneralSettings(model->store().settings(), model->state())];
  if (!self) return nil;
  _model = model;
  __weak KestruneGeneralSettingsView* weakSelf = self;
  _updates = std::make_shared<kestrune::MainQueueUpdate>(^{
    [weakSelf update];
  });
  _modelChanges = _model->objectWillChange.connect([updates = _updates] { updates->request(); });
  _settingsChanges =
      _model->store().objectWillChange.connect([updates = _updates] { updates->request(); });
  return self;
}

- (instancetype)initShowing:(const kestrune::GeneralSettingsViewModel&)view {
  self = [super initWithFrame:NSZeroRect];
  if (!self) return nil;
  _toggles = [NSMutableArray array];
  _symbols = [NSMutableArray array];
  _grantButtons = [NSMutableArray array];
  [self buildViews:view];
  [self show:view];
  return self;
}

// The form's shape never changes; update shows the values.
- (void)buildViews:(const kestrune::GeneralSettingsViewModel&)view {
  NSMutableArray<NSView*>* parts = [NSMutableArray array];
  for (const auto& section : view.sections) {
    NSTextField* header = kestrune::label(kestrune::nsText(section.header),
                                          [NSFont systemFontOfSize:NSFont.systemFontSize
                                                            weight:NSFontWeightSemibold],
                                          NSColor.labelColor);
    NSMutableArray<NSView*>* rows = [NSMutableArray array];
    for (const auto& toggle : section.toggles) [rows addObject:[self toggleRow:toggle]];
    for (const auto& row : section.permissions) [rows addObject:[self permissionRow:row]];
    NSStackView* part =
        kestrune::stack(NSUserInterfaceLayoutOrientationVertical, kestrune::kHeaderSpacing,
                        @[ header, kestrune::group(rows) ]);
    part.alignment = NSLayoutAttributeLeading;
    [parts addObject:part];
  }
  _reset = [NSButton buttonWithTitle:kestrune::nsText(view.resetButton)
                              target:self
                              action:@selector(resetPressed:)];
  NSStackView* resetRow = kestrune::stack(NSUserInterfaceLayoutOrientationHorizontal, 0, @[]);
  [resetRow addView:_reset inGravity:NSStackViewGravityLeading];
  resetRow.edgeInsets = NSEdgeInsetsMake(6, 0, 6, 0);
  [parts addObject:kestrune::group(@[ resetRow ])];
  [self layOut:parts];
}

- (void)layOut:(NSArray<NSView*>*)parts {
  NSStackView* form =
      kestrune::stack(NSUserInterfaceLayoutOrientationVertical, kestrune::kSectionSpacing, parts);
  form.alignment = NSLayoutAttributeLeading;
  [self addSubview:form];
  [NSLayoutConstraint activateConstraints:@[
    [form.leadingAnchor constraintEqualToAnchor:self.leadingAnchor constant:kestrune::kInset],
    [form.trailingAnchor constraintEqualToAnchor:self.trailingAnchor constant:-kestrune::kInset],
    [form.topAnchor constraintEqualToAnchor:self.topAnchor constant:kestrune::kInset],
  ]];
  // Sections and their boxes take the form's whole width.
  for (NSView* part in parts) {
    [part.widthAnchor constraintEqualToAnchor:form.widthAnchor].active = YES;
    for (NSView* child in part.subviews) {
      if ([child isKindOfClass:[KestruneSettingsGroup class]]) {
        [child.widthAnchor constraintEqualToAnchor:part.widthAnchor].active = YES;
      }
    }
  }
}

- (NSView*)toggleRow:(const kestrune::SettingsToggle&)toggle {
  NSSwitch* control = kestrune::makeToggle(self, @selector(togglePressed:));
  control.tag = static_cast<NSInteger>(_toggleKinds.size());
  _toggleKinds.push_back(toggle.kind);
  [_toggles addObject:control];
  NSTextField* title =
      kestrune::label(kestrune::nsText(toggle.label),
                      [NSFont systemFontOfSize:NSFont.systemFontSize], NSColor.labelColor);
  NSStackView* row = kestrune::stack(NSUserInterfaceLayoutOrientationHorizontal, 8, @[]);
  row.distribution = NSStackViewDistributionGravityAreas;
  [row addView:title inGravity:NSStackViewGravityLeading];
  [row addView:control inGravity:NSStackViewGravityTrailing];
  [row.heightAnchor constraintGreaterThanOrEqualToConstant:kestrune::kRowHeight].active = YES;
  return [self hugging:row];
}

- (NSView*)permissionRow:(const kestrune::PermissionRow&)permission {
  NSImageView* symbol = [[NSImageView alloc] initWithFrame:NSZeroRect];
  symbol.translatesAutoresizingMaskIntoConstraints = NO;
  [symbol.widthAnchor constraintEqualToConstant:kestrune::kIconSide].active = YES;
  [symbol.heightAnchor constraintEqualToConstant:kestrune::kIconSide].active = YES;
  [_symbols addObject:symbol];
  NSTextField* title =
      kestrune::label(kestrune::nsText(permission.title),
                      [NSFont systemFontOfSize:NSFont.systemFontSize], NSColor.labelColor);
  NSTextField* detail = [NSTextField wrappingLabelWithString:kestrune::nsText(permission.detail)];
  detail.translatesAutoresizingMaskIntoConstraints = NO;
  detail.font = kestrune::captionFont();
  detail.textColor = NSColor.secondaryLabelColor;
  detail.preferredMaxLayoutWidth = kestrune::kDetailWidth;
  NSStackView* text =
      kestrune::stack(NSUserInterfaceLayoutOrientationVertical, 2, @[ title, detail ]);
  text.alignment = NSLayoutAttributeLeading;
  NSButton* grant = [NSButton buttonWithTitle:kestrune::nsText(kestrune::SettingsStyle::kGrant)
                                       target:self
                                       action:@selector(grantPressed:)];
  grant.tag = static_cast<NSInteger>(_permissionKinds.size());
  _permissionKinds.push_back(permission.kind);
  [_grantButtons addObject:grant];
  NSStackView* row = kestrune::stack(NSUserInterfaceLayoutOrientationHorizontal, 10, @[]);
  row.distribution = NSStackViewDistributionGravityAreas;
  row.edgeInsets = NSEdgeInsetsMake(6, 0, 6, 0);
  [row addView:symbol inGravity:NSStackViewGravityLeading];
  [row addView:text inGravity:NSStackViewGravityLeading];
  [row addView:grant inGravity:NSStackViewGravityTrailing];
  return [self hugging:row];
}

// A row is as tall as its content, not stretched by the form.
- (NSView*)hugging:(NSStackView*)row {
  [row setHuggingPriority:NSLayoutPriorityDefaultHigh
           forOrientation:NSLayoutConstraintOrientationVertical];
  return row;
}

- (void)update {
  [self show:kestrune::describeGeneralSettings(_model->store().settings(), _model->state())];
}

- (void)show:(const kestrune::GeneralSettingsViewModel&)view {
  NSUInteger toggle = 0;
  NSUInteger permission = 0;
  for (const auto& section : view.sections) {
    for (const auto& t : section.toggles) {
      if (toggle < _toggles.count) kestrune::showToggle(_toggles[toggle], t);
      ++toggle;
    }
    for (const auto& row : section.permissions) {
      if (permission < _symbols.count) {
        kestrune::showSymbol(_symbols[permission], row);
        _grantButtons[permission].hidden = !row.grantButton;
      }
      ++permission;
    }
  }
  _reset.title = kestrune::nsText(view.resetButton);
}

- (void)togglePressed:(NSSwitch*)sender {
  const auto index = static_cast<size_t>(sender.tag);
  if (_model && index < _toggleKinds.size()) {
    _model->setToggle(_toggleKinds[index], kestrune::isOn(sender));
  }
}

- (void)grantPressed:(NSButton*)sender {
  const auto index = static_cast<size_t>(sender.tag);
  if (_model && index < _permissionKinds.size()) _model->grant(_permissionKinds[index]);
}

- (void)resetPressed:(id)sender {
  (void)sender;
  if (_model) _model->resetToDefaults();
}

@end

namespace kestrune {

NSView* makeGeneralSettingsView(const std::shared_ptr<GeneralSettingsModel>& model) {
  return [[KestruneGeneralSettingsView alloc] initWithModel:model];
}

NSView* makeGeneralSettingsView(const GeneralSettingsViewModel& view) {
  return [[KestruneGeneralSettingsView alloc] initShowing:view];
}

}  // namespace kestrune
