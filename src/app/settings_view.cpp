#include "app/settings_view.hpp"

#include "app/general_settings.hpp"

namespace kestrune {
namespace {

SettingsToggle toggle(SettingsToggleKind kind, const char* label, bool isOn) {
  SettingsToggle t;
  t.kind = kind;
  t.label = label;
  t.isOn = isOn;
  return t;
}

PermissionRow permission(PermissionKind kind, const char* title, const char* detail, bool granted) {
  PermissionRow row;
  row.kind = kind;
  row.title = title;
  row.detail = detail;
  row.granted = granted;
  row.symbol = granted ? SettingsStyle::kGrantedSymbol : SettingsStyle::kMissingSymbol;
  row.tint = granted ? SymbolTint::green : SymbolTint::orange;
  if (!granted) row.grantButton = SettingsStyle::kGrant;
  return row;
}

SettingsSection generalSection(const GeneralSettingsState& state) {
  SettingsToggle login =
      toggle(SettingsToggleKind::launchAtLogin, SettingsStyle::kLaunchAtLogin, state.launchAtLogin);
  login.enabled = !state.loginUnavailable;
  if (state.loginUnavailable) login.help = *state.loginUnavailable;
  return {SettingsStyle::kGeneralSection, {login}, {}};
}

SettingsSection pickerSection(const Settings& s) {
  return {SettingsStyle::kPickerSection,
          {toggle(SettingsToggleKind::onlyHiddenItems, SettingsStyle::kOnlyHiddenItems,
                  s.onlyHiddenItems),
           toggle(SettingsToggleKind::showLabels, SettingsStyle::kShowLabels, s.showLabels),
           toggle(SettingsToggleKind::liveIcons, SettingsStyle::kLiveIcons, s.liveIcons),
           toggle(SettingsToggleKind::hotkeyEnabled, SettingsStyle::kHotkey, s.hotkeyEnabled)},
          {}};
}

SettingsSection permissionsSection(const GeneralSettingsState& state) {
  return {SettingsStyle::kPermissionsSection,
          {},
          {permission(PermissionKind::accessibility, SettingsStyle::kAccessibility,
                      SettingsStyle::kAccessibilityDetail, state.axGranted),
           permission(PermissionKind::screenRecording, SettingsStyle::kScreenRecording,
                      SettingsStyle::kScreenRecordingDetail, state.srGranted)}};
}

}  // namespace

std::optional<bool Settings::*> settingsField(SettingsToggleKind kind) {
  switch (kind) {
    case SettingsToggleKind::launchAtLogin:
      return std::nullopt;
    case SettingsToggleKind::onlyHiddenItems:
      return &Settings::onlyHiddenItems;
    case SettingsToggleKind::showLabels:
      return &Settings::showLabels;
    case SettingsToggleKind::liveIcons:
      return &Settings::liveIcons;
    case SettingsToggleKind::hotkeyEnabled:
      return &Settings::hotkeyEnabled;
  }
  return std::nullopt;
}

GeneralSettingsViewModel describeGeneralSettings(const Settings& settings,
                                                 const GeneralSettingsState& state) {
  GeneralSettingsViewModel view;
  view.sections = {generalSection(state), pickerSection(settings), permissionsSection(state)};
  return view;
}

SettingsViewModel describeSettingsView(SettingsTab selected, const Settings& settings,
                                       const GeneralSettingsState& state) {
  SettingsViewModel view;
  view.tabs = {{SettingsTab::general, SettingsStyle::kGeneralTab, SettingsStyle::kGeneralSymbol},
               {SettingsTab::arrange, SettingsStyle::kArrangeTab, SettingsStyle::kArrangeSymbol}};
  view.selected = selected;
  view.general = describeGeneralSettings(settings, state);
  return view;
}

SettingsViewModel describeSettingsView(SettingsTab selected, const GeneralSettingsModel& general) {
  return describeSettingsView(selected, general.store().settings(), general.state());
}

const SettingsToggle* findToggle(const GeneralSettingsViewModel& view, const std::string& label) {
  for (const auto& section : view.sections) {
    for (const auto& t : section.toggles) {
      if (t.label == label) return &t;
    }
  }
  return nullptr;
}

const PermissionRow* findPermission(const GeneralSettingsViewModel& view,
                                    const std::string& title) {
  for (const auto& section : view.sections) {
    for (const auto& row : section.permissions) {
      if (row.title == title) return &row;
    }
  }
  return nullptr;
}

}  // namespace kestrune
