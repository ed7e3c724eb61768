#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "core/time.hpp"

namespace kestrune {

using Task = std::function<void()>;

// A repeating timer's handle. Invalidating it (or destroying the handle)
// stops further ticks; a tick already running finishes.
class Timer {
 public:
  struct State {
    std::atomic<bool> cancelled{false};
  };

  Timer() = default;
  explicit Timer(std::shared_ptr<State> state) : state_(std::move(state)) {}
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;
  Timer(Timer&& other) noexcept = default;
  Timer& operator=(Timer&& other) noexcept {
    if (this != &other) {
      invalidate();
      state_ = std::move(other.state_);
    }
    return *this;
  }
  ~Timer() { invalidate(); }

  void invalidate() {
    if (state_) state_->cancelled = true;
    state_.reset();
  }
  [[nodiscard]] bool isValid() const { return state_ && !state_->cancelled; }

 private:
  std::shared_ptr<State> state_;
};

class Clock {
 public:
  virtual ~Clock() = default;
  // Monotonic. The Mac's counts the time the Mac slept too: what is stale
  // after a sleep must look stale.
  [[nodiscard]] virtual TimePoint now() const = 0;
  [[nodiscard]] virtual WallTime wallNow() const = 0;
};

// The main thread: every model and view lives here.
class MainExecutor : public Clock {
 public:
  virtual void post(Task task) = 0;
  virtual void postAfter(Duration delay, Task task) = 0;
  // Runs `task` every `interval` on the main thread until the timer is
  // invalidated. The first tick comes one interval from now.
  [[nodiscard]] virtual Timer scheduleRepeating(Duration interval, Task task) = 0;
  // Runs `task` on the main thread and waits for it; runs it at once when
  // already on the main thread.
  virtual void postAndWait(const Task& task) = 0;
  [[nodiscard]] virtual bool isMainThread() const = 0;
};

// A queue of work off the main thread: a serial queue runs its tasks one
// after another in submission order; the background queue may run them at
// the same time.
class TaskQueue {
 public:
  virtual ~TaskQueue() = default;
  virtual void post(Task task) = 0;
  [[nodiscard]] virtual const std::string& label() const = 0;
};

enum class QualityOfService { unspecified, utility, userInitiated, userInteractive };

// Everything the product needs to run work and wait: chosen once where the
// program is assembled (GCD on the Mac, threads in the simulator's live mode,
// virtual time in tests).
class Executors {
 public:
  virtual ~Executors() = default;
  [[nodiscard]] virtual MainExecutor& main() = 0;
  // Detached work of user-initiated priority.
  [[nodiscard]] virtual TaskQueue& background() = 0;
  [[nodiscard]] virtual std::shared_ptr<TaskQueue> makeSerialQueue(std::string label,
                                                                   QualityOfService qos) = 0;
  // Blocks the calling thread, which is never the main thread.
  virtual void sleepFor(Duration duration) = 0;
  // Runs body(0) … body(count − 1) concurrently, starting them in index
  // order with at most `width` running at once, and returns when all have
  // finished. Called off the main thread; `body` must be thread-safe.
  virtual void parallelFor(size_t count, size_t width, const std::function<void(size_t)>& body) = 0;
};

}  // namespace kestrune
