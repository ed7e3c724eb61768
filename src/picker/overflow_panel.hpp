#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "core/executor.hpp"
#include "core/geometry.hpp"
#include "core/observable.hpp"
#include "discovery/menu_bar_item.hpp"
#include "picker/overflow_model.hpp"
#include "platform/panel_window.hpp"
#include "platform/screens.hpp"

namespace kestrune {

// The picker's floating panel: shown under an anchor (the status item's
// frame), refreshed every 1.5 s while shown and re-fitted after every model
// change, closed by an outside click, Escape, loss of key status away from
// the anchor, or a cell click. The window itself is a port; what the panel
// decides is here. Lives in a shared_ptr: monitors, timers and subscriptions
// hold it weakly.
class OverflowPanel : public std::enable_shared_from_this<OverflowPanel> {
 public:
  // `press` hands an item to the activator.
  [[nodiscard]] static std::shared_ptr<OverflowPanel> create(
      std::shared_ptr<OverflowModel> model, PanelWindow& window, Screens& screens,
      MainExecutor& main, std::function<void(const MenuBarItem&)> press);

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
  OverflowPanel(std::shared_ptr<OverflowModel> model, PanelWindow& window, Screens& screens,
                MainExecutor& main, std::function<void(const MenuBarItem&)> press);
  void installMonitors();
  void removeMonitors();

  std::shared_ptr<OverflowModel> model_;
  PanelWindow& window_;
  Screens& screens_;
  MainExecutor& main_;
  std::function<void(const MenuBarItem&)> press_;
  std::optional<Subscription> clickMonitor_;
  std::optional<Subscription> keyMonitor_;
  Timer refreshTimer_;
  Rect anchor_;
  Subscription relayoutObserver_;
};

}  // namespace kestrune
