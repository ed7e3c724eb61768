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

std::optional<std::string> MacApplication::infoString(const std::string& key) {
  @autoreleasepool {
    NSString* name = toNSString(key);
    if (name == nil) return std::nullopt;
    id value = [NSBundle.mainBundle objectForInfoDictionaryKey:name];
    if (![value isKindOfClass:NSString.class]) return std::nullopt;
    return fromNSString((NSString*)value);
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

Application::Menu MacApplication::mainMenu() {
  NSMenu* menu = NSApplication.sharedApplication.mainMenu;
  if (menu == nil) return nullptr;
  // The menu is retained for as long as the handle lives.
  return Menu((__bridge_retained void*)menu, [](void* retained) { CFBridgingRelease(retained); });
}

void MacApplication::setMainMenu(Menu menu) {
  NSApplication.sharedApplication.mainMenu = menu ? (__bridge NSMenu*)menu.get() : nil;
}

void MacApplication::setMinimalMainMenu(const std::string& title) {
  NSMenu* bar = [[NSMenu alloc] init];
  NSMenuItem* item = [[NSMenuItem alloc] init];
  item.submenu = [[NSMenu alloc] initWithTitle:nsText(title)];
  [bar addItem:item];
  NSApplication.sharedApplication.mainMenu = bar;
}

void MacApplication::setActivationPolicy(ActivationPolicy policy) {
  [NSApplication.sharedApplication
      setActivationPolicy:policy == ActivationPolicy::regular
                              ? NSApplicationActivationPolicyRegular
                              : NSApplicationActivationPolicyAccessory];
}

void MacApplication::deactivate() {
  [NSApplication.sharedApplication deactivate];
}

// From macOS 14 the older call is deprecated and may leave the app behind
// the front one; the arrangement needs Kestrune in front to have the most
// items drawn.
void MacApplication::activateIgnoringOtherApps() {
  if (@available(macOS 14.0, *)) {
    [NSApplication.sharedApplication activate];
  } else {
    [NSApplication.sharedApplication activateIgnoringOtherApps:YES];
  }
}

}  // namespace kestrune
