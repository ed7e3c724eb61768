#include "core/virtual_executors.hpp"

#include <algorithm>
#include <stdexcept>
#include <utility>
#include <vector>

namespace kestrune {

// A queue whose tasks go into the shared virtual queue. Serial order follows
// from the shared queue's submission order.
class VirtualExecutors::Queue final : public TaskQueue {
 public:
  Queue(VirtualExecutors& owner, std::string label) : owner_(owner), label_(std::move(label)) {}
  void post(Task task) override { owner_.enqueue(owner_.clock(), Entry{std::move(task), {}, {}}); }
  [[nodiscard]] const std::string& label() const override { return label_; }

 private:
  VirtualExecutors& owner_;
  std::string label_;
};

VirtualExecutors::VirtualExecutors() : background_(std::make_unique<Queue>(*this, "background")) {}

VirtualExecutors::~VirtualExecutors() = default;

TaskQueue& VirtualExecutors::background() {
  return *background_;
}

std::shared_ptr<TaskQueue> VirtualExecutors::makeSerialQueue(std::string label,
                                                             QualityOfService /*qos*/) {
  return std::make_shared<Queue>(*this, std::move(label));
}

TimePoint VirtualExecutors::clock() const {
  return running_ ? *running_ : now_;
}

void VirtualExecutors::setClock(TimePoint t) {
  if (running_) {
    running_ = t;
  } else {
    now_ = t;
  }
}

void VirtualExecutors::sleepFor(Duration duration) {
  if (duration > Duration::zero()) setClock(clock() + duration);
}

void VirtualExecutors::parallelFor(size_t count, size_t width,
                                   const std::function<void(size_t)>& body) {
  const TimePoint start = clock();
  std::vector<TimePoint> freeAt(std::min(std::max<size_t>(width, 1), count), start);
  TimePoint end = start;
  for (size_t i = 0; i < count; ++i) {
    auto worker = std::min_element(freeAt.begin(), freeAt.end());
    setClock(*worker);
    body(i);
    *worker = clock();
    end = std::max(end, *worker);
  }
  setClock(end);
}

WallTime VirtualExecutors::wallNow() const {
  // 2026-01-01 00:00:00 UTC plus the virtual time elapsed.
  constexpr WallTime kWallEpoch{std::chrono::seconds(1767225600)};
  return kWallEpoch + (clock() - kEpoch);
}

void VirtualExecutors::post(Task task) {
  // From a task, at that task's own time: what background work hands back
  // to the main thread arrives after the work's blocking waits.
  enqueue(clock(), Entry{std::move(task), {}, {}});
}

void VirtualExecutors::postAfter(Duration delay, Task task) {
  enqueue(clock() + std::max(delay, Duration::zero()), Entry{std::move(task), {}, {}});
}

Timer VirtualExecutors::scheduleRepeating(Duration interval, Task task) {
  if (interval <= Duration::zero()) throw std::invalid_argument("timer interval must be positive");
  auto state = std::make_shared<Timer::State>();
  enqueue(clock() + interval, Entry{std::move(task), state, interval});
  return Timer(state);
}

void VirtualExecutors::enqueue(TimePoint due, Entry entry) {
  queue_.emplace(Key{due, nextSeq_++}, std::move(entry));
}

std::optional<TimePoint> VirtualExecutors::nextDue() const {
  if (queue_.empty()) return std::nullopt;
  return queue_.begin()->first.first;
}

bool VirtualExecutors::runOne(TimePoint limit) {
  if (queue_.empty() || queue_.begin()->first.first > limit) return false;
  auto node = queue_.extract(queue_.begin());
  const TimePoint due = node.key().first;
  Entry& entry = node.mapped();
  if (due > now_) now_ = due;
  if (entry.timer) {
    if (entry.timer->cancelled) return true;
    // Re-arm before the tick so that a tick may invalidate its own timer.
    enqueue(due + entry.interval, Entry{entry.task, entry.timer, entry.interval});
  }
  // The task keeps its own clock: a blocking call in background work moves
  // that work's time, not the time at which other tasks run.
  const auto outer = std::exchange(running_, now_);
  entry.task();
  running_ = outer;
  return true;
}

size_t VirtualExecutors::runUntilIdle() {
  size_t ran = 0;
  while (runOne(now_)) {
    if (++ran > 1'000'000) throw std::runtime_error("virtual executors: tasks never settle");
  }
  return ran;
}

void VirtualExecutors::advanceTo(TimePoint target) {
  while (runOne(target)) {
  }
  if (target > now_) now_ = target;
  runUntilIdle();
}

void VirtualExecutors::advance(Duration duration) {
  advanceTo(now_ + duration);
}

}  // namespace kestrune
