#include "picker/overflow_panel.hpp"

#include "picker/panel_layout.hpp"

namespace kestrune {

std::shared_ptr<OverflowPanel> OverflowPanel::create(std::shared_ptr<OverflowModel> model,
                                                     SettingsStore& store, bool isModern,
                                                     const Platform& platform, PanelWindow& window,
                                                     Actions actions) {
  std::shared_ptr<OverflowPanel> panel(
      new OverflowPanel(std::move(model), store, isModern, platform, window, std::move(actions)));
  std::weak_ptr<OverflowPanel> weak = panel;
  window.setResignKeyHandler([weak] {
    if (auto self = weak.lock()) self->resignKey();
  });
  return panel;
}

OverflowPanel::OverflowPanel(std::shared_ptr<OverflowModel> model, SettingsStore& store,
                             bool isModern, const Platform& platform, PanelWindow& window,
                             Actions actions)
    : model_(std::move(model)),
      store_(store),
      isModern_(isModern),
      platform_(platform),
      window_(window),
      actions_(std::move(actions)) {}

void OverflowPanel::show(Rect anchor) {
  anchor_ = anchor;
  model_->refresh();
  layoutToContent();
  window_.showAndMakeKey();
  installMonitors();
  std::weak_ptr<OverflowPanel> weak = weak_from_this();
  refreshTimer_ =
      platform_.executors.main().scheduleRepeating(PanelStyle::kRefreshInterval, [weak] {
        if (auto self = weak.lock()) self->model_->refresh();
      });
  relayoutObserver_ = relayoutAfter(model_->objectWillChange);
  settingsObserver_ = relayoutAfter(store_.objectWillChange);
}

Subscription OverflowPanel::relayoutAfter(ObjectWillChange& changes) {
  std::weak_ptr<OverflowPanel> weak = weak_from_this();
  return changes.connect([weak, &main = platform_.executors.main()] {
    main.post([weak] {
      auto self = weak.lock();
      if (self && self->isShown()) self->layoutToContent();
    });
  });
}

void OverflowPanel::hide() {
  refreshTimer_.invalidate();
  relayoutObserver_.reset();
  settingsObserver_.reset();
  model_->cancelCapture();
  removeMonitors();
  window_.orderOut();
}

void OverflowPanel::activate(const MenuBarItem& item) {
  std::weak_ptr<OverflowPanel> weak = weak_from_this();
  activateItem(
      item, platform_.executors.main(), [this] { hide(); },
      [weak](const MenuBarItem& pressed) {
        auto self = weak.lock();
        if (self && self->actions_.press) self->actions_.press(pressed);
      });
}

void OverflowPanel::resignKey() {
  if (closesOnResignKey(window_.isVisible(), window_.mouseLocation(), anchor_)) hide();
}

void OverflowPanel::installMonitors() {
  removeMonitors();
  std::weak_ptr<OverflowPanel> weak = weak_from_this();
  clickMonitor_ = window_.addGlobalMouseDownMonitor([weak] {
    auto self = weak.lock();
    // A click on the status item itself is left to the item's own toggle.
    if (self && closesOnMouseDown(self->window_.mouseLocation(), self->anchor_)) self->hide();
  });
  keyMonitor_ = window_.addLocalKeyDownMonitor([weak](int keyCode) {
    const KeyDecision decision = onKeyDown(keyCode);
    auto self = weak.lock();
    if (self && decision.hidesPanel) self->hide();
    return decision.swallowsEvent;
  });
}

void OverflowPanel::removeMonitors() {
  clickMonitor_.reset();
  keyMonitor_.reset();
}

OverflowViewActions OverflowPanel::viewActions() {
  std::weak_ptr<OverflowPanel> weak = weak_from_this();
  OverflowViewActions actions;
  actions.onActivate = [weak](const MenuBarItem& item) {
    if (auto self = weak.lock()) self->activate(item);
  };
  actions.onRequestScreenRecording = [weak] {
    auto self = weak.lock();
    if (!self) return;
    self->hide();
    if (self->actions_.requestScreenRecording) self->actions_.requestScreenRecording();
  };
  actions.onOpenSettings = [weak] {
    auto self = weak.lock();
    if (!self) return;
    self->hide();
    if (self->openSettings) self->openSettings();
  };
  return actions;
}

void OverflowPanel::layoutToContent() {
  window_.setContent(
      describeOverflowView(*model_, store_.settings(), isModern_, platform_.workspace),
      viewActions());
  window_.setAppearance(appearanceFor(model_->glyphsAreLight.get(), model_->usesLiveIcons()));
  const auto frame =
      panelFrame(anchor_, window_.fittingSize(), platform_.screens.screens(),
                 platform_.screens.mainScreen(), platform_.screens.statusBarThickness());
  if (frame) window_.setFrame(*frame);
}

}  // namespace kestrune
