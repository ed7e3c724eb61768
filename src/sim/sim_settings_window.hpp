#pragma once

#include <memory>
#include <optional>
#include <string>

#include "app/general_settings.hpp"
#include "app/settings_tabs.hpp"
#include "app/settings_view.hpp"
#include "arrange/arrange_model.hpp"
#include "arrange/arrange_view.hpp"
#include "core/bitmap.hpp"
#include "core/executor.hpp"
#include "platform/settings_window.hpp"
#include "sim/world.hpp"

namespace kestrune::sim {

class SimSettingsWindow;

// Makes settings windows on the simulated Mac and remembers the last one,
// so that a test or the simulator's commands can reach the window the
// product made. Main thread only.
class SimSettingsWindows final : public SettingsWindows {
 public:
  SimSettingsWindows(World& world, MainExecutor& main);

  [[nodiscard]] std::unique_ptr<SettingsWindow> make(
      SettingsTabSelection& tabs, std::shared_ptr<GeneralSettingsModel> general,
      std::shared_ptr<ArrangeModel> arrange) override;

  // The app's process ended: its window closes.
  void processEnded();

  [[nodiscard]] int madeCount() const { return registry_->made; }
  // The last window made, while it exists.
  [[nodiscard]] SimSettingsWindow* window() const { return registry_->window; }

  // Shared with the windows, which may outlive this maker.
  struct Registry {
    int made = 0;
    SimSettingsWindow* window = nullptr;
  };

 private:
  World& world_;
  MainExecutor& main_;
  std::shared_ptr<Registry> registry_ = std::make_shared<Registry>();
};

// The settings window on the simulated Mac, and the user's clicks in it
// (`general` is not null; without an arrangement model the second tab stays
// empty). It shows what the models describe, described again on a later turn of the
// main thread after they tell of a change, as the AppKit window does. Main
// thread only.
class SimSettingsWindow final : public SettingsWindow {
 public:
  SimSettingsWindow(World& world, MainExecutor& main, SettingsTabSelection& tabs,
                    std::shared_ptr<GeneralSettingsModel> general,
                    std::shared_ptr<ArrangeModel> arrange,
                    std::shared_ptr<SimSettingsWindows::Registry> registry = nullptr);
  ~SimSettingsWindow() override;
  SimSettingsWindow(const SimSettingsWindow&) = delete;
  SimSettingsWindow& operator=(const SimSettingsWindow&) = delete;

  void show() override;
  [[nodiscard]] bool isVisible() override { return visible_; }

  [[nodiscard]] bool isKey() const { return key_; }
  [[nodiscard]] int showCount() const { return shows_; }
  [[nodiscard]] const std::string& title() const { return content_.title; }
  [[nodiscard]] Size contentSize() const { return content_.contentSize; }
  // The tab the window shows; it follows the selection, open or not.
  [[nodiscard]] SettingsTab tab() const { return tab_; }
  // What the window shows now.
  [[nodiscard]] const SettingsViewModel& content() const { return content_; }
  [[nodiscard]] ArrangeViewModel arrangeContent() const;
  // How many times the content has been described.
  [[nodiscard]] int descriptions() const { return descriptions_; }

  // The user clicks a tab.
  void selectTab(SettingsTab tab);
  // The user clicks the switch with this label on the General tab; false
  // when the window is not shown, the tab is another one, no switch has the
  // label or it is disabled.
  bool flipToggle(const std::string& label);
  // The user clicks "Grant…" in the permission row with this title; false
  // when the row shows no such button.
  bool clickGrant(const std::string& title);
  bool clickResetToDefaults();
  // The close button.
  void close();

  // The window as the user sees it, at the main display's scale.
  [[nodiscard]] Bitmap render(bool dark = false) const;

 private:
  void describe();
  void scheduleDescribe();
  void followTab(SettingsTab tab);
  // The arrangement list scans the bar the first time it is on screen.
  void appear();
  [[nodiscard]] bool showsGeneral() const { return visible_ && tab_ == SettingsTab::general; }

  World& world_;
  MainExecutor& main_;
  SettingsTabSelection& tabs_;
  std::shared_ptr<GeneralSettingsModel> general_;
  std::shared_ptr<ArrangeModel> arrange_;
  std::shared_ptr<SimSettingsWindows::Registry> registry_;
  SettingsTab tab_ = SettingsTab::general;
  SettingsViewModel content_;
  int descriptions_ = 0;
  bool visible_ = false;
  bool key_ = false;
  int shows_ = 0;
  bool arrangeStarted_ = false;
  bool describeQueued_ = false;
  // Queued descriptions hold this weakly: they do nothing once the window
  // is gone.
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
  Subscription tabObserver_;
  Subscription generalObserver_;
  Subscription storeObserver_;
};

}  // namespace kestrune::sim
