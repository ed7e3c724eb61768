#pragma once

// Objective-C++ only: an AppKit class.
#ifdef __OBJC__

#import <AppKit/AppKit.h>

#include "picker/panel_layout.hpp"

NS_ASSUME_NONNULL_BEGIN

// The picker's floating panel, made as `setup` says (by default:
// non-activating, at the pop-up menu level, on every space, over a rounded
// popover-material background), with the hosted view pinned edge to edge in
// its background. It can become key but never main. Its one way in is
// -initWithHostedView:setup:; the window initializers it inherits stop the
// program, naming the panel "Kestrune.OverflowPanel".
@interface KestruneOverflowPanel : NSPanel

// Called after the panel lost key status.
@property(nonatomic, copy, nullable) void (^resignKeyHandler)(void);

- (instancetype)initWithHostedView:(NSView*)hostedView
                             setup:(const kestrune::PanelWindowSetup&)setup
    NS_DESIGNATED_INITIALIZER;

- (instancetype)initWithContentRect:(NSRect)contentRect
                          styleMask:(NSWindowStyleMask)style
                            backing:(NSBackingStoreType)backingStoreType
                              defer:(BOOL)flag NS_UNAVAILABLE;
- (instancetype)initWithContentRect:(NSRect)contentRect
                          styleMask:(NSWindowStyleMask)style
                            backing:(NSBackingStoreType)backingStoreType
                              defer:(BOOL)flag
                             screen:(nullable NSScreen*)screen NS_UNAVAILABLE;
- (instancetype)init NS_UNAVAILABLE;

@end

NS_ASSUME_NONNULL_END

#endif  // __OBJC__
