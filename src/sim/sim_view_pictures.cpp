#include "sim/sim_view_pictures.hpp"

#include <cmath>

#include "sim/arrange_renderer.hpp"
#include "sim/cairo_bitmap.hpp"
#include "sim/picker_renderer.hpp"
#include "sim/settings_renderer.hpp"

namespace kestrune::sim {
namespace {

// The part of `image` from `origin` (points) that a view of `size` points
// shows, transparent where the image ends.
ViewPicture cut(const Bitmap& image, Point origin, Size size, double scale) {
  Surface surface = surfaceOf(static_cast<int>(std::lround(size.width * scale)),
                              static_cast<int>(std::lround(size.height * scale)));
  if (auto source = surfaceOfBitmap(image)) {
    Context cr(cairo_create(surface.get()), cairo_destroy);
    cairo_set_source_surface(cr.get(), source->get(), -origin.x * scale, -origin.y * scale);
    cairo_paint(cr.get());
  }
  return {size, bitmapOf(surface.get())};
}

}  // namespace

std::optional<ViewPicture> SimViewPictures::picker(const OverflowViewModel& view, double scale) {
  const PickerGeometry geometry = layoutPicker(view);
  return ViewPicture{geometry.size, renderPicker({view, geometry, {}, false, {}, false}, scale)};
}

std::optional<ViewPicture> SimViewPictures::panel(double scale) {
  const auto& view = panel_.content();
  if (!view) return std::nullopt;
  const bool dark = panel_.appearance() == PanelAppearance::dark;
  const Bitmap image =
      renderPicker({*view, panel_.geometry(), panel_.setup(), dark, {}, false}, scale);
  return cut(image, {}, panel_.frame().size, scale);
}

std::optional<ViewPicture> SimViewPictures::arrangeList(const ArrangeViewModel& view, Size size,
                                                        double scale) {
  return cut(renderArrangeView(view, scale, false), {}, size, scale);
}

std::optional<ViewPicture> SimViewPictures::settingsTab(const SettingsViewModel& view,
                                                        const ArrangeViewModel& arrange,
                                                        double scale) {
  const Rect content = layoutSettingsWindow(view).content;
  return cut(renderSettingsWindow({view, &arrange, false}, scale), content.origin, content.size,
             scale);
}

}  // namespace kestrune::sim
