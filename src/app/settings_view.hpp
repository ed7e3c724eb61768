#pragma once

#include <optional>
#include <string>
#include <vector>

#include "app/settings_tabs.hpp"
#include "core/geometry.hpp"
#include "settings/settings.hpp"

namespace kestrune {

class GeneralSettingsModel;

// Wording and measures of the settings window, shared by every renderer.
namespace SettingsStyle {
inline constexpr const char* kWindowTitle = "Kestrune Settings";
inline constexpr double kWidth = 520;
inline constexpr double kHeight = 560;

inline constexpr const char* kGeneralTab = "General";
inline constexpr const char* kGeneralSymbol = "gearshape";
inline constexpr const char* kArrangeTab = "Menu Bar Order";
inline constexpr const char* kArrangeSymbol = "arrow.left.arrow.right";

inline constexpr const char* kGeneralSection = "General";
inline constexpr const char* kLaunchAtLogin = "Launch at login";

inline constexpr const char* kPickerSection = "Picker";
inline constexpr const char* kOnlyHiddenItems = "Only list hidden items (instead of every item)";
inline constexpr const char* kShowLabels = "Show names under icons";
inline constexpr const char* kLiveIcons = "Live icons (captured from the menu bar)";
inline constexpr const char* kHotkey = "Global shortcut \u2303\u2325\u2318T opens the picker";

inline constexpr const char* kPermissionsSection = "Permissions";
inline constexpr const char* kAccessibility = "Accessibility";
inline constexpr const char* kAccessibilityDetail =
    "Required \u2014 finds every app's menu bar item and opens its menu.";
inline constexpr const char* kScreenRecording = "Screen Recording";
inline constexpr const char* kScreenRecordingDetail =
    "Recommended \u2014 shows the real menu bar icons; without it the picker falls back to app "
    "icons.";
inline constexpr const char* kGrant = "Grant\u2026";
inline constexpr const char* kGrantedSymbol = "checkmark.circle.fill";
inline constexpr const char* kMissingSymbol = "exclamationmark.triangle.fill";

inline constexpr const char* kResetToDefaults = "Reset to Defaults";
}  // namespace SettingsStyle

struct SettingsTabItem {
  SettingsTab tab = SettingsTab::general;
  std::string label;
  std::string symbol;
};

// What each switch of the General tab changes.
enum class SettingsToggleKind {
  launchAtLogin,
  onlyHiddenItems,
  showLabels,
  liveIcons,
  hotkeyEnabled
};

// The field of the settings record a toggle writes; none for the login item,
// which lives outside the record.
[[nodiscard]] std::optional<bool Settings::*> settingsField(SettingsToggleKind kind);

struct SettingsToggle {
  SettingsToggleKind kind = SettingsToggleKind::onlyHiddenItems;
  std::string label;
  bool isOn = false;
  bool enabled = true;
  std::string help;  // the tooltip; empty for none
};

enum class PermissionKind { accessibility, screenRecording };

// The colour a permission row's symbol is tinted with (systemGreen and
// systemOrange on the Mac).
enum class SymbolTint { green, orange };

// One permission: its state symbol, its title over its detail (the detail
// in the caption font, secondary), and while not granted a button that asks
// for it.
struct PermissionRow {
  PermissionKind kind = PermissionKind::accessibility;
  std::string title;
  std::string detail;
  bool granted = false;
  std::string symbol;
  SymbolTint tint = SymbolTint::orange;
  std::optional<std::string> grantButton;
};

// One grouped section of the form, with its header; holds toggles or
// permission rows.
struct SettingsSection {
  std::string header;
  std::vector<SettingsToggle> toggles;
  std::vector<PermissionRow> permissions;
};

// The General tab, top to bottom: its sections, then a section holding
// only the reset button.
struct GeneralSettingsViewModel {
  std::vector<SettingsSection> sections;
  std::string resetButton = SettingsStyle::kResetToDefaults;
};

// Everything the settings window shows apart from the arrangement list,
// which describeArrangeView gives.
struct SettingsViewModel {
  std::string title = SettingsStyle::kWindowTitle;
  Size contentSize{SettingsStyle::kWidth, SettingsStyle::kHeight};
  std::vector<SettingsTabItem> tabs;  // in the window's order
  SettingsTab selected = SettingsTab::general;
  GeneralSettingsViewModel general;
};

// What the General tab reads besides the settings record.
struct GeneralSettingsState {
  bool axGranted = false;
  bool srGranted = false;
  bool launchAtLogin = false;
  // Why the login item cannot be changed here; none when it can.
  std::optional<std::string> loginUnavailable;
};

[[nodiscard]] GeneralSettingsViewModel describeGeneralSettings(const Settings& settings,
                                                               const GeneralSettingsState& state);
[[nodiscard]] SettingsViewModel describeSettingsView(SettingsTab selected, const Settings& settings,
                                                     const GeneralSettingsState& state);
[[nodiscard]] SettingsViewModel describeSettingsView(SettingsTab selected,
                                                     const GeneralSettingsModel& general);

// Lookups by what the user sees, for the simulated window's clicks and for
// tests; none when nothing carries the text.
[[nodiscard]] const SettingsToggle* findToggle(const GeneralSettingsViewModel& view,
                                               const std::string& label);
[[nodiscard]] const PermissionRow* findPermission(const GeneralSettingsViewModel& view,
                                                  const std::string& title);

}  // namespace kestrune
