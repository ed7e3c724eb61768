#include "mac/overflow_panel_window.hpp"

#import <AppKit/AppKit.h>
#import <QuartzCore/QuartzCore.h>

#include <cstdlib>

namespace {

using kestrune::PanelWindowSetup;

// Not an exception: AppKit catches exceptions raised while it handles an
// event, logs them and carries on, and a panel created the wrong way must
// not carry on.
[[noreturn]] void stopAtUnimplementedInitializer(NSString* initializer) {
  NSLog(@"Use of unimplemented initializer '%@' for class 'Kestrune.OverflowPanel'", initializer);
  std::abort();
}

NSRect toNSRect(const kestrune::Rect& rect) {
  return NSMakeRect(rect.origin.x, rect.origin.y, rect.size.width, rect.size.height);
}

NSWindowStyleMask styleMask(const PanelWindowSetup& setup) {
  NSWindowStyleMask mask = NSWindowStyleMaskBorderless;
  if (setup.nonActivating) mask |= NSWindowStyleMaskNonactivatingPanel;
  if (setup.fullSizeContentView) mask |= NSWindowStyleMaskFullSizeContentView;
  return mask;
}

NSWindowCollectionBehavior collectionBehavior(const PanelWindowSetup& setup) {
  NSWindowCollectionBehavior behavior = NSWindowCollectionBehaviorDefault;
  if (setup.joinsAllSpaces) behavior |= NSWindowCollectionBehaviorCanJoinAllSpaces;
  if (setup.transient) behavior |= NSWindowCollectionBehaviorTransient;
  if (setup.ignoresWindowCycling) behavior |= NSWindowCollectionBehaviorIgnoresCycle;
  return behavior;
}

}  // namespace

// The panel's background: the popover material blended behind the window,
// rounded, with a hairline border in the separator colour.
@interface KestrunePanelBackground : NSVisualEffectView
+ (instancetype)backgroundWithSetup:(const PanelWindowSetup&)setup;
@end

@implementation KestrunePanelBackground {
  CGFloat _borderAlpha;
}

+ (instancetype)backgroundWithSetup:(const PanelWindowSetup&)setup {
  KestrunePanelBackground* view = [[self alloc] initWithFrame:toNSRect(setup.contentRect)];
  if (setup.popoverMaterial) {
    view.material = NSVisualEffectMaterialPopover;
    view.blendingMode = NSVisualEffectBlendingModeBehindWindow;
    view.state = NSVisualEffectStateActive;
  }
  view.wantsLayer = YES;
  CALayer* layer = view.layer;
  layer.cornerRadius = setup.cornerRadius;
  if (setup.continuousCorners) layer.cornerCurve = kCACornerCurveContinuous;
  layer.masksToBounds = YES;
  layer.borderWidth = setup.borderWidth;
  view->_borderAlpha = setup.borderSeparatorAlpha;
  [view resolveBorderColor];
  return view;
}

// A CGColor is fixed at the appearance it was made under, so the border
// colour is made again whenever the panel's appearance changes.
- (void)viewDidChangeEffectiveAppearance {
  [super viewDidChangeEffectiveAppearance];
  [self resolveBorderColor];
}

// Under the view's effective appearance: the panel's, once it is in it.
- (void)resolveBorderColor {
  NSColor* color = [NSColor.separatorColor colorWithAlphaComponent:_borderAlpha];
  CALayer* layer = self.layer;
  [self.effectiveAppearance performAsCurrentDrawingAppearance:^{
    layer.borderColor = color.CGColor;
  }];
}

@end

@implementation KestruneOverflowPanel

- (instancetype)initWithHostedView:(NSView*)hostedView setup:(const PanelWindowSetup&)setup {
  self = [super initWithContentRect:toNSRect(setup.contentRect)
                          styleMask:styleMask(setup)
                            backing:NSBackingStoreBuffered
                              defer:NO];
  if (!self) return nil;
  [self applySetup:setup];
  [self host:hostedView in:[KestrunePanelBackground backgroundWithSetup:setup]];
  return self;
}

- (instancetype)initWithContentRect:(NSRect)contentRect
                          styleMask:(NSWindowStyleMask)style
                            backing:(NSBackingStoreType)backingStoreType
                              defer:(BOOL)flag {
  (void)contentRect;
  (void)style;
  (void)backingStoreType;
  (void)flag;
  stopAtUnimplementedInitializer(@"init(contentRect:styleMask:backing:defer:)");
}

// The floating-panel flag sets a level of its own: the level comes after it.
- (void)applySetup:(const PanelWindowSetup&)setup {
  self.floatingPanel = setup.floating;
  self.level = setup.level;
  self.hidesOnDeactivate = setup.hidesOnDeactivate;
  self.releasedWhenClosed = setup.releasedWhenClosed;
  self.collectionBehavior = collectionBehavior(setup);
  self.opaque = setup.opaque;
  if (setup.clearBackground) self.backgroundColor = NSColor.clearColor;
  self.hasShadow = setup.hasShadow;
  if (setup.utilityAnimation) self.animationBehavior = NSWindowAnimationBehaviorUtilityWindow;
}

- (void)host:(NSView*)hostedView in:(NSView*)background {
  hostedView.translatesAutoresizingMaskIntoConstraints = NO;
  [background addSubview:hostedView];
  [NSLayoutConstraint activateConstraints:@[
    [hostedView.leadingAnchor constraintEqualToAnchor:background.leadingAnchor],
    [hostedView.trailingAnchor constraintEqualToAnchor:background.trailingAnchor],
    [hostedView.topAnchor constraintEqualToAnchor:background.topAnchor],
    [hostedView.bottomAnchor constraintEqualToAnchor:background.bottomAnchor],
  ]];
  self.contentView = background;
}

- (BOOL)canBecomeKeyWindow {
  return YES;
}

- (BOOL)canBecomeMainWindow {
  return NO;
}

// The handler may replace itself: the one called is the one set now.
- (void)resignKeyWindow {
  [super resignKeyWindow];
  void (^handler)(void) = self.resignKeyHandler;
  if (handler) handler();
}

@end
