#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <utility>

#include "core/executor.hpp"

namespace kestrune {

// Executors in virtual time, for tests and for deterministic runs of the
// simulator. Everything runs on the calling thread: main tasks, background
// tasks and serial queues share one queue ordered by due time and then by
// submission, so a run is the same every time. Time moves only through
// advance(), advanceTo() and sleepFor().
//
// A running task has a clock of its own, starting when it starts: a blocking
// sleep in it (an Accessibility call waiting for a slow app, say) moves that
// clock, so what the task posts is due later, while other tasks, the main
// thread's timers among them, keep their times, as they would on other
// threads. Outside tasks (a test calling a scanner directly) a sleep moves
// the shared clock.
class VirtualExecutors final : public Executors, private MainExecutor {
 public:
  // The clock starts at a fixed epoch, far from zero so that "the distant
  // past" stays representable.
  static constexpr TimePoint kEpoch{std::chrono::hours(24 * 365)};

  VirtualExecutors();
  ~VirtualExecutors() override;
  VirtualExecutors(const VirtualExecutors&) = delete;
  VirtualExecutors& operator=(const VirtualExecutors&) = delete;

  [[nodiscard]] MainExecutor& main() override { return *this; }
  [[nodiscard]] TaskQueue& background() override;
  [[nodiscard]] std::shared_ptr<TaskQueue> makeSerialQueue(std::string label,
                                                           QualityOfService qos) override;
  // The time a blocking call takes: moves the running task's clock, or the
  // shared clock outside tasks, without running anything.
  void sleepFor(Duration duration) override;
  // Runs the bodies one after another on this thread, but keeps time as
  // `width` workers would: each body starts at the moment the earliest of
  // the workers is free and moves the clock of that worker only. On return
  // the clock stands where the last worker finished, so a pass of blocking
  // calls takes exactly its makespan.
  void parallelFor(size_t count, size_t width, const std::function<void(size_t)>& body) override;

  // Runs every task that is due now, including those that running tasks
  // post for now. Returns how many ran.
  size_t runUntilIdle();
  // Runs the one task that is due first, if it is due now.
  bool runNext() { return runOne(now_); }
  // Moves the clock forward by `duration`, running each task at its due time
  // in order.
  void advance(Duration duration);
  void advanceTo(TimePoint target);

  [[nodiscard]] TimePoint now() const override { return clock(); }
  [[nodiscard]] WallTime wallNow() const override;
  [[nodiscard]] size_t pendingCount() const { return queue_.size(); }
  // When the earliest pending task is due, if any.
  [[nodiscard]] std::optional<TimePoint> nextDue() const;

 private:
  struct Entry {
    Task task;
    std::shared_ptr<Timer::State> timer;  // set for repeating timers
    Duration interval{};
  };
  using Key = std::pair<TimePoint, uint64_t>;

  void post(Task task) override;
  void postAfter(Duration delay, Task task) override;
  [[nodiscard]] Timer scheduleRepeating(Duration interval, Task task) override;
  void postAndWait(const Task& task) override { task(); }
  [[nodiscard]] bool isMainThread() const override { return true; }

  void enqueue(TimePoint due, Entry entry);
  [[nodiscard]] TimePoint clock() const;
  void setClock(TimePoint t);
  // Runs the earliest task if it is due by `limit`; false when none is.
  bool runOne(TimePoint limit);

  TimePoint now_ = kEpoch;            // how far the run has come
  std::optional<TimePoint> running_;  // the clock of the task running now
  uint64_t nextSeq_ = 0;
  std::map<Key, Entry> queue_;
  class Queue;
  std::unique_ptr<Queue> background_;
};

}  // namespace kestrune
