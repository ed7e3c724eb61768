// The Apple executors: the one place on the Mac that reads the clock and
// blocks threads.
#include "mac/gcd_executors.hpp"

#import <CoreFoundation/CoreFoundation.h>
#import <dispatch/dispatch.h>

#include <pthread.h>
#include <time.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <utility>

#include "mac/cf_ref.hpp"

namespace kestrune {
namespace {

// The dispatch_*_f calls take a function and a context: the context is a heap
// copy of the task, which the function runs once and then frees.
void* ownedContext(Task task) {
  return new Task(std::move(task));
}

void runOwnedTask(void* context) {
  const std::unique_ptr<Task> task(static_cast<Task*>(context));
  (*task)();
}

void runBorrowedTask(void* context) {
  (*static_cast<const Task*>(context))();
}

dispatch_time_t dispatchTimeAfter(Duration delay) {
  return dispatch_time(DISPATCH_TIME_NOW, std::max(delay, Duration::zero()).count());
}

qos_class_t toQosClass(QualityOfService qos) {
  switch (qos) {
    case QualityOfService::utility:
      return QOS_CLASS_UTILITY;
    case QualityOfService::userInitiated:
      return QOS_CLASS_USER_INITIATED;
    case QualityOfService::userInteractive:
      return QOS_CLASS_USER_INTERACTIVE;
    case QualityOfService::unspecified:
      break;
  }
  return QOS_CLASS_UNSPECIFIED;
}

// A repeating timer's state also owns its run loop timer, and the run loop
// timer's handler holds the state only weakly: when the last Timer handle
// goes, the state goes and takes the run loop timer off the run loop, rather
// than leaving it to fire once more only to find itself cancelled.
struct RunLoopTimerState final : Timer::State {
  CFRef<CFRunLoopTimerRef> timer;

  RunLoopTimerState() = default;
  RunLoopTimerState(const RunLoopTimerState&) = delete;
  RunLoopTimerState& operator=(const RunLoopTimerState&) = delete;
  ~RunLoopTimerState() {
    if (!timer) return;
    if (pthread_main_np() != 0) {
      CFRunLoopTimerInvalidate(timer.get());
      return;
    }
    // A run loop is best changed from its own thread.
    const CFRef<CFRunLoopTimerRef> kept = std::move(timer);
    dispatch_async(dispatch_get_main_queue(), ^{
      CFRunLoopTimerInvalidate(kept.get());
    });
  }
};

// Checks the state on every tick as well: a handle that was invalidated while
// a tick was already queued must not see its task run.
void tick(CFRunLoopTimerRef timer, const std::weak_ptr<RunLoopTimerState>& weakState,
          const Task& task) {
  const auto state = weakState.lock();
  if (!state || state->cancelled) {
    CFRunLoopTimerInvalidate(timer);
    return;
  }
  task();
}

}  // namespace

class GCDExecutors::Main final : public MainExecutor {
 public:
  // A monotonic clock that goes on while the Mac sleeps: a sweep from
  // before a night's sleep is stale in the morning. Posted delays count
  // uptime, as dispatch_after does; they only come later after a sleep.
  [[nodiscard]] TimePoint now() const override {
    return TimePoint(Duration(static_cast<Duration::rep>(clock_gettime_nsec_np(CLOCK_MONOTONIC))));
  }
  [[nodiscard]] WallTime wallNow() const override {
    return std::chrono::time_point_cast<Duration>(std::chrono::system_clock::now());
  }

  void post(Task task) override {
    dispatch_async_f(dispatch_get_main_queue(), ownedContext(std::move(task)), runOwnedTask);
  }

  void postAfter(Duration delay, Task task) override {
    dispatch_after_f(dispatchTimeAfter(delay), dispatch_get_main_queue(),
                     ownedContext(std::move(task)), runOwnedTask);
  }

  // A run loop timer in the common modes, which include the event-tracking
  // mode, so that it keeps firing while a menu is open.
  [[nodiscard]] Timer scheduleRepeating(Duration interval, Task task) override {
    if (interval <= Duration::zero())
      throw std::invalid_argument("timer interval must be positive");
    auto state = std::make_shared<RunLoopTimerState>();
    const std::weak_ptr<RunLoopTimerState> weakState = state;
    const CFTimeInterval seconds = toSeconds(interval);
    state->timer = CFRef<CFRunLoopTimerRef>(
        CFRunLoopTimerCreateWithHandler(kCFAllocatorDefault, CFAbsoluteTimeGetCurrent() + seconds,
                                        seconds, 0, 0, ^(CFRunLoopTimerRef timer) {
                                          tick(timer, weakState, task);
                                        }));
    if (state->timer) {
      CFRunLoopAddTimer(CFRunLoopGetMain(), state->timer.get(), kCFRunLoopCommonModes);
    }
    return Timer(std::move(state));
  }

  void postAndWait(const Task& task) override {
    if (isMainThread()) {
      task();
      return;
    }
    dispatch_sync_f(dispatch_get_main_queue(), const_cast<Task*>(&task), runBorrowedTask);
  }

  [[nodiscard]] bool isMainThread() const override { return pthread_main_np() != 0; }
};

class GCDExecutors::Queue final : public TaskQueue {
 public:
  Queue(dispatch_queue_t queue, std::string label) : queue_(queue), label_(std::move(label)) {}

  void post(Task task) override {
    dispatch_async_f(queue_, ownedContext(std::move(task)), runOwnedTask);
  }
  [[nodiscard]] const std::string& label() const override { return label_; }

 private:
  dispatch_queue_t queue_;  // strong: dispatch objects are counted by ARC
  std::string label_;
};

GCDExecutors::GCDExecutors()
    : main_(std::make_unique<Main>()),
      background_(std::make_unique<Queue>(dispatch_get_global_queue(QOS_CLASS_USER_INITIATED, 0),
                                          "background")) {}

GCDExecutors::~GCDExecutors() = default;

MainExecutor& GCDExecutors::main() {
  return *main_;
}

TaskQueue& GCDExecutors::background() {
  return *background_;
}

std::shared_ptr<TaskQueue> GCDExecutors::makeSerialQueue(std::string label, QualityOfService qos) {
  dispatch_queue_attr_t attributes = DISPATCH_QUEUE_SERIAL;
  if (qos != QualityOfService::unspecified) {
    attributes = dispatch_queue_attr_make_with_qos_class(attributes, toQosClass(qos), 0);
  }
  dispatch_queue_t queue = dispatch_queue_create(label.c_str(), attributes);
  return std::make_shared<Queue>(queue, std::move(label));
}

void GCDExecutors::sleepFor(Duration duration) {
  if (duration <= Duration::zero()) return;
  const auto whole = std::chrono::duration_cast<std::chrono::seconds>(duration);
  timespec remaining{static_cast<time_t>(whole.count()),
                     static_cast<long>((duration - whole).count())};
  // A signal cuts the sleep short; sleep what is left.
  while (nanosleep(&remaining, &remaining) == -1 && errno == EINTR) {
  }
}

void GCDExecutors::parallelFor(size_t count, size_t width,
                               const std::function<void(size_t)>& body) {
  dispatch_queue_t queue = dispatch_get_global_queue(QOS_CLASS_USER_INITIATED, 0);
  dispatch_group_t group = dispatch_group_create();
  // More permits than bodies would change nothing, and the count must fit
  // the semaphore's signed value.
  const size_t permits = std::clamp<size_t>(width, 1, std::max<size_t>(count, 1));
  dispatch_semaphore_t semaphore = dispatch_semaphore_create(static_cast<intptr_t>(permits));
  // The blocks share `body` through a pointer rather than copy it: this call
  // waits for every run before it returns.
  const std::function<void(size_t)>* shared = &body;
  for (size_t i = 0; i < count; ++i) {
    dispatch_semaphore_wait(semaphore, DISPATCH_TIME_FOREVER);
    dispatch_group_async(group, queue, ^{
      (*shared)(i);
      dispatch_semaphore_signal(semaphore);
    });
  }
  // Every permit is back once the group is empty, as a semaphore must be
  // when it is released.
  dispatch_group_wait(group, DISPATCH_TIME_FOREVER);
}

}  // namespace kestrune
