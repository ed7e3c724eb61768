#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

namespace kestrune {

// Carbon's status codes (OSStatus), as far as hot keys use them.
using CarbonStatus = int32_t;
inline constexpr CarbonStatus kCarbonNoErr = 0;
inline constexpr CarbonStatus kEventNotHandledErr = -9874;
inline constexpr CarbonStatus kEventHotKeyExistsErr = -9878;
inline constexpr CarbonStatus kEventHotKeyInvalidErr = -9879;

// A four-character code packed big-endian into 32 bits (OSType, FourCharCode).
[[nodiscard]] constexpr uint32_t fourCharCode(std::string_view code) {
  uint32_t value = 0;
  for (size_t i = 0; i < 4; ++i) {
    value = (value << 8) | static_cast<uint8_t>(i < code.size() ? code[i] : ' ');
  }
  return value;
}

// An event's class and kind, by which Carbon hands events to handlers.
struct HotKeyEventType {
  uint32_t eventClass = 0;
  uint32_t eventKind = 0;
  friend bool operator==(const HotKeyEventType&, const HotKeyEventType&) = default;
};

// EventHotKeyID.
struct HotKeyID {
  uint32_t signature = 0;
  uint32_t id = 0;
  friend bool operator==(const HotKeyID&, const HotKeyID&) = default;
};

// kEventClassKeyboard and kEventHotKeyPressed.
inline constexpr uint32_t kKeyboardEventClass = fourCharCode("keyb");
inline constexpr uint32_t kHotKeyPressedKind = 5;

// Carbon's modifier bits for hot keys: cmdKey, optionKey, controlKey.
inline constexpr uint32_t kCommandModifier = 1U << 8;
inline constexpr uint32_t kOptionModifier = 1U << 11;
inline constexpr uint32_t kControlModifier = 1U << 12;

// References to what Carbon installed or registered; opaque, never 0.
using HotKeyHandlerRef = uintptr_t;  // EventHandlerRef
using HotKeyRef = uintptr_t;         // EventHotKeyRef

// Carbon's global hot keys, all on the application event target
// (GetApplicationEventTarget). Main thread only: handlers run on the main
// thread's event loop.
class HotKeys {
 public:
  // Runs for each event of its type; answers kCarbonNoErr when it handled
  // the event, kEventNotHandledErr to pass it on to the next handler.
  using Handler = std::function<CarbonStatus()>;

  virtual ~HotKeys() = default;
  // InstallEventHandler for the one event type. None when Carbon refuses.
  [[nodiscard]] virtual std::optional<HotKeyHandlerRef> installEventHandler(HotKeyEventType type,
                                                                            Handler handler) = 0;
  // RemoveEventHandler: the handler is not called again.
  virtual CarbonStatus removeEventHandler(HotKeyHandlerRef handler) = 0;
  // RegisterEventHotKey: pressing the key with exactly these modifiers sends
  // a hot-key-pressed event carrying `id` to the application target. None
  // when Carbon refuses (the combination is taken, say).
  [[nodiscard]] virtual std::optional<HotKeyRef> registerEventHotKey(uint32_t keyCode,
                                                                     uint32_t modifiers,
                                                                     HotKeyID id,
                                                                     uint32_t options) = 0;
  // UnregisterEventHotKey.
  virtual CarbonStatus unregisterEventHotKey(HotKeyRef hotKey) = 0;
};

}  // namespace kestrune
