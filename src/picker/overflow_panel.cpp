#include "picker/overflow_panel.hpp"

#include "picker/panel_layout.hpp"

namespace kestrune {

std::shared_ptr<OverflowPanel> OverflowPanel::create(
    std::shared_ptr<OverflowModel> model, PanelWindow& window, Screens& screens, MainExecutor& main,
    std::function<void(const MenuBarItem&)> press) {
  return std::shared_ptr<OverflowPanel>(
      new OverflowPanel(std::move(model), window, screens, main, std::move(press)));
}

OverflowPanel::OverflowPanel(std::shared_ptr<OverflowModel> model, PanelWindow& window,
                             Screens& screens, MainExecutor& main,
                             std::function<void(const MenuBarItem&)> press)
    : model_(std::move(model)),
      window_(window),
      screens_(screens),
      main_(main),
      press_(std::move(press)) {}

void OverflowPanel::show(Rect anchor) {
  anchor_ = anchor;
  model_->refresh();
  layoutToContent();
  window_.showAndMakeKey();
  installMonitors();
  std::weak_ptr<OverflowPanel> weak = weak_from_this();
  refreshTimer_ = main_.scheduleRepeating(PanelStyle::kRefreshInterval, [weak] {
    if (auto self = weak.lock()) self->model_->refresh();
  });
  // Re-fit after the change is applied: will-change comes before it.
  relayoutObserver_ = model_->objectWillChange.connect([weak, &main = main_] {
    main.post([weak] {
      if (auto self = weak.lock()) self->layoutToContent();
    });
  });
}

void OverflowPanel::hide() {
  refreshTimer_.invalidate();
  relayoutObserver_.reset();
  model_->cancelCapture();
  removeMonitors();
  window_.orderOut();
}

void OverflowPanel::activate(const MenuBarItem& item) {
  std::weak_ptr<OverflowPanel> weak = weak_from_this();
  activateItem(
      item, main_, [this] { hide(); },
      [weak](const MenuBarItem& pressed) {
        if (auto self = weak.lock()) self->press_(pressed);
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

void OverflowPanel::layoutToContent() {
  window_.setAppearance(appearanceFor(model_->glyphsAreLight.get(), model_->usesLiveIcons()));
  const auto frame = panelFrame(anchor_, window_.fittingSize(), screens_.screens(),
                                screens_.mainScreen(), screens_.statusBarThickness());
  if (frame) window_.setFrame(*frame);
}

}  // namespace kestrune
