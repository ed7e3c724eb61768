#pragma once

#include "arrange/arrange_plan.hpp"
#include "core/executor.hpp"
#include "platform/event_system.hpp"

namespace kestrune {

// The ⌘-drag a person makes to move a status item, with the pauses the
// window server needs to follow it.
namespace DragTiming {
inline constexpr Duration kAfterMove = std::chrono::milliseconds(80);
inline constexpr Duration kAfterPress = std::chrono::milliseconds(150);
inline constexpr int kSteps = 20;
inline constexpr Duration kStepInterval = std::chrono::milliseconds(22);
inline constexpr Duration kBeforeRelease = std::chrono::milliseconds(150);
// After the drop, before the bar is read to check the move.
inline constexpr Duration kSettle = std::chrono::milliseconds(450);
}  // namespace DragTiming

// Posts the whole gesture, each event stamped with the mouse gate's marker,
// sleeping between events: a move to the start, a ⌘-press, twenty ⌘-drags
// along the horizontal line to the end, and a ⌘-release at the end. Blocks
// for about 0.8 s: never call it on the main thread, where the gate's tap
// must keep running. An event that cannot be made is skipped.
void postDragGesture(EventSystem& events, Executors& executors, const DragPoints& points);

}  // namespace kestrune
