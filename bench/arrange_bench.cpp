// The arrangement's planning on bars far larger than any real one: which
// items stay and the moves for the rest, for a random wanted order.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "arrange/arrange_plan.hpp"

namespace {

using namespace kestrune;

struct Bar {
  std::vector<ArrangeEntry> real;
  std::vector<ArrangeEntry> desired;
  std::vector<Win> layout;
};

// `n` drawn items and our own icon at the right end, wanted in a random
// order with our icon still last.
Bar randomBar(size_t n) {
  Bar bar;
  for (size_t i = 0; i <= n; ++i) {
    ArrangeEntry e;
    e.id = static_cast<uint32_t>(100 + i);
    e.name = "Item " + std::to_string(i);
    e.kind = i == n ? ArrangeEntry::Kind::ownIcon : ArrangeEntry::Kind::item;
    e.isOnScreen = true;
    bar.layout.push_back({e.id, Rect{30.0 * static_cast<double>(i), 0, 30, 24}, true});
    bar.real.push_back(std::move(e));
  }
  bar.desired = bar.real;
  std::mt19937 random(12345);
  std::shuffle(bar.desired.begin(), std::prev(bar.desired.end()), random);
  return bar;
}

void BM_PlanRandomOrder(benchmark::State& state) {
  const Bar bar = randomBar(static_cast<size_t>(state.range(0)));
  const auto order = idsOf(bar.layout);
  const auto want = idsOf(bar.desired);
  const auto name = [](uint32_t id) { return std::to_string(id); };
  size_t moves = 0;
  for (auto _ : state) {
    const IdSet fixed = fixedSet(bar.layout, grabbable(bar.real, bar.layout));
    const IdSet keep = keepSet(order, want, fixed, name, false);
    const auto planned =
        planMoves(bar.desired, bar.layout, keep, rightAnchor(bar.desired, false), false);
    moves = planned.size();
    benchmark::DoNotOptimize(planned.data());
  }
  state.counters["moves"] = static_cast<double>(moves);
}
BENCHMARK(BM_PlanRandomOrder)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);

// The keep set alone, to tell its share of the planning.
void BM_KeepSetRandomOrder(benchmark::State& state) {
  const Bar bar = randomBar(static_cast<size_t>(state.range(0)));
  const auto order = idsOf(bar.layout);
  const auto want = idsOf(bar.desired);
  const IdSet fixed = fixedSet(bar.layout, grabbable(bar.real, bar.layout));
  const auto name = [](uint32_t id) { return std::to_string(id); };
  for (auto _ : state) benchmark::DoNotOptimize(keepSet(order, want, fixed, name, false));
}
BENCHMARK(BM_KeepSetRandomOrder)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);

void BM_LongestIncreasingSubsequence(benchmark::State& state) {
  std::vector<int> values(static_cast<size_t>(state.range(0)));
  std::mt19937 random(678);
  for (int& v : values) v = static_cast<int>(random() % 1000000);
  for (auto _ : state) benchmark::DoNotOptimize(longestIncreasingSubsequence(values));
}
BENCHMARK(BM_LongestIncreasingSubsequence)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace
