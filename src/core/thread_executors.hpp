#pragma once

#include <memory>
#include <thread>

#include "core/executor.hpp"

namespace kestrune {

// Executors on real threads and the real clock, for the simulator's live
// mode on any host: a main run loop driven by run(), a small pool for
// background work and one thread per serial queue.
class ThreadExecutors final : public Executors {
 public:
  explicit ThreadExecutors(unsigned backgroundThreads = 4);
  ~ThreadExecutors() override;
  ThreadExecutors(const ThreadExecutors&) = delete;
  ThreadExecutors& operator=(const ThreadExecutors&) = delete;

  [[nodiscard]] MainExecutor& main() override;
  [[nodiscard]] TaskQueue& background() override;
  [[nodiscard]] std::shared_ptr<TaskQueue> makeSerialQueue(std::string label,
                                                           QualityOfService qos) override;
  void sleepFor(Duration duration) override;
  // One thread per body, started in index order as permits of a counting
  // semaphore of `width` come free.
  void parallelFor(size_t count, size_t width, const std::function<void(size_t)>& body) override;

  // Makes the calling thread the main thread and runs its loop until stop().
  void run();
  // Ends run() once the task running now, if any, returns.
  void stop();

 private:
  class RunLoop;
  class Worker;
  class Pool;
  std::unique_ptr<RunLoop> main_;
  std::unique_ptr<Pool> background_;
};

}  // namespace kestrune
