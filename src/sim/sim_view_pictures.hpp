#pragma once

#include "platform/view_pictures.hpp"
#include "sim/sim_panel_window.hpp"

namespace kestrune::sim {

// Kestrune's views as the simulator's renderers draw them, each cut or
// padded to the size it was laid out at.
class SimViewPictures final : public ViewPictures {
 public:
  explicit SimViewPictures(SimPanelWindow& panel) : panel_(panel) {}

  [[nodiscard]] std::optional<ViewPicture> picker(const OverflowViewModel& view,
                                                  double scale) override;
  [[nodiscard]] std::optional<ViewPicture> panel(double scale) override;
  [[nodiscard]] std::optional<ViewPicture> arrangeList(const ArrangeViewModel& view, Size size,
                                                       double scale) override;
  [[nodiscard]] std::optional<ViewPicture> settingsTab(const SettingsViewModel& view,
                                                       const ArrangeViewModel& arrange,
                                                       double scale) override;

 private:
  SimPanelWindow& panel_;
};

}  // namespace kestrune::sim
