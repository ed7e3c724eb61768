// What the picker's model costs while nothing changes: Accessibility calls
// and window-list reads per simulated minute on a crowded bar, and the CPU
// time of one 3-second refresh tick (with whatever sweeps the ticks lead to,
// as the model really runs them). Virtual time: the simulated apps answer
// after their latencies without anyone waiting.
#include <benchmark/benchmark.h>

#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <sstream>

#include "core/virtual_executors.hpp"
#include "picker/overflow_model.hpp"
#include "picker/overflow_panel.hpp"
#include "settings/diag.hpp"
#include "sim/builtin_scenarios.hpp"
#include "sim/picker_stack.hpp"
#include "sim/sim_mac.hpp"
#include "sim/sim_panel_window.hpp"

namespace {

using namespace kestrune;

struct CountingAccessibility final : Accessibility {
  explicit CountingAccessibility(Accessibility& inner) : inner(inner) {}
  AXElement createApplication(pid_t pid) override { return inner.createApplication(pid); }
  AXError setMessagingTimeout(const AXElement& e, float s) override {
    return inner.setMessagingTimeout(e, s);
  }
  AXError copyAttributeValue(const AXElement& e, std::string_view a, AXAnyValue& v) override {
    ++calls;
    return inner.copyAttributeValue(e, a, v);
  }
  AXError performAction(const AXElement& e, std::string_view a) override {
    ++calls;
    return inner.performAction(e, a);
  }
  AXError getPid(const AXElement& e, pid_t& pid) override { return inner.getPid(e, pid); }
  bool isProcessTrusted() override { return inner.isProcessTrusted(); }
  bool isProcessTrustedWithOptions(bool p) override { return inner.isProcessTrustedWithOptions(p); }
  Accessibility& inner;
  std::atomic<long> calls{0};
};

struct CountingWindowServer final : WindowServer {
  explicit CountingWindowServer(WindowServer& inner) : inner(inner) {}
  std::optional<std::vector<WindowInfo>> copyWindowInfo(WindowListOption o, uint32_t r) override {
    ++reads;
    return inner.copyWindowInfo(o, r);
  }
  WindowServer& inner;
  std::atomic<long> reads{0};
};

// A home folder for the simulated user, removed afterwards: the icon files
// and the log are part of what idling costs.
struct TemporaryHome {
  TemporaryHome()
      : path(std::filesystem::temp_directory_path() /
             ("kestrune-idle-" + std::to_string(::getpid()))) {
    std::filesystem::create_directories(path / "Library/Logs");
  }
  ~TemporaryHome() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  TemporaryHome(const TemporaryHome&) = delete;
  TemporaryHome& operator=(const TemporaryHome&) = delete;
  std::filesystem::path path;
};

// A running model on a built-in scenario, settled for a minute.
struct IdleMac {
  explicit IdleMac(const char* scenario)
      : mac(sim::parseScenario(sim::builtinScenario(scenario)->json), executors,
            home.path.string()),
        ax(mac.platform().accessibility),
        windows(mac.platform().windowServer),
        platform{ax,
                 windows,
                 mac.platform().workspace,
                 mac.platform().screens,
                 mac.platform().system,
                 mac.platform().fileSystem,
                 mac.platform().defaults,
                 mac.platform().screenCapture,
                 mac.platform().imageCodec,
                 mac.platform().application,
                 mac.platform().events,
                 executors},
        stack(platform, executors, out) {
    stack.model->startWarming();
    executors.advance(std::chrono::seconds(60));
  }
  TemporaryHome home;
  VirtualExecutors executors;
  sim::SimMac mac;
  CountingAccessibility ax;
  CountingWindowServer windows;
  Platform platform;
  std::ostringstream out;
  sim::PickerStack stack;
};

void BM_IdleMinute(benchmark::State& state, const char* scenario) {
  IdleMac idle(scenario);
  long calls = 0;
  long reads = 0;
  for (auto _ : state) {
    const long c0 = idle.ax.calls;
    const long r0 = idle.windows.reads;
    idle.executors.advance(std::chrono::seconds(60));
    calls += idle.ax.calls - c0;
    reads += idle.windows.reads - r0;
  }
  const auto n = static_cast<double>(state.iterations());
  state.counters["ax_calls_per_min"] = static_cast<double>(calls) / n;
  state.counters["window_reads_per_min"] = static_cast<double>(reads) / n;
}
BENCHMARK_CAPTURE(BM_IdleMinute, legacy, "laptop14-macos15")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_IdleMinute, modern, "laptop14-macos27")->Unit(benchmark::kMillisecond);

void BM_RefreshTick(benchmark::State& state, const char* scenario) {
  IdleMac idle(scenario);
  for (auto _ : state) idle.executors.advance(std::chrono::seconds(3));
}
BENCHMARK_CAPTURE(BM_RefreshTick, legacy, "laptop14-macos15")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_RefreshTick, modern, "laptop14-macos27")->Unit(benchmark::kMicrosecond);

// The main thread's work from the toggle to the laid-out panel, with the
// items of the last sweep: describing the view, measuring it and placing
// the window. Whatever the opening starts elsewhere (the refresh's scan)
// runs after it and is not counted; Accessibility calls made during the
// opening itself are.
void BM_OpenPicker(benchmark::State& state, const char* scenario) {
  IdleMac idle(scenario);
  sim::SimPanelWindow window(idle.mac.world());
  auto panel = OverflowPanel::create(idle.stack.model, idle.stack.store,
                                     idle.stack.layout.isModern(), idle.platform, window, {});
  const double height = idle.mac.world().mainDisplay().frame.height();
  Rect anchor;
  for (const auto& item : idle.mac.world().statusItems()) {
    if (item.pid == idle.mac.world().scenario().ownPID) {
      anchor = flipVertically(item.placed.frame, height);
    }
  }
  long calls = 0;
  for (auto _ : state) {
    const long before = idle.ax.calls;
    panel->show(anchor);
    calls += idle.ax.calls - before;
    state.PauseTiming();
    panel->hide();
    idle.executors.runUntilIdle();
    state.ResumeTiming();
  }
  state.counters["ax_calls_per_open"] =
      static_cast<double>(calls) / static_cast<double>(state.iterations());
  state.counters["cells"] = static_cast<double>(window.geometry().cells.size());
}
BENCHMARK_CAPTURE(BM_OpenPicker, legacy, "laptop14-macos15")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_OpenPicker, modern, "laptop14-macos27")->Unit(benchmark::kMicrosecond);

}  // namespace
