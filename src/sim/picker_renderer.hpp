#pragma once

#include <optional>
#include <string>

#include "core/bitmap.hpp"
#include "picker/panel_layout.hpp"
#include "picker/picker_view.hpp"
#include "sim/picker_geometry.hpp"
#include "sim/world.hpp"

namespace kestrune::sim {

// What the picker panel shows at one moment, for drawing.
struct PickerPicture {
  const OverflowViewModel& view;
  const PickerGeometry& geometry;
  PanelWindowSetup setup;
  bool dark = false;  // the appearance in force
  std::optional<size_t> hoveredCell;
  bool footerHovered = false;
};

// The panel as the user sees it, at `scale` pixels per point: the popover
// background with its rounded corners and border (transparent outside
// them), cells with their icons — captures as captured, app icons as a
// tile with the app's initial, symbols as a frame that names the symbol —
// labels, dimmed cells, the hint row and the footer.
[[nodiscard]] Bitmap renderPicker(const PickerPicture& picture, double scale);

// The main display's menu bar at its scale: the app menus, the notch, each
// drawn status item, the » button, and under the bar a strip naming the
// items macOS hides.
[[nodiscard]] Bitmap renderMenuBar(const World& world);

// False when the file cannot be written.
bool writePngFile(const Bitmap& image, const std::string& path);

}  // namespace kestrune::sim
