#pragma once

#include <cairo.h>

#include <optional>
#include <string>
#include <string_view>

#include "core/geometry.hpp"
#include "sim/bar_drawing.hpp"

namespace kestrune::sim {

// The glyph of the symbol font (Material Design Icons) that stands for
// `name`: a system symbol the product names ("wifi", "gearshape"), or an
// app's bundle name ("Dropbox.app") for the monochrome glyph the app draws
// in the menu bar and on its icon. None for any other name.
[[nodiscard]] std::optional<char32_t> knownGlyph(std::string_view name);
// The same, with a generic glyph for unknown names.
[[nodiscard]] char32_t symbolGlyph(std::string_view name);
// The last part of a bundle's path: its name in the table above.
[[nodiscard]] std::string bundleName(std::string_view bundlePath);

// Draws the glyph for `name` in `colour`, centred in `box` and as large as
// the box's smaller side allows.
void drawSymbolGlyph(cairo_t* cr, std::string_view name, const Rect& box, Colour colour);

}  // namespace kestrune::sim
