#pragma once

#include <cairo.h>

#include "core/geometry.hpp"

namespace kestrune::sim {

class World;
struct StatusItemState;

struct Colour {
  double r, g, b;
};

[[nodiscard]] Colour barColour(bool dark);
[[nodiscard]] Colour glyphColour(bool dark);

// The menu bar of the main display as the screen shows it, in points: its
// background, the Apple menu and the front app's menus, each drawn status
// item and the » button.
void drawMenuBar(cairo_t* cr, const World& world);

// What an app draws for its status item, centred in `frame`, in `ink`:
// Kestrune its own icon; the clock the time; the battery its level and
// percentage; an item with a title that title; any other the glyph it
// stands for (see symbols.hpp).
void drawStatusItem(cairo_t* cr, const World& world, const StatusItemState& item, const Rect& frame,
                    Colour ink);

}  // namespace kestrune::sim
