// Costs of the discovery reads on a simulated Mac. Simulated Accessibility
// answers without latency here, so these measure Kestrune's own work.
#include <benchmark/benchmark.h>

#include "core/virtual_executors.hpp"
#include "discovery/menu_bar_item.hpp"
#include "discovery/menu_bar_layout.hpp"
#include "sim/builtin_scenarios.hpp"
#include "sim/sim_mac.hpp"

namespace {

using namespace kestrune;

sim::Scenario builtin(const char* name) {
  return sim::parseScenario(sim::builtinScenario(name)->json);
}

void BM_SnapshotOfModernBar(benchmark::State& state) {
  VirtualExecutors executors;
  sim::SimMac mac(builtin("laptop14-macos27"), executors);
  const MenuBarLayout layout(mac.platform());
  for (auto _ : state) benchmark::DoNotOptimize(layout.snapshot(seconds(0.5)));
}
BENCHMARK(BM_SnapshotOfModernBar);

void BM_MenuBarIsVisible(benchmark::State& state) {
  VirtualExecutors executors;
  sim::SimMac mac(builtin("laptop14-macos15"), executors);
  const MenuBarLayout layout(mac.platform());
  for (auto _ : state) benchmark::DoNotOptimize(layout.menuBarIsVisible());
}
BENCHMARK(BM_MenuBarIsVisible);

void BM_MatchHosts(benchmark::State& state) {
  const auto n = static_cast<int>(state.range(0));
  MenuBarLayout::Snapshot snapshot;
  std::vector<MenuBarLayout::Candidate> candidates;
  for (int i = 0; i < n; ++i) {
    const double x = 400 + 30.0 * i;
    snapshot.hosts.push_back({Rect{x, 0, 30, 37}, 100 + i % 7});
    candidates.push_back({static_cast<uint32_t>(i), 100 + i % 7, Rect{x + 3, 0, 30, 37}});
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(MenuBarLayout::matchHosts(candidates, snapshot, 40));
  }
}
BENCHMARK(BM_MatchHosts)->Arg(30)->Arg(100);

void BM_DisplayNameAndSymbol(benchmark::State& state) {
  MenuBarItem item;
  item.windowName = "Item-0";
  item.owner = ItemOwner{301, "Control Center",        "com.apple.controlcenter",        {},
                         "",  "Focus, Do Not Disturb", "com.apple.menuextra.focusmodes", 3};
  for (auto _ : state) {
    benchmark::DoNotOptimize(item.displayName(true));
    benchmark::DoNotOptimize(item.symbolIconName(true));
  }
}
BENCHMARK(BM_DisplayNameAndSymbol);

}  // namespace
