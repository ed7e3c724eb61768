#include "app/hotkey_manager.hpp"

namespace kestrune {

void HotkeyManager::enable() {
  if (hotKey_) return;
  // A handler left by a refused registration is used again rather than
  // installed twice.
  if (!handler_) handler_ = hotKeys_.installEventHandler(kEventType, [this] { return handle(); });
  hotKey_ = hotKeys_.registerEventHotKey(kKeyCode, kModifiers, kHotKeyID, 0);
}

void HotkeyManager::disable() {
  if (hotKey_) {
    hotKeys_.unregisterEventHotKey(*hotKey_);
    hotKey_.reset();
  }
  if (handler_) {
    hotKeys_.removeEventHandler(*handler_);
    handler_.reset();
  }
}

CarbonStatus HotkeyManager::handle() {
  // A copy: the trigger may replace itself.
  if (auto trigger = onTrigger) trigger();
  return kCarbonNoErr;
}

}  // namespace kestrune
