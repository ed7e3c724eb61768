#pragma once

#include <sys/types.h>

#include <vector>

#include "arrange/arrange_entry.hpp"
#include "discovery/menu_bar_item.hpp"
#include "platform/workspace.hpp"

namespace kestrune {

// The self-test's fixed sample: the status items of a crowded 14-inch
// MacBook Pro's menu bar on macOS 15 (the simulator's default scenario),
// left to right, with their owners, as a scan finds them: twelve stand
// behind the notch, and one app never answers Accessibility, so its item
// has no owner. Kestrune's own item belongs to `ownPID`, so that the
// picker leaves it out as it leaves out the running app's own.
[[nodiscard]] std::vector<MenuBarItem> selfTestSampleItems(pid_t ownPID);

// The arrangement's rows for the sample, left to right.
[[nodiscard]] std::vector<ArrangeEntry> selfTestSampleEntries(const std::vector<MenuBarItem>& items,
                                                              pid_t ownPID, Workspace& workspace);

}  // namespace kestrune
