#include "arrange/drag_gesture.hpp"

#include "arrange/mouse_gate.hpp"

namespace kestrune {

void postDragGesture(EventSystem& events, Executors& executors, const DragPoints& points) {
  using namespace DragTiming;
  const auto post = [&](EventType type, Point at, EventFlags flags) {
    events.postMouseEvent(type, at, flags, MouseGate::kMarker);
  };
  post(EventType::mouseMoved, points.start, 0);
  executors.sleepFor(kAfterMove);
  post(EventType::leftMouseDown, points.start, kEventFlagMaskCommand);
  executors.sleepFor(kAfterPress);
  for (int step = 1; step <= kSteps; ++step) {
    const double x = points.start.x + (points.end.x - points.start.x) * step / kSteps;
    post(EventType::leftMouseDragged, {x, points.start.y}, kEventFlagMaskCommand);
    executors.sleepFor(kStepInterval);
  }
  executors.sleepFor(kBeforeRelease);
  post(EventType::leftMouseUp, points.end, kEventFlagMaskCommand);
}

}  // namespace kestrune
