#include "sim/sim_settings_window.hpp"

#include "sim/settings_renderer.hpp"

namespace kestrune::sim {

SimSettingsWindows::SimSettingsWindows(World& world, MainExecutor& main)
    : world_(world), main_(main) {}

std::unique_ptr<SettingsWindow> SimSettingsWindows::make(
    SettingsTabSelection& tabs, std::shared_ptr<GeneralSettingsModel> general,
    std::shared_ptr<ArrangeModel> arrange) {
  ++registry_->made;
  return std::make_unique<SimSettingsWindow>(world_, main_, tabs, std::move(general),
                                             std::move(arrange), registry_);
}

void SimSettingsWindows::processEnded() {
  if (registry_->window) registry_->window->close();
}

SimSettingsWindow::SimSettingsWindow(World& world, MainExecutor& main, SettingsTabSelection& tabs,
                                     std::shared_ptr<GeneralSettingsModel> general,
                                     std::shared_ptr<ArrangeModel> arrange,
                                     std::shared_ptr<SimSettingsWindows::Registry> registry)
    : world_(world),
      main_(main),
      tabs_(tabs),
      general_(std::move(general)),
      arrange_(std::move(arrange)),
      registry_(std::move(registry)) {
  if (registry_) registry_->window = this;
  tab_ = tabs_.tab.get();
  describe();
  // The selection's observers hear of a change before it is stored: the new
  // tab comes with the call.
  tabObserver_ = tabs_.tab.sink([this](const SettingsTab& tab) { followTab(tab); });
  generalObserver_ = general_->objectWillChange.connect([this] { scheduleDescribe(); });
  storeObserver_ = general_->store().objectWillChange.connect([this] { scheduleDescribe(); });
}

SimSettingsWindow::~SimSettingsWindow() {
  if (visible_) general_->stop();
  if (registry_ && registry_->window == this) registry_->window = nullptr;
}

void SimSettingsWindow::show() {
  ++shows_;
  if (!visible_) general_->start();
  visible_ = true;
  key_ = true;
  appear();
}

void SimSettingsWindow::close() {
  if (!visible_) return;
  visible_ = false;
  key_ = false;
  general_->stop();
}

ArrangeViewModel SimSettingsWindow::arrangeContent() const {
  return arrange_ ? describeArrangeView(*arrange_) : ArrangeViewModel{};
}

void SimSettingsWindow::describe() {
  describeQueued_ = false;
  content_ = describeSettingsView(tab_, *general_);
  ++descriptions_;
}

// One description for a burst of changes, once they are stored.
void SimSettingsWindow::scheduleDescribe() {
  if (describeQueued_) return;
  describeQueued_ = true;
  std::weak_ptr<bool> alive = alive_;
  main_.post([this, alive] {
    if (alive.lock()) describe();
  });
}

void SimSettingsWindow::followTab(SettingsTab tab) {
  if (tab == tab_) return;
  tab_ = tab;
  scheduleDescribe();
  appear();
}

void SimSettingsWindow::appear() {
  if (!visible_ || tab_ != SettingsTab::arrange || arrangeStarted_ || !arrange_) return;
  arrangeStarted_ = true;
  arrange_->reload();
}

void SimSettingsWindow::selectTab(SettingsTab tab) {
  if (!visible_ || tabs_.tab.get() == tab) return;
  tabs_.tab = tab;
}

bool SimSettingsWindow::flipToggle(const std::string& label) {
  if (!showsGeneral()) return false;
  const SettingsToggle* toggle = findToggle(content_.general, label);
  if (!toggle || !toggle->enabled) return false;
  general_->setToggle(toggle->kind, !toggle->isOn);
  return true;
}

bool SimSettingsWindow::clickGrant(const std::string& title) {
  if (!showsGeneral()) return false;
  const PermissionRow* row = findPermission(content_.general, title);
  if (!row || !row->grantButton) return false;
  general_->grant(row->kind);
  return true;
}

bool SimSettingsWindow::clickResetToDefaults() {
  if (!showsGeneral()) return false;
  general_->resetToDefaults();
  return true;
}

Bitmap SimSettingsWindow::render(bool dark) const {
  std::optional<ArrangeViewModel> arrange;
  if (tab_ == SettingsTab::arrange) arrange = arrangeContent();
  const SettingsPicture picture{content_, arrange ? &*arrange : nullptr, dark};
  return renderSettingsWindow(picture, world_.mainDisplay().scale);
}

}  // namespace kestrune::sim
