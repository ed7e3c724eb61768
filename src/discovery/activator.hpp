#pragma once

#include <sys/types.h>
#include <memory>
#include <optional>

#include "core/executor.hpp"
#include "core/geometry.hpp"
#include "discovery/menu_bar_item.hpp"
#include "platform/platform.hpp"

namespace kestrune {

// Opens a status item's menu for the user by pressing its Accessibility
// element. Pressing talks to the item's app and may block for as long as the
// app takes to answer, so presses run on a queue of their own, one after
// another, never on the main thread.
class Activator {
 public:
  static constexpr const char* kQueueLabel = "Kestrune.activator";
  // How long a press waits for the item's app.
  static constexpr Duration kPressTimeout = std::chrono::milliseconds(500);
  // How long each read waits while the element is looked up again.
  static constexpr Duration kRefetchTimeout = std::chrono::milliseconds(250);

  Activator(const Platform& platform, bool isModern);

  // Returns at once; the press runs on the activator's queue. Items without
  // an owner have nothing to press.
  void press(const MenuBarItem& item);

  // The item's element found afresh: the app may have recreated its item
  // since the last scan. On the modern bar the item at `ordinal` among the
  // app's items; before, the first whose centre lies in `near`. When neither
  // matches, the app's first item.
  [[nodiscard]] static std::optional<AXElement> refetch(Accessibility& ax, bool isModern, pid_t pid,
                                                        const Rect& near, int ordinal);

 private:
  static void perform(Accessibility& ax, bool isModern, const MenuBarItem& item);

  Accessibility& accessibility_;
  bool isModern_;
  std::shared_ptr<TaskQueue> queue_;
};

}  // namespace kestrune
