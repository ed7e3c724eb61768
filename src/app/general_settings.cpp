#include "app/general_settings.hpp"

namespace kestrune {

std::shared_ptr<GeneralSettingsModel> GeneralSettingsModel::create(const Dependencies& services) {
  std::shared_ptr<GeneralSettingsModel> model(new GeneralSettingsModel(services));
  model->refresh();
  return model;
}

GeneralSettingsModel::GeneralSettingsModel(const Dependencies& services)
    : store_(services.store),
      accessibility_(services.accessibility),
      screenCapture_(services.screenCapture),
      workspace_(services.workspace),
      login_(services.launchAtLogin),
      alerts_(services.alerts),
      permissions_(services.permissions),
      main_(services.main),
      loginUnavailable_(services.launchAtLogin.unavailableReason()) {}

GeneralSettingsState GeneralSettingsModel::state() const {
  return {axGranted.get(), srGranted.get(), launchAtLogin.get(), loginUnavailable_};
}

void GeneralSettingsModel::update(Published<bool>& value, bool now) {
  if (value.get() != now) value = now;
}

void GeneralSettingsModel::start() {
  refresh();
  if (isRefreshing()) return;
  std::weak_ptr<GeneralSettingsModel> weak = weak_from_this();
  refreshTimer_ = main_.scheduleRepeating(kRefreshInterval, [weak] {
    if (auto self = weak.lock()) self->refresh();
  });
}

void GeneralSettingsModel::stop() {
  refreshTimer_.invalidate();
}

void GeneralSettingsModel::refresh() {
  update(axGranted, accessibility_.isProcessTrusted());
  update(srGranted, screenCapture_.preflightAccess());
  update(launchAtLogin, login_.isEnabled());
}

void GeneralSettingsModel::setLaunchAtLogin(bool enabled) {
  if (loginUnavailable_) return;  // the switch is disabled
  update(launchAtLogin, enabled);
  if (auto error = login_.set(enabled)) alerts_.showError(*error);
  update(launchAtLogin, login_.isEnabled());
}

void GeneralSettingsModel::setToggle(SettingsToggleKind kind, bool isOn) {
  if (const auto field = settingsField(kind)) {
    store_.set(*field, isOn);
  } else {
    setLaunchAtLogin(isOn);
  }
}

void GeneralSettingsModel::grantAccessibility() {
  accessibility_.isProcessTrustedWithOptions(true);
  workspace_.openURL(Permissions::kAccessibilityPaneURL);
}

void GeneralSettingsModel::grantScreenRecording() {
  permissions_.requestScreenRecordingAndRelaunch(kScreenRecordingTimeout);
}

void GeneralSettingsModel::grant(PermissionKind kind) {
  switch (kind) {
    case PermissionKind::accessibility:
      grantAccessibility();
      return;
    case PermissionKind::screenRecording:
      grantScreenRecording();
      return;
  }
}

void GeneralSettingsModel::resetToDefaults() {
  store_.setSettings(Settings{});
}

}  // namespace kestrune
