#pragma once

#include <cairo.h>

namespace kestrune::sim {

enum class FontWeight { regular, medium, semibold, bold };

// The simulator's pictures draw text in Inter, the closest of Debian's fonts
// to the Mac's system font, and symbols from the Material Design Icons
// font, both read from the files their Debian packages install (see
// scripts/setup.sh) rather than picked by fontconfig, so that the same
// scenario draws the same bytes on any machine with those packages. Glyphs
// are neither hinted nor snapped to pixels, for the same reason. Without the
// files, text falls back to fontconfig's sans-serif and symbols to none.

// Sets `cr`'s font to Inter at `size` points in `weight`.
void useTextFont(cairo_t* cr, double size, FontWeight weight = FontWeight::regular);
// Sets `cr`'s font to the symbol font at `size` points; false without it.
bool useSymbolFont(cairo_t* cr, double size);

}  // namespace kestrune::sim
