#include "app/app_delegate.hpp"

#include "app/general_settings.hpp"
#include "discovery/item_scanner.hpp"

namespace kestrune {

namespace {

constexpr const char* kMainItem = "Kestrune.main";
constexpr const char* kStaleItems[] = {"Kestrune.divider", "Kestrune.spacer", "Kestrune.spacer2"};

const char* yesNo(bool value) {
  return value ? "true" : "false";
}

}  // namespace

std::shared_ptr<AppDelegate> AppDelegate::create(const Platform& platform, ShellPorts ports,
                                                 std::ostream& debugOut) {
  return std::shared_ptr<AppDelegate>(new AppDelegate(platform, std::move(ports), debugOut));
}

AppDelegate::AppDelegate(const Platform& platform, ShellPorts ports, std::ostream& debugOut)
    : platform_(platform),
      ports_(std::move(ports)),
      debugOut_(debugOut),
      store_(platform.defaults),
      layout_(platform),
      diag_(platform.fileSystem, platform.system, platform.executors),
      permissions_(platform),
      activator_(platform, layout_.isModern()),
      launchAtLogin_(platform.application, platform.fileSystem, platform.defaults,
                     ports_.loginItems, diag_),
      updater_(platform.application, ports_.makeUpdater),
      hotkeys_(ports_.hotKeys) {}

AppDelegate::~AppDelegate() = default;

void AppDelegate::seedInitialPositions(UserDefaults& defaults) {
  // AppKit counts the preferred position from the bar's right end.
  defaults.setInteger(std::string(kPositionPrefix) + kMainItem, 1);
  defaults.setBool(std::string(kVisiblePrefix) + kMainItem, true);
  for (const char* name : kStaleItems) {
    defaults.removeObject(std::string(kPositionPrefix) + name);
    defaults.removeObject(std::string(kVisiblePrefix) + name);
  }
  defaults.synchronize();
}

void AppDelegate::applicationDidFinishLaunching() {
  model_ = OverflowModel::create(platform_, layout_, store_, diag_, debugOut_);
  std::weak_ptr<AppDelegate> weak = weak_from_this();
  panel_ = OverflowPanel::create(
      model_, store_, layout_.isModern(), platform_, ports_.panelWindow,
      {[weak](const MenuBarItem& item) {
         if (auto self = weak.lock()) self->activator_.press(item);
       },
       [weak] {
         if (auto self = weak.lock()) {
           self->permissions_.requestScreenRecordingAndRelaunch(kScreenRecordingTimeout);
         }
       }});
  // Before the item exists, so that AppKit places it by these values.
  seedInitialPositions(platform_.defaults);
  statusBar_ = StatusBarController::create(
      store_, panel_, {platform_, ports_.statusBar, ports_.alerts, ports_.aboutPanel},
      statusBarHooks());
  installOwnFrames();
  logLaunch();
  model_->startWarming();
  launchAtLogin_.applyDefaultOnce();
  hotkeys_.onTrigger = [weak] {
    auto self = weak.lock();
    if (self && self->statusBar_) self->statusBar_->togglePanel();
  };
  cancellables_.push_back(store_.sinkField(&Settings::hotkeyEnabled, [weak](bool enabled) {
    auto self = weak.lock();
    if (!self) return;
    if (enabled) {
      self->hotkeys_.enable();
    } else {
      self->hotkeys_.disable();
    }
  }));
  // The two permissions are never asked for in the same launch.
  if (!platform_.accessibility.isProcessTrustedWithOptions(false)) {
    showOnboarding();
    return;
  }
  if (!platform_.screenCapture.preflightAccess() &&
      !platform_.defaults.boolForKey(kAskedScreenRecordingKey)) {
    askForScreenRecording();
    return;
  }
  platform_.executors.main().postAfter(kHintDelay, [weak] {
    if (auto self = weak.lock()) self->hintIfOwnIconHidden();
  });
}

StatusBarController::Hooks AppDelegate::statusBarHooks() {
  std::weak_ptr<AppDelegate> weak = weak_from_this();
  StatusBarController::Hooks hooks;
  hooks.loginItemUnavailable = [this] { return launchAtLogin_.unavailableReason(); };
  hooks.loginItemEnabled = [this] { return launchAtLogin_.isEnabled(); };
  hooks.setLoginItem = [this](bool enabled) { return launchAtLogin_.set(enabled); };
  hooks.updaterAvailable = updater_.isAvailable();
  hooks.checkForUpdates = [this] { updater_.checkForUpdates(); };
  hooks.canCheckForUpdates = [this] { return updater_.canCheckForUpdates(); };
  hooks.makeArrangeModel = [this, weak](ArrangeModel::OwnIconFrame ownIconFrame) {
    return ArrangeModel::create(platform_, layout_, diag_, std::move(ownIconFrame), [weak] {
      auto self = weak.lock();
      return self ? self->model_->images.get() : std::map<uint32_t, Image>{};
    });
  };
  hooks.makeSettingsWindow = [this](SettingsTabSelection& tabs,
                                    std::shared_ptr<ArrangeModel> arrange) {
    auto general = GeneralSettingsModel::create(
        {store_, platform_.accessibility, platform_.screenCapture, platform_.workspace,
         launchAtLogin_, ports_.alerts, permissions_, platform_.executors.main()});
    return ports_.settingsWindows.make(tabs, std::move(general), std::move(arrange));
  };
  return hooks;
}

void AppDelegate::installOwnFrames() {
  std::weak_ptr<AppDelegate> weak = weak_from_this();
  ItemScanner::setOwnFrames([weak]() -> std::vector<Rect> {
    auto self = weak.lock();
    if (!self) return {};
    std::vector<Rect> frames;
    // The status item is AppKit's: read it on the main thread.
    self->platform_.executors.main().postAndWait([&] {
      const auto frame = self->statusBar_ ? self->statusBar_->iconFrame() : std::nullopt;
      const auto screens = self->platform_.screens.screens();
      if (frame && !screens.empty()) {
        frames.push_back(flipVertically(*frame, screens.front().frame.height()));
      }
    });
    return frames;
  });
}

void AppDelegate::logLaunch() {
  diag_.log("launch: bundle=" + platform_.application.bundlePath() +
            " ax=" + yesNo(platform_.accessibility.isProcessTrustedWithOptions(false)) +
            " sr=" + yesNo(platform_.screenCapture.preflightAccess()));
}

void AppDelegate::showOnboarding() {
  platform_.application.activateIgnoringOtherApps();
  const size_t answer = ports_.alerts.runModal(
      {kAccessibilityMessage, kAccessibilityText, {kOpenSystemSettings, kLater}});
  if (answer != 0) return;
  // Adds Kestrune to the list and shows the system's own prompt.
  (void)platform_.accessibility.isProcessTrustedWithOptions(true);
  platform_.workspace.openURL(Permissions::kAccessibilityPaneURL);
}

void AppDelegate::askForScreenRecording() {
  // Asked once, whatever the answer.
  platform_.defaults.setBool(kAskedScreenRecordingKey, true);
  platform_.application.activateIgnoringOtherApps();
  const size_t answer = ports_.alerts.runModal(
      {kScreenRecordingMessage, kScreenRecordingText, {kAllowScreenRecording, kNotNow}});
  if (answer == 0) permissions_.requestScreenRecordingAndRelaunch(kScreenRecordingTimeout);
}

void AppDelegate::hintIfOwnIconHidden() {
  if (!statusBar_ || statusBar_->isIconVisible()) return;
  if (platform_.defaults.boolForKey(kHintedHiddenIconKey)) return;
  platform_.defaults.setBool(kHintedHiddenIconKey, true);
  platform_.application.activateIgnoringOtherApps();
  const size_t answer =
      ports_.alerts.runModal({kHiddenIconMessage, kHiddenIconText, {kOpenPicker, kOK}});
  if (answer == 0) statusBar_->togglePanel();
}

}  // namespace kestrune
