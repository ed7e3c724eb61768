#include "mac/mac_workspace.hpp"

#import <AppKit/AppKit.h>

#include <atomic>
#include <memory>
#include <utility>

#include "mac/ns_string.hpp"

namespace kestrune {
namespace {

RunningApplication toRunningApplication(NSRunningApplication* application) {
  RunningApplication result;
  result.pid = application.processIdentifier;
  result.bundleIdentifier = fromNSString(application.bundleIdentifier);
  result.localizedName = fromNSString(application.localizedName);
  result.bundlePath = fromNSString(application.bundleURL.path);
  return result;
}

NSNotificationName notificationName(WorkspaceEvent event) {
  switch (event) {
    case WorkspaceEvent::didLaunchApplication:
      return NSWorkspaceDidLaunchApplicationNotification;
    case WorkspaceEvent::didTerminateApplication:
      return NSWorkspaceDidTerminateApplicationNotification;
  }
  return NSWorkspaceDidLaunchApplicationNotification;
}

}  // namespace

std::vector<RunningApplication> MacWorkspace::runningApplications() {
  NSArray<NSRunningApplication*>* applications = NSWorkspace.sharedWorkspace.runningApplications;
  std::vector<RunningApplication> result;
  result.reserve(applications.count);
  for (NSRunningApplication* application in applications) {
    result.push_back(toRunningApplication(application));
  }
  return result;
}

std::optional<std::string> MacWorkspace::urlForApplication(const std::string& bundleIdentifier) {
  NSString* identifier = toNSString(bundleIdentifier);
  if (!identifier) return std::nullopt;
  NSURL* url = [NSWorkspace.sharedWorkspace URLForApplicationWithBundleIdentifier:identifier];
  return fromNSString(url.path);
}

// The flag stops a notification that the main queue took before the observer
// was removed: the handler must not run once the subscription has ended.
Subscription MacWorkspace::observe(WorkspaceEvent event,
                                   std::function<void(const RunningApplication&)> handler) {
  NSNotificationCenter* center = NSWorkspace.sharedWorkspace.notificationCenter;
  auto active = std::make_shared<std::atomic<bool>>(true);
  id observer = [center addObserverForName:notificationName(event)
                                    object:nil
                                     queue:NSOperationQueue.mainQueue
                                usingBlock:^(NSNotification* notification) {
                                  if (!*active) return;
                                  id application = notification.userInfo[NSWorkspaceApplicationKey];
                                  if (![application isKindOfClass:[NSRunningApplication class]])
                                    return;
                                  handler(toRunningApplication(application));
                                }];
  return Subscription([center, observer, active] {
    *active = false;
    [center removeObserver:observer];
  });
}

bool MacWorkspace::openURL(const std::string& url) {
  @autoreleasepool {
    NSString* text = toNSString(url);
    NSURL* target = text ? [NSURL URLWithString:text] : nil;
    if (!target) return false;
    return [NSWorkspace.sharedWorkspace openURL:target];
  }
}

void MacWorkspace::openApplication(const std::string& bundlePath, bool createsNewInstance,
                                   std::function<void(bool succeeded)> completion) {
  @autoreleasepool {
    NSString* path = toNSString(bundlePath);
    if (!path || path.length == 0) {
      if (completion) completion(false);
      return;
    }
    NSURL* url = [NSURL fileURLWithPath:path isDirectory:YES];
    NSWorkspaceOpenConfiguration* configuration = [NSWorkspaceOpenConfiguration configuration];
    configuration.createsNewApplicationInstance = createsNewInstance;
    // The block keeps its own copy of the completion until AppKit calls it.
    [NSWorkspace.sharedWorkspace
        openApplicationAtURL:url
               configuration:configuration
           completionHandler:^(NSRunningApplication* application, NSError* error) {
             if (completion) completion(application != nil && !error);
           }];
  }
}

}  // namespace kestrune
