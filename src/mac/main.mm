// Kestrune's entry point: a menu bar agent made of the Apple ports and the
// portable app delegate, or, with --self-test[=DIR], a check of those ports
// that exits with its result.

#import <AppKit/AppKit.h>
#import <Foundation/Foundation.h>

#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "app/app_delegate.hpp"
#include "app/self_test.hpp"
#include "mac/mac_platform.hpp"
#include "mac/ns_string.hpp"

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

namespace {

// A folder of its own in the temporary folder, which the test removes.
std::string scratchDirectory() {
  NSString* name = [NSString stringWithFormat:@"Kestrune-self-test-%d", ::getpid()];
  return kestrune::fromNSString([NSTemporaryDirectory() stringByAppendingPathComponent:name])
      .value_or("/tmp/Kestrune-self-test");
}

// DIR may be relative to the folder the app was started in.
std::optional<std::string> absolutePath(const std::optional<std::string>& path) {
  if (!path) return std::nullopt;
  NSString* given = kestrune::toNSString(*path);
  if (!given) return path;
  return kestrune::fromNSString([NSURL fileURLWithPath:given].absoluteURL.path);
}

}  // namespace

// Runs the self-test once the application has finished launching: no
// status item of Kestrune's own, no alerts, no settings read. Prints the
// report (JSON without a folder, a line a check with one) and stops the
// application, which then exits with the self-test's status.
@interface KSTSelfTestDelegate : NSObject <NSApplicationDelegate>
@property(nonatomic, readonly) int exitStatus;
- (instancetype)initWithRequest:(const kestrune::SelfTestRequest&)request NS_DESIGNATED_INITIALIZER;
- (instancetype)init NS_UNAVAILABLE;
@end

@implementation KSTSelfTestDelegate {
  kestrune::SelfTestRequest _request;
  std::unique_ptr<kestrune::MacPlatform> _platform;
  std::shared_ptr<kestrune::SelfTest> _test;
}

- (instancetype)initWithRequest:(const kestrune::SelfTestRequest&)request {
  self = [super init];
  if (self == nil) return nil;
  _request = request;
  _exitStatus = 1;
  return self;
}

- (void)dealloc {
  // The test before the ports it holds references to.
  _test.reset();
}

- (void)applicationDidFinishLaunching:(NSNotification*)notification {
  (void)notification;
  _platform = std::make_unique<kestrune::MacPlatform>();
  _test = kestrune::SelfTest::create(_platform->platform(), _platform->selfTestPorts(),
                                     {scratchDirectory(), absolutePath(_request.directory)});
  __weak KSTSelfTestDelegate* weakSelf = self;
  const bool json = !_request.directory;
  _test->run([weakSelf, json](const kestrune::SelfTestReport& report) {
    std::cout << (json ? kestrune::toJson(report) : kestrune::toText(report)) << std::flush;
    [weakSelf stopWithStatus:kestrune::exitStatus(report)];
  });
}

- (void)stopWithStatus:(int)status {
  _exitStatus = status;
  [NSApp stop:nil];
  // stop: takes effect once the run loop has handled an event: this one.
  NSEvent* wake = [NSEvent otherEventWithType:NSEventTypeApplicationDefined
                                     location:NSZeroPoint
                                modifierFlags:0
                                    timestamp:0
                                 windowNumber:0
                                      context:nil
                                      subtype:0
                                        data1:0
                                        data2:0];
  [NSApp postEvent:wake atStart:YES];
}

@end

namespace {

int runSelfTest(NSApplication* application, const kestrune::SelfTestRequest& request) {
  KSTSelfTestDelegate* delegate NS_VALID_UNTIL_END_OF_SCOPE =
      [[KSTSelfTestDelegate alloc] initWithRequest:request];
  application.delegate = delegate;
  [application run];
  return delegate.exitStatus;
}

int runAgent(NSApplication* application) {
  // The application holds its delegate weakly: this reference keeps it.
  KSTAppDelegate* delegate NS_VALID_UNTIL_END_OF_SCOPE = [[KSTAppDelegate alloc] init];
  application.delegate = delegate;
  // No Dock icon and no menu bar of its own.
  [application setActivationPolicy:NSApplicationActivationPolicyAccessory];
  [application run];
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  // A reader of the log sees each line as it is written, not when a buffer
  // fills. std::cout writes through to stdout, so it follows.
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  const auto selfTest = kestrune::selfTestRequest(std::vector<std::string>(argv + 1, argv + argc));
  @autoreleasepool {
    NSApplication* application = NSApplication.sharedApplication;
    return selfTest ? runSelfTest(application, *selfTest) : runAgent(application);
  }
}
