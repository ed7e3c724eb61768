#include "sim/sim_about_panel.hpp"

namespace kestrune::sim {

// The panel is a single window: showing it again brings the same one
// forward with the new values.
void SimAboutPanel::orderFrontStandardAboutPanel(const AboutPanelOptions& options) {
  shown_.push_back(options);
}

}  // namespace kestrune::sim
