#include "sim/settings_renderer.hpp"

#include <cmath>

#include "sim/arrange_renderer.hpp"
#include "sim/cairo_bitmap.hpp"
#include "sim/canvas.hpp"
#include "sim/picker_geometry.hpp"

namespace kestrune::sim {
namespace {

using namespace SettingsMetrics;

constexpr Colour kAccent{0.1, 0.45, 0.95};
constexpr Colour kGreen{0.2, 0.78, 0.35};
constexpr Colour kOrange{1.0, 0.58, 0.0};
constexpr Colour kWhite{1, 1, 1};
constexpr Colour kClose{1.0, 0.37, 0.34};
constexpr Colour kMinimise{1.0, 0.74, 0.18};
constexpr double kHeaderFontSize = 11;
constexpr double kButtonFontSize = 12;
constexpr double kKnobInset = 2;

// The form's own colours beside the shared palette.
struct FormColours {
  Colour box;    // the tab view's body
  Colour group;  // a section's rounded box
  Colour trackOff;
  Colour titleBar;
};

FormColours formColoursFor(bool dark) {
  if (dark) return {{0.2, 0.2, 0.21}, {0.25, 0.25, 0.26}, {0.4, 0.4, 0.42}, {0.22, 0.22, 0.23}};
  return {{0.91, 0.91, 0.92}, {1, 1, 1}, {0.8, 0.8, 0.82}, {0.88, 0.88, 0.89}};
}

SettingsGeometry::Toggle layoutToggle(double left, double inner, double y) {
  const double h = kToggleRowHeight;
  return {Rect{left, y, inner, h},
          Rect{left + kRowInset, y, inner - 2 * kRowInset - kTrackWidth - 8, h},
          Rect{left + inner - kRowInset - kTrackWidth, y + (h - kTrackHeight) / 2, kTrackWidth,
               kTrackHeight}};
}

SettingsGeometry::Permission layoutPermission(const PermissionRow& row, double left, double inner,
                                              double y) {
  SettingsGeometry::Permission p;
  const double textLeft = left + kRowInset + kIconSide + 10;
  const double buttonSpace = row.grantButton ? kGrantWidth + 10 : 0;
  const double textWidth = left + inner - kRowInset - buttonSpace - textLeft;
  p.detailLines = wrapText(row.detail, textWidth, kCaptionFontSize);
  const double detailHeight = static_cast<double>(p.detailLines.size()) * kCaptionLineHeight;
  const double h = 2 * kRowPadding + kTitleLineHeight + detailHeight;
  p.row = Rect{left, y, inner, h};
  p.icon = Rect{left + kRowInset, y + (h - kIconSide) / 2, kIconSide, kIconSide};
  p.title = Rect{textLeft, y + kRowPadding, textWidth, kTitleLineHeight};
  p.detail = Rect{textLeft, y + kRowPadding + kTitleLineHeight, textWidth, detailHeight};
  if (row.grantButton) {
    p.grantButton = Rect{left + inner - kRowInset - kGrantWidth, y + (h - kButtonHeight) / 2,
                         kGrantWidth, kButtonHeight};
  }
  return p;
}

void layoutGeneral(const GeneralSettingsViewModel& view, SettingsGeometry& g) {
  const double left = g.tabBox.minX() + kFormInset;
  const double inner = g.tabBox.width() - 2 * kFormInset;
  double y = g.tabBox.minY() + kTabHeight / 2 + kFormInset;
  for (const auto& section : view.sections) {
    SettingsGeometry::Section s;
    s.header = Rect{left + 4, y, inner - 4, kHeaderHeight};
    y += kHeaderHeight;
    const double top = y;
    auto& toggles = g.toggles.emplace_back();
    for (size_t i = 0; i < section.toggles.size(); ++i) {
      toggles.push_back(layoutToggle(left, inner, y));
      y += kToggleRowHeight;
    }
    auto& permissions = g.permissions.emplace_back();
    for (const auto& row : section.permissions) {
      permissions.push_back(layoutPermission(row, left, inner, y));
      y = permissions.back().row.maxY();
    }
    s.group = Rect{left, top, inner, y - top};
    g.sections.push_back(s);
    y += kSectionSpacing;
  }
  g.resetGroup = Rect{left, y, inner, kResetGroupHeight};
  g.resetButton = Rect{left + kRowInset, y + (kResetGroupHeight - kButtonHeight) / 2, kResetWidth,
                       kButtonHeight};
}

void drawTitleBar(cairo_t* cr, const SettingsViewModel& view, const SettingsGeometry& g,
                  const Palette& palette, const FormColours& form) {
  setColour(cr, form.titleBar);
  cairo_rectangle(cr, g.titleBar.minX(), g.titleBar.minY(), g.titleBar.width(),
                  g.titleBar.height());
  cairo_fill(cr);
  setColour(cr, palette.separator);
  cairo_rectangle(cr, 0, g.titleBar.maxY() - 0.5, g.titleBar.width(), 0.5);
  cairo_fill(cr);
  // Close and minimise; the window cannot be zoomed, so that button is grey.
  const Colour buttons[] = {kClose, kMinimise, palette.separator};
  for (int i = 0; i < 3; ++i) {
    setColour(cr, buttons[i]);
    cairo_arc(cr, 14 + 20 * i, g.titleBar.midY(), 6, 0, 2 * M_PI);
    cairo_fill(cr);
  }
  drawText(cr, view.title, g.titleBar, kTitleFontSize, palette.foreground, Align::centre,
           FontWeight::bold);
}

void drawTabs(cairo_t* cr, const SettingsViewModel& view, const SettingsGeometry& g,
              const Palette& palette, const FormColours& form) {
  roundedRect(cr, g.tabBox, 6);
  setColour(cr, form.box);
  cairo_fill_preserve(cr);
  setColour(cr, palette.separator);
  cairo_set_line_width(cr, 0.5);
  cairo_stroke(cr);
  for (size_t i = 0; i < view.tabs.size() && i < g.tabs.size(); ++i) {
    const bool selected = view.tabs[i].tab == view.selected;
    const Rect& r = g.tabs[i];
    cairo_rectangle(cr, r.minX(), r.minY(), r.width(), r.height());
    setColour(cr, selected ? kAccent : form.group);
    cairo_fill_preserve(cr);
    setColour(cr, palette.separator);
    cairo_set_line_width(cr, 0.5);
    cairo_stroke(cr);
    drawText(cr, view.tabs[i].label, r, kButtonFontSize, selected ? kWhite : palette.foreground,
             Align::centre);
  }
}

void drawGroup(cairo_t* cr, const Rect& group, const Palette& palette, const FormColours& form) {
  roundedRect(cr, group, 8);
  setColour(cr, form.group);
  cairo_fill_preserve(cr);
  setColour(cr, palette.separator);
  cairo_set_line_width(cr, 0.5);
  cairo_stroke(cr);
}

void drawRowSeparator(cairo_t* cr, const Rect& row, const Palette& palette) {
  setColour(cr, palette.separator);
  cairo_rectangle(cr, row.minX() + kRowInset, row.minY(), row.width() - kRowInset, 0.5);
  cairo_fill(cr);
}

void drawButton(cairo_t* cr, const std::string& title, const Rect& box, const Palette& palette,
                const FormColours& form) {
  roundedRect(cr, box, 5);
  setColour(cr, form.group);
  cairo_fill_preserve(cr);
  setColour(cr, palette.separator);
  cairo_set_line_width(cr, 1);
  cairo_stroke(cr);
  drawText(cr, title, box, kButtonFontSize, palette.foreground, Align::centre);
}

void drawToggle(cairo_t* cr, const SettingsToggle& toggle, const SettingsGeometry::Toggle& g,
                const Palette& palette, const FormColours& form) {
  cairo_push_group(cr);
  drawText(cr, toggle.label, g.label, kTitleFontSize, palette.foreground, Align::left);
  roundedRect(cr, g.track, kTrackHeight / 2);
  setColour(cr, toggle.isOn ? kAccent : form.trackOff);
  cairo_fill(cr);
  const double radius = kTrackHeight / 2 - kKnobInset;
  const double knobX =
      toggle.isOn ? g.track.maxX() - kTrackHeight / 2 : g.track.minX() + kTrackHeight / 2;
  setColour(cr, kWhite);
  cairo_arc(cr, knobX, g.track.midY(), radius, 0, 2 * M_PI);
  cairo_fill(cr);
  cairo_pop_group_to_source(cr);
  cairo_paint_with_alpha(cr, toggle.enabled ? 1.0 : kDisabledOpacity);
}

// checkmark.circle.fill: a filled circle with a check cut out of it.
void drawGrantedSymbol(cairo_t* cr, const Rect& box) {
  const double cx = box.midX();
  const double cy = box.midY();
  setColour(cr, kGreen);
  cairo_arc(cr, cx, cy, box.width() / 2, 0, 2 * M_PI);
  cairo_fill(cr);
  setColour(cr, kWhite);
  cairo_set_line_width(cr, 2);
  cairo_move_to(cr, cx - 4, cy);
  cairo_line_to(cr, cx - 1, cy + 3);
  cairo_line_to(cr, cx + 4, cy - 4);
  cairo_stroke(cr);
}

// exclamationmark.triangle.fill: a filled triangle with "!" cut out of it.
void drawMissingSymbol(cairo_t* cr, const Rect& box) {
  const double cx = box.midX();
  setColour(cr, kOrange);
  cairo_move_to(cr, cx, box.minY() + 1);
  cairo_line_to(cr, box.maxX(), box.maxY() - 2);
  cairo_line_to(cr, box.minX(), box.maxY() - 2);
  cairo_close_path(cr);
  cairo_fill(cr);
  setColour(cr, kWhite);
  cairo_rectangle(cr, cx - 1, box.minY() + 6, 2, 6);
  cairo_rectangle(cr, cx - 1, box.maxY() - 5, 2, 2);
  cairo_fill(cr);
}

void drawPermission(cairo_t* cr, const PermissionRow& row, const SettingsGeometry::Permission& g,
                    const Palette& palette, const FormColours& form) {
  if (row.tint == SymbolTint::green) {
    drawGrantedSymbol(cr, g.icon);
  } else {
    drawMissingSymbol(cr, g.icon);
  }
  drawText(cr, row.title, g.title, kTitleFontSize, palette.foreground, Align::left);
  double y = g.detail.minY();
  for (const auto& line : g.detailLines) {
    drawText(cr, line, {g.detail.minX(), y, g.detail.width(), kCaptionLineHeight}, kCaptionFontSize,
             palette.secondary, Align::left);
    y += kCaptionLineHeight;
  }
  if (row.grantButton && g.grantButton) {
    drawButton(cr, *row.grantButton, *g.grantButton, palette, form);
  }
}

void drawGeneral(cairo_t* cr, const GeneralSettingsViewModel& view, const SettingsGeometry& g,
                 const Palette& palette, const FormColours& form) {
  for (size_t s = 0; s < view.sections.size() && s < g.sections.size(); ++s) {
    const SettingsSection& section = view.sections[s];
    drawText(cr, section.header, g.sections[s].header, kHeaderFontSize, palette.secondary,
             Align::left, FontWeight::semibold);
    drawGroup(cr, g.sections[s].group, palette, form);
    bool first = true;
    for (size_t i = 0; i < section.toggles.size(); ++i) {
      if (!first) drawRowSeparator(cr, g.toggles[s][i].row, palette);
      drawToggle(cr, section.toggles[i], g.toggles[s][i], palette, form);
      first = false;
    }
    for (size_t i = 0; i < section.permissions.size(); ++i) {
      if (!first) drawRowSeparator(cr, g.permissions[s][i].row, palette);
      drawPermission(cr, section.permissions[i], g.permissions[s][i], palette, form);
      first = false;
    }
  }
  if (g.resetGroup && g.resetButton) {
    drawGroup(cr, *g.resetGroup, palette, form);
    drawButton(cr, view.resetButton, *g.resetButton, palette, form);
  }
}

void drawArrange(cairo_t* cr, const ArrangeViewModel& view, const SettingsGeometry& g, double scale,
                 bool dark) {
  const Bitmap list = renderArrangeView(view, scale, dark);
  const Rect frame = arrangeListFrame(g, {list.width / scale, list.height / scale});
  cairo_save(cr);
  // Inside the body's border, which stays drawn.
  cairo_rectangle(cr, g.tabBox.minX() + 1, g.tabBox.minY() + 1, g.tabBox.width() - 2,
                  g.tabBox.height() - 2);
  cairo_clip(cr);
  drawBitmap(cr, list, frame);
  cairo_restore(cr);
}

}  // namespace

SettingsGeometry layoutSettingsWindow(const SettingsViewModel& view) {
  SettingsGeometry g;
  const double width = view.contentSize.width;
  g.size = Size{width, view.contentSize.height + kTitleBarHeight};
  g.titleBar = Rect{0, 0, width, kTitleBarHeight};
  g.content = Rect{0, kTitleBarHeight, width, view.contentSize.height};
  const double tabsWidth = kTabWidth * static_cast<double>(view.tabs.size());
  double x = (width - tabsWidth) / 2;
  const double tabY = kTitleBarHeight + 8;
  for (size_t i = 0; i < view.tabs.size(); ++i) {
    g.tabs.emplace_back(x, tabY, kTabWidth, kTabHeight);
    x += kTabWidth;
  }
  const double boxTop = tabY + kTabHeight / 2;
  g.tabBox = Rect{kBoxInset, boxTop, width - 2 * kBoxInset, g.size.height - kBoxInset - boxTop};
  if (view.selected == SettingsTab::general) layoutGeneral(view.general, g);
  return g;
}

Rect arrangeListFrame(const SettingsGeometry& g, Size listSize) {
  const double top = g.tabBox.minY() + kTabHeight / 2 + 4;
  const double room = g.tabBox.maxY() - 4 - top;
  const double fit = listSize.height > room ? room / listSize.height : 1.0;
  const double width = listSize.width * fit;
  return {g.tabBox.midX() - width / 2, top, width, listSize.height * fit};
}

Bitmap renderSettingsWindow(const SettingsPicture& picture, double scale) {
  const SettingsViewModel& view = picture.view;
  const SettingsGeometry g = layoutSettingsWindow(view);
  const Palette palette = paletteFor(picture.dark);
  const FormColours form = formColoursFor(picture.dark);
  Surface surface = surfaceOf(static_cast<int>(std::ceil(g.size.width * scale)),
                              static_cast<int>(std::ceil(g.size.height * scale)));
  Context context(cairo_create(surface.get()), cairo_destroy);
  cairo_t* cr = context.get();
  cairo_scale(cr, scale, scale);
  setColour(cr, palette.background);
  cairo_paint(cr);
  drawTitleBar(cr, view, g, palette, form);
  drawTabs(cr, view, g, palette, form);
  if (view.selected == SettingsTab::general) {
    drawGeneral(cr, view.general, g, palette, form);
  } else if (picture.arrange) {
    drawArrange(cr, *picture.arrange, g, scale, picture.dark);
  }
  return bitmapOf(surface.get());
}

}  // namespace kestrune::sim
