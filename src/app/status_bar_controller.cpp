#include "app/status_bar_controller.hpp"

#include "app/permissions.hpp"
#include "discovery/menu_bar_item.hpp"

namespace kestrune {
namespace {

MenuRow row(std::string title, std::string keyEquivalent = {}) {
  MenuRow r;
  r.title = std::move(title);
  r.keyEquivalent = std::move(keyEquivalent);
  return r;
}

}  // namespace

std::shared_ptr<StatusBarController> StatusBarController::create(
    SettingsStore& store, std::shared_ptr<OverflowPanel> panel, Ports ports, Hooks hooks) {
  std::shared_ptr<StatusBarController> controller(
      new StatusBarController(store, std::move(panel), ports, std::move(hooks)));
  controller->setUpItem();
  controller->buildMenu();
  std::weak_ptr<StatusBarController> weak = controller;
  controller->panel_->openSettings = [weak] {
    if (auto self = weak.lock()) self->showSettings(SettingsTab::general);
  };
  return controller;
}

StatusBarController::StatusBarController(SettingsStore& store, std::shared_ptr<OverflowPanel> panel,
                                         Ports ports, Hooks hooks)
    : store_(store), panel_(std::move(panel)), ports_(ports), hooks_(std::move(hooks)) {}

void StatusBarController::setUpItem() {
  item_ = ports_.statusBar.statusItemWithSquareLength();
  // Before anything else: the name decides where AppKit puts the item.
  item_->setAutosaveName(kAutosaveName);
  item_->setImage(MenuBarIcon::main());
  item_->setToolTip(kToolTip);
  std::weak_ptr<StatusBarController> weak = weak_from_this();
  item_->setAction(eventMaskBit(EventType::leftMouseUp) | eventMaskBit(EventType::rightMouseUp),
                   [weak](std::optional<EventType> currentEvent) {
                     if (auto self = weak.lock()) self->clicked(currentEvent);
                   });
}

size_t StatusBarController::addRow(MenuRow r, MenuAction action) {
  menu_.rows.push_back(std::move(r));
  actions_.push_back(action);
  return menu_.rows.size() - 1;
}

void StatusBarController::buildMenu() {
  MenuRow heading = row(kHeadingTitle);
  heading.enabled = false;
  addRow(heading, MenuAction::none);
  addRow(MenuRow::separator(), MenuAction::none);
  addRow(row(kShowHiddenTitle), MenuAction::togglePanel);
  addRow(MenuRow::separator(), MenuAction::none);
  showAllRow_ = addRow(row(kOnlyHiddenTitle), MenuAction::toggleShowAll);
  addRow(row(kArrangeTitle), MenuAction::openArrange);
  addRow(row(kSettingsTitle, ","), MenuAction::openSettings);
  addRow(MenuRow::separator(), MenuAction::none);
  loginRow_ = addRow(row(kLaunchAtLoginTitle), MenuAction::toggleLogin);
  axRow_ = addRow(row(kGrantAccessibilityTitle), MenuAction::grantAX);
  addRow(MenuRow::separator(), MenuAction::none);
  addRow(row(kAboutTitle), MenuAction::showAbout);
  if (hooks_.updaterAvailable) {
    updatesRow_ = addRow(row(kCheckForUpdatesTitle), MenuAction::checkForUpdates);
  }
  addRow(row(kQuitTitle, "q"), MenuAction::quit);
}

StatusBarController::MenuAction StatusBarController::actionAt(size_t r) const {
  return r < actions_.size() ? actions_[r] : MenuAction::none;
}

void StatusBarController::clicked(std::optional<EventType> currentEvent) {
  if (currentEvent == EventType::rightMouseUp) {
    showMenu();
  } else {
    togglePanel();
  }
}

void StatusBarController::showMenu() {
  panel_->hide();
  std::weak_ptr<StatusBarController> weak = weak_from_this();
  item_->showMenu(
      [weak] {
        auto self = weak.lock();
        if (!self) return MenuDescription{};
        self->syncMenu();
        return self->menu_;
      },
      [weak](size_t chosen) {
        if (auto self = weak.lock()) self->perform(self->actionAt(chosen));
      });
}

void StatusBarController::togglePanel() {
  const auto frame = item_->buttonWindowFrame();
  if (!frame) return;
  if (panel_->isShown()) {
    panel_->hide();
  } else {
    panel_->show(*frame);
  }
}

bool StatusBarController::isIconVisible() {
  const auto icon = item_->buttonWindowFrame();
  if (!icon) return false;
  for (const auto& screen : ports_.platform.screens.screens()) {
    if (!screen.frame.intersects(*icon)) continue;
    const auto& rightOfNotch = screen.auxiliaryTopRightArea;
    if (!rightOfNotch) return true;
    return rightOfNotch->contains({icon->midX(), rightOfNotch->midY()});
  }
  return false;
}

void StatusBarController::syncMenu() {
  menu_.rows[showAllRow_].checked = store_.settings().onlyHiddenItems;
  MenuRow& login = menu_.rows[loginRow_];
  login.checked = hooks_.loginItemEnabled && hooks_.loginItemEnabled();
  const auto unavailable =
      hooks_.loginItemUnavailable ? hooks_.loginItemUnavailable() : std::nullopt;
  login.enabled = !unavailable;
  login.toolTip = unavailable.value_or("");
  if (updatesRow_) {
    // Sparkle's own answer: no second check while one is under way.
    menu_.rows[*updatesRow_].enabled = hooks_.canCheckForUpdates && hooks_.canCheckForUpdates();
  }
  menu_.rows[axRow_].hidden = ports_.platform.accessibility.isProcessTrustedWithOptions(false);
}

void StatusBarController::perform(MenuAction action) {
  switch (action) {
    case MenuAction::none:
      break;
    case MenuAction::togglePanel:
      togglePanel();
      break;
    case MenuAction::toggleShowAll:
      toggleShowAll();
      break;
    case MenuAction::openArrange:
      openArrange();
      break;
    case MenuAction::openSettings:
      openSettings();
      break;
    case MenuAction::toggleLogin:
      toggleLogin();
      break;
    case MenuAction::grantAX:
      grantAX();
      break;
    case MenuAction::showAbout:
      showAbout();
      break;
    case MenuAction::checkForUpdates:
      if (hooks_.checkForUpdates) hooks_.checkForUpdates();
      break;
    case MenuAction::quit:
      ports_.platform.application.terminate();
      break;
  }
}

void StatusBarController::toggleShowAll() {
  Settings settings = store_.settings();
  settings.onlyHiddenItems = !settings.onlyHiddenItems;
  store_.setSettings(settings);
}

void StatusBarController::toggleLogin() {
  const bool enabled = hooks_.loginItemEnabled && hooks_.loginItemEnabled();
  const auto error = hooks_.setLoginItem ? hooks_.setLoginItem(!enabled) : std::nullopt;
  if (error) {
    // An accessory app's alert would open behind the front app's windows.
    ports_.platform.application.activateIgnoringOtherApps();
    ports_.alerts.showError(*error);
  }
  syncMenu();
}

void StatusBarController::grantAX() {
  ports_.platform.accessibility.isProcessTrustedWithOptions(true);
  ports_.platform.workspace.openURL(Permissions::kAccessibilityPaneURL);
}

void StatusBarController::showAbout() {
  Application& application = ports_.platform.application;
  application.activateIgnoringOtherApps();
  AboutPanelOptions options;
  options.applicationName = kApplicationName;
  options.applicationVersion = application.infoString(kShortVersionKey).value_or(kUnknownVersion);
  options.version = application.infoString(kBuildKey).value_or("");
  options.credits = kCredits;
  options.creditsFontSize = kCreditsFontSize;
  ports_.aboutPanel.orderFrontStandardAboutPanel(options);
}

ArrangeModel::OwnIconFrame StatusBarController::ownIconFrame() {
  std::weak_ptr<StatusBarController> weak = weak_from_this();
  MainExecutor& main = ports_.platform.executors.main();
  return [weak, &main]() -> std::optional<Rect> {
    // The item lives on the main thread; the model may ask from its queue.
    std::optional<Rect> frame;
    main.postAndWait([&] {
      const auto self = weak.lock();
      if (!self) return;
      const auto icon = self->item_->buttonWindowFrame();
      const auto screens = self->ports_.platform.screens.screens();
      if (!icon || screens.empty()) return;
      frame = flipVertically(*icon, screens.front().frame.height());
    });
    return frame;
  };
}

void StatusBarController::showSettings(SettingsTab tab) {
  panel_->hide();
  if (!settingsWindow_) {
    if (!arrangeModel_ && hooks_.makeArrangeModel) {
      arrangeModel_ = hooks_.makeArrangeModel(ownIconFrame());
    }
    if (hooks_.makeSettingsWindow) {
      settingsWindow_ = hooks_.makeSettingsWindow(settingsTab_, arrangeModel_);
    }
  }
  settingsTab_.tab = tab;
  ports_.platform.application.activateIgnoringOtherApps();
  if (settingsWindow_) settingsWindow_->show();
}

}  // namespace kestrune
