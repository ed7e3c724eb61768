#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "core/executor.hpp"
#include "core/geometry.hpp"
#include "core/observable.hpp"
#include "discovery/menu_bar_item.hpp"
#include "picker/overflow_model.hpp"
#include "picker/picker_view.hpp"
#include "platform/panel_window.hpp"
#include "platform/platform.hpp"
#include "settings/settings_store.hpp"

namespace kestrune {

// The picker's floating panel: shown under an anchor (the status item's
// frame), refreshed every 1.5 s while shown and re-fitted after every model
// change, closed by an outside click, Escape, loss of key status away from
// the anchor, or a cell click. The window itself is a port; what the panel
// decides is here. Lives in a shared_ptr: monitors, timers and subscriptions
// hold it weakly.
class OverflowPanel : public std::enable_shared_from_this<OverflowPanel> {
 public:
  // What the panel's clicks lead to outside the picker.
  struct Actions {
    // Hands an item to the activator.
    std::function<void(const MenuBarItem&)> press;
    // Asks for Screen Recording and relaunches once it is granted.
    std::function<void()> requestScreenRecording;
  };

  [[nodiscard]] static std::shared_ptr<OverflowPanel> create(std::shared_ptr<OverflowModel> model,
                                                             SettingsStore& store, bool isModern,
                                                             const Platform& platform,
                                                             PanelWindow& window, Actions actions);

  void show(Rect anchor);
  void hide();
  // A cell was clicked.
  void activate(const MenuBarItem& item);
  // The window lost key status.
  void resignKey();
  void layoutToContent();

  // Set by the status bar controller: where "Settings" leads.
  std::function<void()> openSettings;

  [[nodiscard]] bool isShown() const { return refreshTimer_.isValid(); }
  [[nodiscard]] const Rect& anchor() const { return anchor_; }

 private:
  OverflowPanel(std::shared_ptr<OverflowModel> model, SettingsStore& store, bool isModern,
                const Platform& platform, PanelWindow& window, Actions actions);
  void installMonitors();
  void removeMonitors();
  // Re-fits after a change is applied: will-change notifications come
  // before it.
  [[nodiscard]] Subscription relayoutAfter(ObjectWillChange& changes);
  [[nodiscard]] OverflowViewActions viewActions();

  std::shared_ptr<OverflowModel> model_;
  SettingsStore& store_;
  bool isModern_;
  const Platform& platform_;
  PanelWindow& window_;
  Actions actions_;
  std::optional<Subscription> clickMonitor_;
  std::optional<Subscription> keyMonitor_;
  Timer refreshTimer_;
  Rect anchor_;
  Subscription relayoutObserver_;
  Subscription settingsObserver_;
};

}  // namespace kestrune
