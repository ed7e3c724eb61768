#include "mac/mac_application.hpp"

#import <AppKit/AppKit.h>
#import <dispatch/dispatch.h>

#include "mac/ns_string.hpp"

namespace kestrune {

std::string MacApplication::bundlePath() {
  @autoreleasepool {
    return fromNSString(NSBundle.mainBundle.bundlePath).value_or(std::string());
  }
}

void MacApplication::terminate() {
  if (NSThread.isMainThread) {
    [NSApplication.sharedApplication terminate:nil];
    return;
  }
  dispatch_async(dispatch_get_main_queue(), ^{
    [NSApplication.sharedApplication terminate:nil];
  });
}

}  // namespace kestrune
