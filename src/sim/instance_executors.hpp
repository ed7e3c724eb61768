#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/executor.hpp"

namespace kestrune::sim {

// The executors one run of Kestrune's process posts through, over the
// simulated Mac's own. Every task carries the run's liveness token: once the
// process has ended, what it had queued (main-thread tasks, background and
// serial-queue work, timer ticks) does nothing, and its repeating timers
// stop, as nothing of a process runs after it exits. Not thread-safe: for
// the virtual executors, whose tasks all run on the calling thread.
class InstanceExecutors final : public Executors, private MainExecutor {
 public:
  explicit InstanceExecutors(Executors& base);
  ~InstanceExecutors() override;
  InstanceExecutors(const InstanceExecutors&) = delete;
  InstanceExecutors& operator=(const InstanceExecutors&) = delete;

  // The process ends: nothing posted through these runs from now on.
  void end();
  [[nodiscard]] bool isLive() const { return alive_ != nullptr; }

  [[nodiscard]] MainExecutor& main() override { return *this; }
  [[nodiscard]] TaskQueue& background() override;
  [[nodiscard]] std::shared_ptr<TaskQueue> makeSerialQueue(std::string label,
                                                           QualityOfService qos) override;
  void sleepFor(Duration duration) override { base_.sleepFor(duration); }
  void parallelFor(size_t count, size_t width, const std::function<void(size_t)>& body) override {
    base_.parallelFor(count, width, body);
  }

 private:
  class Queue;
  using Token = std::weak_ptr<const bool>;

  [[nodiscard]] TimePoint now() const override { return base_.main().now(); }
  [[nodiscard]] WallTime wallNow() const override { return base_.main().wallNow(); }
  void post(Task task) override { base_.main().post(guarded(alive_, std::move(task))); }
  void postAfter(Duration delay, Task task) override {
    base_.main().postAfter(delay, guarded(alive_, std::move(task)));
  }
  [[nodiscard]] Timer scheduleRepeating(Duration interval, Task task) override;
  void postAndWait(const Task& task) override;
  [[nodiscard]] bool isMainThread() const override { return base_.main().isMainThread(); }

  // `task`, doing nothing once `alive` has expired: the process has ended.
  [[nodiscard]] static Task guarded(Token alive, Task task);

  Executors& base_;
  std::shared_ptr<const bool> alive_ = std::make_shared<const bool>(true);
  std::unique_ptr<Queue> background_;
  // The base's timers behind the ones handed out, stopped when the process
  // ends; a handed-out timer's own invalidation stops its base timer at its
  // next tick.
  std::vector<std::weak_ptr<Timer>> timers_;
};

}  // namespace kestrune::sim
