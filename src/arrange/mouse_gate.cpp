#include "arrange/mouse_gate.hpp"

namespace kestrune {

static_assert(MouseGate::kMarker == ('K' << 24 | 'E' << 16 | 'S' << 8 | 'T'));

TapDecision MouseGate::filter(EventType type, int64_t sourceUserData) {
  if (type == EventType::tapDisabledByTimeout || type == EventType::tapDisabledByUserInput) {
    return TapDecision::pass;
  }
  return sourceUserData == kMarker ? TapDecision::pass : TapDecision::swallow;
}

void MouseGate::engage() {
  if (tap_) return;
  restoreTo_ = events_.cursorLocation();
  // The diagnostic log outlives every gate; the tap runs on the main thread.
  tap_ = events_.createSessionEventTap(kMask, [&diag = diag_](const TappedEvent& event) {
    if (event.type == EventType::tapDisabledByTimeout) {
      diag.log("mousegate: tap disabled by timeout");
    } else if (event.type == EventType::tapDisabledByUserInput) {
      diag.log("mousegate: tap disabled by user input");
    }
    return filter(event.type, event.sourceUserData);
  });
  if (!tap_) diag_.log("mousegate: tap creation failed");
}

void MouseGate::release() {
  tap_.reset();
  if (restoreTo_) {
    // A warp that fails leaves the cursor where the drags put it; nothing
    // better can be done about it.
    (void)events_.warpMouseCursorPosition(*restoreTo_);
  }
  restoreTo_.reset();
}

}  // namespace kestrune
