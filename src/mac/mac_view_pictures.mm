#include "mac/mac_view_pictures.hpp"

#import <AppKit/AppKit.h>

#include <cmath>

#include "mac/arrange_list.hpp"
#include "mac/arrange_views.hpp"
#include "mac/cg_image_bitmap.hpp"
#include "mac/picker_views.hpp"
#include "mac/settings_window.hpp"
#include "mac/view_kit.hpp"

namespace kestrune {
namespace {

NSSize toNSSize(Size size) {
  return NSMakeSize(size.width, size.height);
}

// A window for `view` alone, `size` points inside, that is never ordered
// in: the view gets a window's appearance and layout without being seen.
NSWindow* offScreenWindow(NSView* view, NSSize size) {
  NSWindow* window = [[NSWindow alloc] initWithContentRect:NSMakeRect(0, 0, size.width, size.height)
                                                 styleMask:NSWindowStyleMaskBorderless
                                                   backing:NSBackingStoreBuffered
                                                     defer:NO];
  window.releasedWhenClosed = NO;
  window.contentView = view;
  return window;
}

// `view` pinned edge to edge in a plain view.
NSView* hosting(NSView* view) {
  NSView* host = [[NSView alloc] initWithFrame:NSZeroRect];
  [host addSubview:view];
  pinEdges(view, host);
  return host;
}

// The view as it draws itself now, `scale` pixels a point.
std::optional<ViewPicture> draw(NSView* view, double scale) {
  [view layoutSubtreeIfNeeded];
  const NSRect bounds = view.bounds;
  const auto width = static_cast<NSInteger>(std::lround(NSWidth(bounds) * scale));
  const auto height = static_cast<NSInteger>(std::lround(NSHeight(bounds) * scale));
  if (width < 1 || height < 1) return std::nullopt;
  NSBitmapImageRep* rep = [[NSBitmapImageRep alloc] initWithBitmapDataPlanes:NULL
                                                                  pixelsWide:width
                                                                  pixelsHigh:height
                                                               bitsPerSample:8
                                                             samplesPerPixel:4
                                                                    hasAlpha:YES
                                                                    isPlanar:NO
                                                              colorSpaceName:NSDeviceRGBColorSpace
                                                                 bytesPerRow:0
                                                                bitsPerPixel:32];
  if (!rep) return std::nullopt;
  // Points, so that the view draws at the scale the pixels give.
  rep.size = bounds.size;
  [view cacheDisplayInRect:bounds toBitmapImageRep:rep];
  auto pixels = bitmapFromCGImage(rep.CGImage);
  if (!pixels) return std::nullopt;
  return ViewPicture{{NSWidth(bounds), NSHeight(bounds)}, std::move(*pixels)};
}

// `view` in a window of its own at `size`, drawn.
std::optional<ViewPicture> drawInWindow(NSView* view, NSSize size, double scale) {
  NSWindow* window NS_VALID_UNTIL_END_OF_SCOPE = offScreenWindow(view, size);
  return draw(window.contentView, scale);
}

}  // namespace

// As wide as the view model says, as tall as the views fit.
std::optional<ViewPicture> MacViewPictures::picker(const OverflowViewModel& view, double scale) {
  @autoreleasepool {
    NSView* host = hosting(makeOverflowView(
        std::make_shared<const PickerContent>(PickerContent{view, OverflowViewActions{}})));
    [host layoutSubtreeIfNeeded];
    return drawInWindow(host, host.fittingSize, scale);
  }
}

std::optional<ViewPicture> MacViewPictures::panel(double scale) {
  @autoreleasepool {
    return draw(panel_.contentView(), scale);
  }
}

std::optional<ViewPicture> MacViewPictures::arrangeList(const ArrangeViewModel& view, Size size,
                                                        double scale) {
  @autoreleasepool {
    // The table's data source: the table holds it weakly.
    KestruneArrangeList* list NS_VALID_UNTIL_END_OF_SCOPE =
        [[KestruneArrangeList alloc] initWithMoveHandler:^(size_t from, size_t to) {
          (void)from;
          (void)to;
        }];
    [list showRowsOf:view editable:NO];
    return drawInWindow(hosting(list.scrollView), toNSSize(size), scale);
  }
}

std::optional<ViewPicture> MacViewPictures::settingsTab(const SettingsViewModel& view,
                                                        const ArrangeViewModel& arrange,
                                                        double scale) {
  @autoreleasepool {
    NSTabView* tabs =
        makeSettingsTabView(view, makeGeneralSettingsView(view.general), makeArrangeView(arrange));
    return drawInWindow(makeSettingsContent(tabs), toNSSize(view.contentSize), scale);
  }
}

}  // namespace kestrune
