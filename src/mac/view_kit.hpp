#pragma once

// Small AppKit helpers shared by Kestrune's views. Objective-C++ only.
#ifdef __OBJC__

#if !__has_feature(objc_arc)
#error "view_kit.hpp keeps blocks by ARC's rules: compile with -fobjc-arc"
#endif

#import <AppKit/AppKit.h>
#import <dispatch/dispatch.h>

#include <memory>

namespace kestrune {

// A stack view for Auto Layout.
inline NSStackView* _Nonnull stack(NSUserInterfaceLayoutOrientation orientation, double spacing,
                                   NSArray<NSView*>* _Nonnull views) {
  NSStackView* view = [NSStackView stackViewWithViews:views];
  view.translatesAutoresizingMaskIntoConstraints = NO;
  view.orientation = orientation;
  view.spacing = spacing;
  return view;
}

// Pins `view`'s edges to `container`'s, of which it is a subview.
inline void pinEdges(NSView* _Nonnull view, NSView* _Nonnull container) {
  view.translatesAutoresizingMaskIntoConstraints = NO;
  [NSLayoutConstraint activateConstraints:@[
    [view.leadingAnchor constraintEqualToAnchor:container.leadingAnchor],
    [view.trailingAnchor constraintEqualToAnchor:container.trailingAnchor],
    [view.topAnchor constraintEqualToAnchor:container.topAnchor],
    [view.bottomAnchor constraintEqualToAnchor:container.bottomAnchor],
  ]];
}

// The text styles exist from macOS 11, the oldest system Kestrune runs on.
inline NSFont* _Nonnull calloutFont() {
  return [NSFont preferredFontForTextStyle:NSFontTextStyleCallout options:@{}];
}

inline NSFont* _Nonnull captionFont() {
  return [NSFont preferredFontForTextStyle:NSFontTextStyleCaption1 options:@{}];
}

// Runs `update` once, on a later turn of the main queue, for a burst of
// requests: models tell before their values change, so a view reads them
// afterwards, and only once however many values changed. Main thread.
class MainQueueUpdate {
 public:
  explicit MainQueueUpdate(void (^_Nonnull update)(void)) : update_(update) {}

  void request() {
    if (*queued_) return;
    *queued_ = true;
    std::shared_ptr<bool> queued = queued_;
    void (^update)(void) = update_;
    dispatch_async(dispatch_get_main_queue(), ^{
      *queued = false;
      update();
    });
  }

 private:
  void (^_Nonnull update_)(void);
  std::shared_ptr<bool> queued_ = std::make_shared<bool>(false);
};

}  // namespace kestrune

#endif  // __OBJC__
