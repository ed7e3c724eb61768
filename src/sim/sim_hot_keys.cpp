#include "sim/sim_hot_keys.hpp"

#include <iterator>

namespace kestrune::sim {
namespace {

std::string code(uint32_t value) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) text += static_cast<char>((value >> shift) & 0xFF);
  return text;
}

std::string describe(HotKeyEventType type) {
  return code(type.eventClass) + "/" + std::to_string(type.eventKind);
}

std::string describe(const SimHotKeys::Registration& r) {
  return std::to_string(r.keyCode) + " " + std::to_string(r.modifiers) + " " +
         code(r.id.signature) + "/" + std::to_string(r.id.id);
}

}  // namespace

std::optional<HotKeyHandlerRef> SimHotKeys::installEventHandler(HotKeyEventType type,
                                                                Handler handler) {
  calls_.push_back("install " + describe(type));
  const HotKeyHandlerRef ref = nextRef_++;
  handlers_[ref] = InstalledHandler{type, std::move(handler)};
  return ref;
}

CarbonStatus SimHotKeys::removeEventHandler(HotKeyHandlerRef handler) {
  const auto it = handlers_.find(handler);
  if (it == handlers_.end()) return kEventNotHandledErr;
  calls_.push_back("remove " + describe(it->second.type));
  handlers_.erase(it);
  return kCarbonNoErr;
}

std::optional<HotKeyRef> SimHotKeys::registerEventHotKey(uint32_t keyCode, uint32_t modifiers,
                                                         HotKeyID id, uint32_t options) {
  const Registration registration{keyCode, modifiers, id};
  calls_.push_back("register " + describe(registration));
  // Only kEventHotKeyExclusive (1) is defined.
  if ((options & ~1U) != 0) return std::nullopt;
  if (taken_.contains({keyCode, modifiers})) return std::nullopt;
  for (const auto& [ref, existing] : hotKeys_) {
    if (existing.keyCode == keyCode && existing.modifiers == modifiers) return std::nullopt;
  }
  const HotKeyRef ref = nextRef_++;
  hotKeys_[ref] = registration;
  return ref;
}

CarbonStatus SimHotKeys::unregisterEventHotKey(HotKeyRef hotKey) {
  const auto it = hotKeys_.find(hotKey);
  if (it == hotKeys_.end()) return kEventHotKeyInvalidErr;
  calls_.push_back("unregister " + describe(it->second));
  hotKeys_.erase(it);
  return kCarbonNoErr;
}

bool SimHotKeys::press(uint32_t keyCode, uint32_t modifiers) {
  bool registeredHere = false;
  for (const auto& [ref, r] : hotKeys_) {
    registeredHere = registeredHere || (r.keyCode == keyCode && r.modifiers == modifiers);
  }
  if (!registeredHere) return false;
  const HotKeyEventType pressed{kKeyboardEventClass, kHotKeyPressedKind};
  // A copy: a handler may install or remove handlers.
  const auto handlers = handlers_;
  for (auto it = handlers.rbegin(); it != handlers.rend(); ++it) {
    if (it->second.type != pressed || !handlers_.contains(it->first)) continue;
    const Handler handler = it->second.handler;
    if (handler && handler() == kCarbonNoErr) return true;
  }
  return false;
}

void SimHotKeys::processEnded() {
  handlers_.clear();
  hotKeys_.clear();
}

std::vector<SimHotKeys::Registration> SimHotKeys::registered() const {
  std::vector<Registration> result;
  result.reserve(hotKeys_.size());
  for (const auto& [ref, r] : hotKeys_) result.push_back(r);
  return result;
}

}  // namespace kestrune::sim
