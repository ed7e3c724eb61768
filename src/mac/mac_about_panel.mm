#include "mac/mac_about_panel.hpp"

#import <AppKit/AppKit.h>

#include "mac/ns_string.hpp"

namespace kestrune {

void MacAboutPanel::orderFrontStandardAboutPanel(const AboutPanelOptions& options) {
  NSFont* font = [NSFont systemFontOfSize:options.creditsFontSize];
  NSAttributedString* credits =
      [[NSAttributedString alloc] initWithString:nsText(options.credits)
                                      attributes:@{NSFontAttributeName : font}];
  [NSApplication.sharedApplication orderFrontStandardAboutPanelWithOptions:@{
    NSAboutPanelOptionApplicationName : nsText(options.applicationName),
    NSAboutPanelOptionApplicationVersion : nsText(options.applicationVersion),
    NSAboutPanelOptionVersion : nsText(options.version),
    NSAboutPanelOptionCredits : credits,
  }];
}

}  // namespace kestrune
