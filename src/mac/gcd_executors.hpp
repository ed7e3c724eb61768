#pragma once

#include <memory>
#include <string>

#include "core/executor.hpp"

namespace kestrune {

// Executors on Grand Central Dispatch: the main queue and the main run loop
// for the main thread, global and serial dispatch queues for the rest.
// Repeating timers run on the main run loop in its common modes, so that
// they keep firing while a menu is being tracked.
class GCDExecutors final : public Executors {
 public:
  GCDExecutors();
  ~GCDExecutors() override;
  GCDExecutors(const GCDExecutors&) = delete;
  GCDExecutors& operator=(const GCDExecutors&) = delete;

  [[nodiscard]] MainExecutor& main() override;
  // The global queue of user-initiated quality of service.
  [[nodiscard]] TaskQueue& background() override;
  [[nodiscard]] std::shared_ptr<TaskQueue> makeSerialQueue(std::string label,
                                                           QualityOfService qos) override;
  void sleepFor(Duration duration) override;
  // The bodies run on the user-initiated global queue; a semaphore of
  // `width` permits holds back each start until a running body ends.
  void parallelFor(size_t count, size_t width, const std::function<void(size_t)>& body) override;

 private:
  class Main;
  class Queue;
  std::unique_ptr<Main> main_;
  std::unique_ptr<Queue> background_;
};

}  // namespace kestrune
