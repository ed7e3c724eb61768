#pragma once

#include <optional>
#include <string>
#include <vector>

#include "app/settings_view.hpp"
#include "arrange/arrange_view.hpp"
#include "core/bitmap.hpp"
#include "core/geometry.hpp"

namespace kestrune::sim {

// Where the simulated Mac puts each part of the settings window, in points,
// origin at the window's top left (its title bar included). Text is measured
// with the picker's fixed average glyph width, so sizes do not depend on the
// fonts installed.
struct SettingsGeometry {
  struct Toggle {
    Rect row;
    Rect label;
    Rect track;  // the switch
  };
  struct Permission {
    Rect row;
    Rect icon;
    Rect title;
    Rect detail;  // the wrapped lines below the title
    std::vector<std::string> detailLines;
    std::optional<Rect> grantButton;
  };
  struct Section {
    Rect header;
    Rect group;  // the rounded box holding the rows
  };

  Size size;  // the whole window
  Rect titleBar;
  Rect content;            // 520 × 560
  std::vector<Rect> tabs;  // in the view model's order
  Rect tabBox;             // the tab view's bordered body
  // The General tab only: its parts in the view model's order.
  std::vector<Section> sections;
  std::vector<std::vector<Toggle>> toggles;  // per section
  std::vector<std::vector<Permission>> permissions;
  std::optional<Rect> resetGroup;
  std::optional<Rect> resetButton;
};

namespace SettingsMetrics {
inline constexpr double kTitleBarHeight = 28;
inline constexpr double kTabWidth = 150;
inline constexpr double kTabHeight = 24;
inline constexpr double kBoxInset = 14;
inline constexpr double kFormInset = 16;
inline constexpr double kHeaderHeight = 18;
inline constexpr double kSectionSpacing = 14;
inline constexpr double kToggleRowHeight = 30;
inline constexpr double kRowInset = 12;
inline constexpr double kTrackWidth = 32;
inline constexpr double kTrackHeight = 18;
inline constexpr double kIconSide = 18;
inline constexpr double kTitleFontSize = 13;
inline constexpr double kTitleLineHeight = 16;
inline constexpr double kCaptionFontSize = 10;
inline constexpr double kCaptionLineHeight = 13;
inline constexpr double kRowPadding = 8;
inline constexpr double kGrantWidth = 72;
inline constexpr double kButtonHeight = 22;
inline constexpr double kResetWidth = 132;
inline constexpr double kResetGroupHeight = 36;
inline constexpr double kDisabledOpacity = 0.4;
}  // namespace SettingsMetrics

[[nodiscard]] SettingsGeometry layoutSettingsWindow(const SettingsViewModel& view);

// Where the arrangement list of `listSize` points goes on its tab: centred
// under the tabs at its own size, or, when taller than the tab's body,
// shrunk to fit it whole, so that the buttons under a long list show.
[[nodiscard]] Rect arrangeListFrame(const SettingsGeometry& geometry, Size listSize);

// What the settings window shows at one moment, for drawing.
struct SettingsPicture {
  const SettingsViewModel& view;
  // The arrangement tab's content, drawn when that tab is selected.
  const ArrangeViewModel* arrange = nullptr;
  bool dark = false;
};

// The window as the user sees it, at `scale` pixels per point: the title
// bar with its buttons and title, the two tabs with the selected one
// filled, and the selected tab's content. On General: the grouped sections
// with their headers, each switch on (filled with the accent colour, knob
// right) or off (grey, knob left) and dimmed when disabled, the permission
// rows with a green check or an orange warning triangle, their detail and
// the "Grant…" button, and "Reset to Defaults". On Menu Bar Order: the
// arrangement list as renderArrangeView draws it.
[[nodiscard]] Bitmap renderSettingsWindow(const SettingsPicture& picture, double scale);

}  // namespace kestrune::sim
