#pragma once

#include <vector>

#include "platform/about_panel.hpp"

namespace kestrune::sim {

// The standard about panel on the simulated Mac: what it was asked to show.
class SimAboutPanel final : public AboutPanel {
 public:
  void orderFrontStandardAboutPanel(const AboutPanelOptions& options) override;

  // Each time the panel was brought to the front, oldest first.
  [[nodiscard]] const std::vector<AboutPanelOptions>& shown() const { return shown_; }
  [[nodiscard]] bool isShown() const { return !shown_.empty(); }

 private:
  std::vector<AboutPanelOptions> shown_;
};

}  // namespace kestrune::sim
