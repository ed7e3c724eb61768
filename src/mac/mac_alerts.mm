#include "mac/mac_alerts.hpp"

#import <AppKit/AppKit.h>

#include "mac/ns_string.hpp"

namespace kestrune {
namespace {

// The button's index from AppKit's response, which counts from
// NSAlertFirstButtonReturn.
size_t buttonIndex(NSModalResponse response, size_t buttonCount) {
  const NSModalResponse offset = response - NSAlertFirstButtonReturn;
  if (offset >= 0 && static_cast<size_t>(offset) < buttonCount) return static_cast<size_t>(offset);
  return buttonCount == 0 ? 0 : buttonCount - 1;
}

// AppKit must not be given nil here: text that is not UTF-8 shows as empty.
NSString* text(const std::string& utf8) {
  NSString* string = toNSString(utf8);
  return string != nil ? string : @"";
}

}  // namespace

size_t MacAlerts::runModal(const AlertRequest& request) {
  NSAlert* alert = [[NSAlert alloc] init];
  alert.alertStyle = NSAlertStyleInformational;
  alert.icon = NSApplication.sharedApplication.applicationIconImage;
  alert.messageText = text(request.message);
  alert.informativeText = text(request.informativeText);
  for (const std::string& title : request.buttons) {
    [alert addButtonWithTitle:text(title)];
  }
  return buttonIndex([alert runModal], request.buttons.size());
}

void MacAlerts::showError(const PlatformError& failure) {
  NSMutableDictionary<NSErrorUserInfoKey, id>* info =
      [NSMutableDictionary dictionaryWithObject:text(failure.description)
                                         forKey:NSLocalizedDescriptionKey];
  if (failure.recoverySuggestion) {
    info[NSLocalizedRecoverySuggestionErrorKey] = text(*failure.recoverySuggestion);
  }
  NSError* error = [NSError errorWithDomain:@"Kestrune" code:0 userInfo:info];
  [[NSAlert alertWithError:error] runModal];
}

}  // namespace kestrune
