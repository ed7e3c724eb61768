#include "mac/mac_about_panel.hpp"

#import <AppKit/AppKit.h>

#include "mac/ns_string.hpp"

namespace kestrune {

void MacAboutPanel::orderFrontStandardAboutPanel(const AboutPanelOptions& options) {
  NSFont* font = [NSFont systemFontOfSize:options.creditsFontSize];
  NSAttributedString* credits =
      [[NSAttributedString alloc] initWithString:toNSString(options.credits) ?: @""
                                      attributes:@{NSFontAttributeName : font}];
  [NSApplication.sharedApplication orderFrontStandardAboutPanelWithOptions:@{
    NSAboutPanelOptionApplicationName : toNSString(options.applicationName) ?: @"",
    NSAboutPanelOptionApplicationVersion : toNSString(options.applicationVersion) ?: @"",
    NSAboutPanelOptionVersion : toNSString(options.version) ?: @"",
    NSAboutPanelOptionCredits : credits,
  }];
}

}  // namespace kestrune
