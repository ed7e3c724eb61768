#include "sim/instance_executors.hpp"

#include <algorithm>

namespace kestrune::sim {

class InstanceExecutors::Queue final : public TaskQueue {
 public:
  Queue(std::shared_ptr<TaskQueue> base, const InstanceExecutors& owner)
      : base_(std::move(base)), owner_(owner) {}
  Queue(TaskQueue& base, const InstanceExecutors& owner) : unowned_(&base), owner_(owner) {}
  void post(Task task) override { queue().post(owner_.guarded(std::move(task))); }
  [[nodiscard]] const std::string& label() const override { return queue().label(); }

 private:
  [[nodiscard]] TaskQueue& queue() const { return base_ ? *base_ : *unowned_; }

  std::shared_ptr<TaskQueue> base_;
  TaskQueue* unowned_ = nullptr;
  const InstanceExecutors& owner_;
};

InstanceExecutors::InstanceExecutors(Executors& base)
    : base_(base), background_(std::make_unique<Queue>(base.background(), *this)) {}

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
  return std::make_shared<Queue>(base_.makeSerialQueue(std::move(label), qos), *this);
}

Task InstanceExecutors::guarded(Task task) const {
  return [alive = Token(alive_), task = std::move(task)] {
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
