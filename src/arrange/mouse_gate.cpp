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
  tap_ = events_.createSessionEventTap(
      kMask, [](const TappedEvent& event) { return filter(event.type, event.sourceUserData); });
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
