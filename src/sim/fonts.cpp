#include "sim/fonts.hpp"

#include <cairo-ft.h>
#include <ft2build.h>
#include FT_FREETYPE_H

#include <array>
#include <string>

namespace kestrune::sim {
namespace {

constexpr const char* kInterFolder = "/usr/share/fonts/opentype/inter/";
constexpr std::array kInterFiles{"Inter-Regular.otf", "Inter-Medium.otf", "Inter-SemiBold.otf",
                                 "Inter-Bold.otf"};
constexpr const char* kSymbolFile =
    "/usr/share/fonts/truetype/materialdesignicons-webfont/materialdesignicons-webfont.ttf";

// A font file's face for cairo, kept for the life of the process; none when
// the file cannot be read.
cairo_font_face_t* loadFace(const std::string& path) {
  static FT_Library library = [] {
    FT_Library made = nullptr;
    return FT_Init_FreeType(&made) == 0 ? made : nullptr;
  }();
  FT_Face face = nullptr;
  if (library == nullptr || FT_New_Face(library, path.c_str(), 0, &face) != 0) return nullptr;
  return cairo_ft_font_face_create_for_ft_face(face, 0);
}

void applyOptions(cairo_t* cr, double size) {
  static cairo_font_options_t* options = [] {
    cairo_font_options_t* made = cairo_font_options_create();
    cairo_font_options_set_antialias(made, CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(made, CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(made, CAIRO_HINT_METRICS_OFF);
    return made;
  }();
  cairo_set_font_options(cr, options);
  cairo_set_font_size(cr, size);
}

}  // namespace

void useTextFont(cairo_t* cr, double size, FontWeight weight) {
  static const std::array<cairo_font_face_t*, kInterFiles.size()> faces = [] {
    std::array<cairo_font_face_t*, kInterFiles.size()> loaded{};
    for (size_t i = 0; i < kInterFiles.size(); ++i) {
      loaded[i] = loadFace(std::string(kInterFolder) + kInterFiles[i]);
    }
    return loaded;
  }();
  if (cairo_font_face_t* face = faces[static_cast<size_t>(weight)]) {
    cairo_set_font_face(cr, face);
  } else {
    const bool bold = weight == FontWeight::semibold || weight == FontWeight::bold;
    cairo_select_font_face(cr, "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                           bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
  }
  applyOptions(cr, size);
}

bool useSymbolFont(cairo_t* cr, double size) {
  static cairo_font_face_t* face = loadFace(kSymbolFile);
  if (face == nullptr) return false;
  cairo_set_font_face(cr, face);
  applyOptions(cr, size);
  return true;
}

}  // namespace kestrune::sim
