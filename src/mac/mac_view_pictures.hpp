#pragma once

#include "mac/mac_panel_window.hpp"
#include "platform/view_pictures.hpp"

namespace kestrune {

// Kestrune's AppKit views made from view models, each in a borderless window
// that never comes on screen, laid out with Auto Layout and drawn into a
// bitmap (cacheDisplayInRect:toBitmapImageRep:). The panel is the app's own
// panel window, drawn as it is. Main thread only.
class MacViewPictures final : public ViewPictures {
 public:
  explicit MacViewPictures(MacPanelWindow& panel) : panel_(panel) {}

  [[nodiscard]] std::optional<ViewPicture> picker(const OverflowViewModel& view,
                                                  double scale) override;
  [[nodiscard]] std::optional<ViewPicture> panel(double scale) override;
  [[nodiscard]] std::optional<ViewPicture> arrangeList(const ArrangeViewModel& view, Size size,
                                                       double scale) override;
  [[nodiscard]] std::optional<ViewPicture> settingsTab(const SettingsViewModel& view,
                                                       const ArrangeViewModel& arrange,
                                                       double scale) override;

 private:
  MacPanelWindow& panel_;
};

}  // namespace kestrune
