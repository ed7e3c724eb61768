#pragma once

#include <functional>
#include <optional>

#include "platform/hot_keys.hpp"

namespace kestrune {

// The global shortcut ⌃⌥⌘T: registered with Carbon while enabled, calling
// `onTrigger` on each press. Main thread only.
class HotkeyManager {
 public:
  static constexpr uint32_t kKeyCode = 17;  // kVK_ANSI_T
  static constexpr uint32_t kModifiers = kControlModifier | kOptionModifier | kCommandModifier;
  static constexpr HotKeyID kHotKeyID{fourCharCode("KSRN"), 1};
  static constexpr HotKeyEventType kEventType{kKeyboardEventClass, kHotKeyPressedKind};

  explicit HotkeyManager(HotKeys& hotKeys) : hotKeys_(hotKeys) {}
  // Unregisters: Carbon must not call into a manager that is gone.
  ~HotkeyManager() { disable(); }
  HotkeyManager(const HotkeyManager&) = delete;
  HotkeyManager& operator=(const HotkeyManager&) = delete;

  // Installs the handler and registers the shortcut, unless it is already
  // registered. A refusal is not reported: the shortcut is simply absent.
  void enable();
  // Unregisters the shortcut and removes the handler, each if present.
  void disable();

  [[nodiscard]] bool isRegistered() const { return hotKey_.has_value(); }

  std::function<void()> onTrigger;

 private:
  // Whatever reaches the handler counts as a press, and is consumed.
  CarbonStatus handle();

  HotKeys& hotKeys_;
  std::optional<HotKeyRef> hotKey_;
  std::optional<HotKeyHandlerRef> handler_;
};

}  // namespace kestrune
