#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/hot_keys.hpp"

namespace kestrune::sim {

// Carbon's hot keys on the simulated Mac: registrations and handlers of the
// application target, and the user pressing keys. Main thread only.
class SimHotKeys final : public HotKeys {
 public:
  struct Registration {
    uint32_t keyCode = 0;
    uint32_t modifiers = 0;
    HotKeyID id;
    friend bool operator==(const Registration&, const Registration&) = default;
  };

  [[nodiscard]] std::optional<HotKeyHandlerRef> installEventHandler(HotKeyEventType type,
                                                                    Handler handler) override;
  CarbonStatus removeEventHandler(HotKeyHandlerRef handler) override;
  [[nodiscard]] std::optional<HotKeyRef> registerEventHotKey(uint32_t keyCode, uint32_t modifiers,
                                                             HotKeyID id,
                                                             uint32_t options) override;
  CarbonStatus unregisterEventHotKey(HotKeyRef hotKey) override;

  // Another app holds this combination: registering it fails.
  void takeByOtherApp(uint32_t keyCode, uint32_t modifiers) { taken_.insert({keyCode, modifiers}); }

  // The user presses the keys. When a hot key of the app is registered for
  // them, its pressed event goes to the installed handlers of that event
  // type, the one installed last first, until one handles it. True when
  // one did.
  bool press(uint32_t keyCode, uint32_t modifiers);

  // The app's process ended: the system drops its hot keys and handlers.
  void processEnded();

  // The hot keys registered now.
  [[nodiscard]] std::vector<Registration> registered() const;
  [[nodiscard]] size_t handlerCount() const { return handlers_.size(); }
  // Every call, in order: "install keyb/5", "register 17 6400 KSRN/1",
  // "unregister 17 6400 KSRN/1", "remove keyb/5".
  [[nodiscard]] const std::vector<std::string>& calls() const { return calls_; }

 private:
  struct InstalledHandler {
    HotKeyEventType type;
    Handler handler;
  };

  uintptr_t nextRef_ = 1;
  std::map<HotKeyHandlerRef, InstalledHandler> handlers_;  // by ref: install order
  std::map<HotKeyRef, Registration> hotKeys_;
  std::set<std::pair<uint32_t, uint32_t>> taken_;
  std::vector<std::string> calls_;
};

}  // namespace kestrune::sim
