#include "mac/mac_hot_keys.hpp"

#include <Carbon/Carbon.h>

namespace kestrune {
namespace {

// Carbon calls this on the main thread's event loop for each event of the
// handler's type; the user data is the handler.
OSStatus dispatchToHandler(EventHandlerCallRef /*next*/, EventRef /*event*/, void* userData) {
  // A copy: the handler may remove itself.
  const HotKeys::Handler handler = *static_cast<const HotKeys::Handler*>(userData);
  return handler ? handler() : eventNotHandledErr;
}

EventHandlerUPP handlerUPP() {
  static const EventHandlerUPP upp = NewEventHandlerUPP(dispatchToHandler);
  return upp;
}

}  // namespace

MacHotKeys::~MacHotKeys() {
  for (const auto& [ref, handler] : handlers_) {
    RemoveEventHandler(reinterpret_cast<EventHandlerRef>(ref));
  }
}

std::optional<HotKeyHandlerRef> MacHotKeys::installEventHandler(HotKeyEventType type,
                                                                Handler handler) {
  auto owned = std::make_unique<Handler>(std::move(handler));
  const EventTypeSpec eventType{type.eventClass, type.eventKind};
  EventHandlerRef ref = nullptr;
  const OSStatus status = InstallEventHandler(GetApplicationEventTarget(), handlerUPP(), 1,
                                              &eventType, owned.get(), &ref);
  if (status != noErr || ref == nullptr) return std::nullopt;
  const auto key = reinterpret_cast<HotKeyHandlerRef>(ref);
  handlers_[key] = std::move(owned);
  return key;
}

CarbonStatus MacHotKeys::removeEventHandler(HotKeyHandlerRef handler) {
  const OSStatus status = RemoveEventHandler(reinterpret_cast<EventHandlerRef>(handler));
  handlers_.erase(handler);
  return status;
}

std::optional<HotKeyRef> MacHotKeys::registerEventHotKey(uint32_t keyCode, uint32_t modifiers,
                                                         HotKeyID id, uint32_t options) {
  const EventHotKeyID hotKeyID{id.signature, id.id};
  EventHotKeyRef ref = nullptr;
  const OSStatus status =
      RegisterEventHotKey(keyCode, modifiers, hotKeyID, GetApplicationEventTarget(), options, &ref);
  if (status != noErr || ref == nullptr) return std::nullopt;
  return reinterpret_cast<HotKeyRef>(ref);
}

CarbonStatus MacHotKeys::unregisterEventHotKey(HotKeyRef hotKey) {
  return UnregisterEventHotKey(reinterpret_cast<EventHotKeyRef>(hotKey));
}

}  // namespace kestrune
