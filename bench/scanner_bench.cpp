// Full scans of a busy simulated Mac with real threads and real waits,
// against the floor the design allows.
//
// The floor is the same scan run in virtual time: VirtualExecutors keeps one
// clock per worker of a pass, so its elapsed time is exactly the makespan of
// the apps' answer times (each read capped at its time-out) scheduled on 8
// workers in the order the scanner asks them, plus the same for the second
// pass on 3 workers. `ratio` is the real scan's time over that floor;
// `cpu_ms` is the CPU time of the whole process (every thread) per scan.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <chrono>
#include <cstdint>
#include <random>

#include "core/thread_executors.hpp"
#include "core/virtual_executors.hpp"
#include "discovery/item_scanner.hpp"
#include "settings/diag.hpp"
#include "sim/sim_mac.hpp"

namespace {

using namespace kestrune;

// 60 running apps and 30 status items: 22 apps have items (8 of them two).
// When `busy`, 3 of those never answer and 2 answer after 0.6 s; every other
// app answers each read within 5–40 ms.
sim::Scenario busyMac(int osMajorVersion, bool busy) {
  sim::Scenario s;
  s.name = busy ? "busy Mac" : "busy Mac, every app answering";
  s.osMajorVersion = osMajorVersion;
  sim::ScenarioScreen screen;
  screen.frame = Rect{0, 0, 1512, 982};
  screen.notchWidth = 190;
  screen.menuBarHeight = 37;
  s.screens.push_back(screen);
  std::mt19937 random(20261122);
  for (int i = 0; i < 60; ++i) {
    sim::ScenarioApp app;
    app.pid = 500 + i;
    app.bundleID = "com.example.app" + std::to_string(i);
    app.name = "App " + std::to_string(i);
    app.latencyMs = 5 + static_cast<double>(random() % 36);
    const int items = i < 8 ? 2 : (i < 22 ? 1 : 0);
    for (int k = 0; k < items; ++k) {
      sim::ScenarioItem item;
      item.key = "item" + std::to_string(i) + "-" + std::to_string(k);
      item.windowName = "Item-" + std::to_string(k);
      item.width = 28;
      app.items.push_back(item);
    }
    if (busy && (i == 3 || i == 11 || i == 17)) app.accessibility = sim::AXMode::never;
    if (busy && (i == 6 || i == 14)) app.latencyMs = 600;
    s.apps.push_back(app);
  }
  return s;
}

double scanSeconds(const sim::Scenario& scenario, Executors& executors) {
  sim::SimMac mac(scenario, executors);
  const MenuBarLayout layout(mac.platform());
  Diag diag(mac.platform().fileSystem, mac.platform().system, executors);
  ItemScanner scanner(mac.platform(), layout, diag);
  const TimePoint start = executors.main().now();
  benchmark::DoNotOptimize(scanner.scan());
  return toSeconds(executors.main().now() - start);
}

double cpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  auto seconds = [](const timeval& t) { return t.tv_sec + t.tv_usec / 1e6; };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void BM_FullScan(benchmark::State& state) {
  const int version = static_cast<int>(state.range(0));
  const bool busy = state.range(1) != 0;
  const sim::Scenario scenario = busyMac(version, busy);
  VirtualExecutors virtualTime;
  const double floor = scanSeconds(scenario, virtualTime);
  double cpu = 0;
  double ratio = 0;
  for (auto _ : state) {
    ThreadExecutors executors(2);
    const double cpuBefore = cpuSeconds();
    const double elapsed = scanSeconds(scenario, executors);
    cpu += cpuSeconds() - cpuBefore;
    ratio += elapsed / floor;
    state.SetIterationTime(elapsed);
  }
  const auto n = static_cast<double>(state.iterations());
  state.counters["floor_s"] = floor;
  state.counters["ratio"] = ratio / n;
  state.counters["cpu_ms"] = cpu / n * 1000;
  state.SetLabel(std::string(version > 26 ? "modern" : "legacy") +
                 (busy ? ", 3 silent + 2 slow apps" : ", every app answering"));
}
BENCHMARK(BM_FullScan)
    ->ArgsProduct({{15, 27}, {1, 0}})
    ->ArgNames({"macOS", "busy"})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

}  // namespace
