#pragma once

#include <map>
#include <memory>

#include "platform/hot_keys.hpp"

namespace kestrune {

// Carbon's hot keys (RegisterEventHotKey and friends) on the application
// event target. Main thread only.
class MacHotKeys final : public HotKeys {
 public:
  MacHotKeys() = default;
  // Removes the handlers still installed: Carbon holds pointers to them.
  ~MacHotKeys() override;
  MacHotKeys(const MacHotKeys&) = delete;
  MacHotKeys& operator=(const MacHotKeys&) = delete;

  [[nodiscard]] std::optional<HotKeyHandlerRef> installEventHandler(HotKeyEventType type,
                                                                    Handler handler) override;
  CarbonStatus removeEventHandler(HotKeyHandlerRef handler) override;
  [[nodiscard]] std::optional<HotKeyRef> registerEventHotKey(uint32_t keyCode, uint32_t modifiers,
                                                             HotKeyID id,
                                                             uint32_t options) override;
  CarbonStatus unregisterEventHotKey(HotKeyRef hotKey) override;

 private:
  // Carbon's user data points at these; each stays put until removed.
  std::map<HotKeyHandlerRef, std::unique_ptr<Handler>> handlers_;
};

}  // namespace kestrune
