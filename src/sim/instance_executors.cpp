#include "sim/instance_executors.hpp"

#include <algorithm>

namespace kestrune::sim {

// A queue of the process's, over one of the base's. It may outlive the
// executors (a serial queue is shared), so it keeps the token itself.
class InstanceExecutors::Queue final : public TaskQueue {
 public:
  Queue(std::shared_ptr<TaskQueue> base, Token alive)
      : base_(std::move(base)), alive_(std::move(alive)) {}
  Queue(TaskQueue& base, Token alive) : unowned_(&base), alive_(std::move(alive)) {}
  void post(Task task) override { queue().post(guarded(alive_, std::move(task))); }
  [[nodiscard]] const std::string& label() const override { return queue().label(); }

 private:
  [[nodiscard]] TaskQueue& queue() const { return base_ ? *base_ : *unowned_; }

  std::shared_ptr<TaskQueue> base_;
  TaskQueue* unowned_ = nullptr;
  Token alive_;
};

InstanceExecutors::InstanceExecutors(Executors& base)
    : base_(base), background_(std::make_unique<Queue>(base.background(), alive_)) {}

InstanceExecutors::~InstanceExecutors() {
  end();
}

TaskQueue& InstanceExecutors::background() {
  return *background_;
}

void InstanceExecutors::end() {
  alive_.reset();
  for (const auto& weak : timers_) {
    if (auto timer = weak.lock()) timer->invalidate();
  }
  timers_.clear();
}

std::shared_ptr<TaskQueue> InstanceExecutors::makeSerialQueue(std::string label,
                                                              QualityOfService qos) {
  return std::make_shared<Queue>(base_.makeSerialQueue(std::move(label), qos), alive_);
}

Task InstanceExecutors::guarded(Token alive, Task task) {
  return [alive = std::move(alive), task = std::move(task)] {
    if (alive.lock()) task();
  };
}

Timer InstanceExecutors::scheduleRepeating(Duration interval, Task task) {
  std::erase_if(timers_, [](const std::weak_ptr<Timer>& t) { return t.expired(); });
  auto handedOut = std::make_shared<Timer::State>();
  // The base timer is held by its own ticks: it goes when it stops.
  auto inner = std::make_shared<Timer>();
  *inner = base_.main().scheduleRepeating(
      interval, [alive = Token(alive_), handedOut, inner, task = std::move(task)] {
        if (!alive.lock() || handedOut->cancelled) {
          inner->invalidate();
          return;
        }
        task();
      });
  timers_.push_back(inner);
  return Timer(handedOut);
}

void InstanceExecutors::postAndWait(const Task& task) {
  if (alive_) base_.main().postAndWait(task);
}

}  // namespace kestrune::sim
