#pragma once

#include <string>

namespace kestrune {

// The options of the standard about panel (NSAboutPanelOptionKey).
struct AboutPanelOptions {
  std::string applicationName;
  std::string applicationVersion;  // the marketing version
  std::string version;             // the build
  std::string credits;             // in the system font
  double creditsFontSize = 11;     // points
  friend bool operator==(const AboutPanelOptions&, const AboutPanelOptions&) = default;
};

class AboutPanel {
 public:
  virtual ~AboutPanel() = default;
  // NSApp orderFrontStandardAboutPanelWithOptions:. Main thread.
  virtual void orderFrontStandardAboutPanel(const AboutPanelOptions& options) = 0;
};

}  // namespace kestrune
