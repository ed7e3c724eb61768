#pragma once

#include <optional>

#include "app/settings_view.hpp"
#include "arrange/arrange_view.hpp"
#include "core/bitmap.hpp"
#include "core/geometry.hpp"
#include "picker/picker_view.hpp"

namespace kestrune {

// A view drawn off screen: the size it was laid out at, in points, and its
// pixels at the scale asked for.
struct ViewPicture {
  Size size;
  Bitmap pixels;
};

// Kestrune's views laid out as the app lays them out and drawn off screen,
// never shown, so that a person (and a check) can see what they look like.
// None when a view cannot be drawn. Main thread only.
class ViewPictures {
 public:
  virtual ~ViewPictures() = default;
  // The picker's views, `view.width` points wide and as tall as they fit.
  [[nodiscard]] virtual std::optional<ViewPicture> picker(const OverflowViewModel& view,
                                                          double scale) = 0;
  // The picker's panel window (the shell's PanelWindow) with the content
  // and frame it has now.
  [[nodiscard]] virtual std::optional<ViewPicture> panel(double scale) = 0;
  // The arrangement list alone, laid out at `size`.
  [[nodiscard]] virtual std::optional<ViewPicture> arrangeList(const ArrangeViewModel& view,
                                                               Size size, double scale) = 0;
  // The settings window's content area showing the selected tab of `view`;
  // the "Menu Bar Order" tab shows `arrange`.
  [[nodiscard]] virtual std::optional<ViewPicture> settingsTab(const SettingsViewModel& view,
                                                               const ArrangeViewModel& arrange,
                                                               double scale) = 0;
};

}  // namespace kestrune
