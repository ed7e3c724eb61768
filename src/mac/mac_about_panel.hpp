#pragma once

#include "platform/about_panel.hpp"

namespace kestrune {

// NSApplication's standard about panel. Main thread only.
class MacAboutPanel final : public AboutPanel {
 public:
  void orderFrontStandardAboutPanel(const AboutPanelOptions& options) override;
};

}  // namespace kestrune
