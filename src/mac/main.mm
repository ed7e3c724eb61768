// Kestrune's entry point: a menu bar agent made of the Apple ports and the
// portable app delegate.

#import <AppKit/AppKit.h>

#include <cstdio>
#include <iostream>
#include <memory>

#include "app/app_delegate.hpp"
#include "mac/mac_platform.hpp"

// Owns the ports and the app they serve, for the life of the process.
@interface KSTAppDelegate : NSObject <NSApplicationDelegate>
@end

@implementation KSTAppDelegate {
  std::unique_ptr<kestrune::MacPlatform> _platform;
  std::shared_ptr<kestrune::AppDelegate> _app;
}

- (instancetype)init {
  self = [super init];
  if (self == nil) return nil;
  _platform = std::make_unique<kestrune::MacPlatform>();
  // Loads the settings.
  _app = kestrune::AppDelegate::create(_platform->platform(), _platform->shellPorts(), std::cout);
  return self;
}

- (void)dealloc {
  // The app before the ports it holds references to.
  _app.reset();
}

- (void)applicationDidFinishLaunching:(NSNotification*)notification {
  _app->applicationDidFinishLaunching();
}

@end

int main() {
  // A reader of the log sees each line as it is written, not when a buffer
  // fills. std::cout writes through to stdout, so it follows.
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  @autoreleasepool {
    NSApplication* application = NSApplication.sharedApplication;
    // The application holds its delegate weakly: this reference keeps it.
    KSTAppDelegate* delegate NS_VALID_UNTIL_END_OF_SCOPE = [[KSTAppDelegate alloc] init];
    application.delegate = delegate;
    // No Dock icon and no menu bar of its own.
    [application setActivationPolicy:NSApplicationActivationPolicyAccessory];
    [application run];
  }
  return 0;
}
