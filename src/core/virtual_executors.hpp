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
  // Moves the clock without running anything: the time a blocking call
  // takes. What became due runs at the next runUntilIdle() or advance().
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

  [[nodiscard]] TimePoint now() const override { return now_; }
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
  // Runs the earliest task if it is due by `limit`; false when none is.
  bool runOne(TimePoint limit);

  TimePoint now_ = kEpoch;
  uint64_t nextSeq_ = 0;
  std::map<Key, Entry> queue_;
  class Queue;
  std::unique_ptr<Queue> background_;
};

}  // namespace kestrune
