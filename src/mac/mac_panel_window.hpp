#pragma once

#include <memory>

#include "picker/panel_layout.hpp"
#include "platform/panel_window.hpp"

#ifdef __OBJC__
@class NSView;
#endif

namespace kestrune {

// The picker's NSPanel (KestruneOverflowPanel), made as `setup` says, with
// the picker's AppKit views in it, and NSEvent's monitors. Created hidden;
// main thread only, as AppKit's windows and monitors are.
class MacPanelWindow final : public PanelWindow {
 public:
  explicit MacPanelWindow(const PanelWindowSetup& setup = {});
  ~MacPanelWindow() override;
  MacPanelWindow(const MacPanelWindow&) = delete;
  MacPanelWindow& operator=(const MacPanelWindow&) = delete;

  // Builds the views anew; they keep their own copies of `actions`.
  void setContent(const OverflowViewModel& view, const OverflowViewActions& actions) override;
  void setResignKeyHandler(std::function<void()> handler) override;
  [[nodiscard]] Size fittingSize() override;
  void setAppearance(PanelAppearance appearance) override;
  void setFrame(const Rect& frame) override;
  [[nodiscard]] Rect frame() override;
  void showAndMakeKey() override;
  void orderOut() override;
  [[nodiscard]] bool isVisible() override;
  [[nodiscard]] Point mouseLocation() override;
  [[nodiscard]] std::optional<Subscription> addGlobalMouseDownMonitor(
      std::function<void()> handler) override;
  // The handler's true swallows the key (the monitor answers nil).
  [[nodiscard]] std::optional<Subscription> addLocalKeyDownMonitor(
      std::function<bool(int keyCode)> handler) override;

#ifdef __OBJC__
  // The panel's content view, its background with the picker in it, for a
  // picture of the panel.
  [[nodiscard]] NSView* contentView() const;
#endif

 private:
  // The panel and the view it hosts: Objective-C objects, defined in the
  // .mm file only.
  struct Objects;
  std::unique_ptr<Objects> objects_;
};

}  // namespace kestrune
