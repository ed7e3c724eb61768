// The one place outside the Apple layer that reads the real clock and
// blocks threads: everything else gets time from an executor.
#include "core/thread_executors.hpp"

#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <semaphore>
#include <stdexcept>
#include <vector>

namespace kestrune {
namespace {

TimePoint steadyNow() {
  return std::chrono::time_point_cast<Duration>(std::chrono::steady_clock::now());
}

}  // namespace

class ThreadExecutors::RunLoop final : public MainExecutor {
 public:
  [[nodiscard]] TimePoint now() const override { return steadyNow(); }
  [[nodiscard]] WallTime wallNow() const override {
    return std::chrono::time_point_cast<Duration>(std::chrono::system_clock::now());
  }

  void post(Task task) override { enqueue(steadyNow(), std::move(task), {}, {}); }
  void postAfter(Duration delay, Task task) override {
    enqueue(steadyNow() + std::max(delay, Duration::zero()), std::move(task), {}, {});
  }
  Timer scheduleRepeating(Duration interval, Task task) override {
    if (interval <= Duration::zero())
      throw std::invalid_argument("timer interval must be positive");
    auto state = std::make_shared<Timer::State>();
    enqueue(steadyNow() + interval, std::move(task), state, interval);
    return Timer(state);
  }

  void postAndWait(const Task& task) override {
    if (isMainThread()) {
      task();
      return;
    }
    std::mutex doneMutex;
    std::condition_variable doneCv;
    bool done = false;
    post([&] {
      task();
      std::lock_guard lock(doneMutex);
      done = true;
      doneCv.notify_all();
    });
    std::unique_lock lock(doneMutex);
    doneCv.wait(lock, [&] { return done; });
  }

  [[nodiscard]] bool isMainThread() const override {
    std::lock_guard lock(mutex_);
    return running_ && std::this_thread::get_id() == thread_;
  }

  void run() {
    {
      std::lock_guard lock(mutex_);
      thread_ = std::this_thread::get_id();
      running_ = true;
      stopping_ = false;
    }
    std::unique_lock lock(mutex_);
    while (!stopping_) {
      if (queue_.empty()) {
        cv_.wait(lock);
        continue;
      }
      auto first = queue_.begin();
      if (first->first.first > steadyNow()) {
        cv_.wait_until(lock, first->first.first);
        continue;
      }
      auto node = queue_.extract(first);
      Entry& entry = node.mapped();
      if (entry.timer) {
        if (entry.timer->cancelled) continue;
        queue_.emplace(Key{node.key().first + entry.interval, seq_++},
                       Entry{entry.task, entry.timer, entry.interval});
      }
      lock.unlock();
      entry.task();
      lock.lock();
    }
    running_ = false;
  }

  void stop() {
    std::lock_guard lock(mutex_);
    stopping_ = true;
    cv_.notify_all();
  }

 private:
  struct Entry {
    Task task;
    std::shared_ptr<Timer::State> timer;
    Duration interval{};
  };
  using Key = std::pair<TimePoint, uint64_t>;

  void enqueue(TimePoint due, Task task, std::shared_ptr<Timer::State> timer, Duration interval) {
    std::lock_guard lock(mutex_);
    queue_.emplace(Key{due, seq_++}, Entry{std::move(task), std::move(timer), interval});
    cv_.notify_all();
  }

  mutable std::mutex mutex_;
  std::condition_variable cv_;
  std::map<Key, Entry> queue_;
  uint64_t seq_ = 0;
  std::thread::id thread_;
  bool running_ = false;
  bool stopping_ = false;
};

// A set of threads draining one FIFO queue; with one thread it is a serial
// queue.
class ThreadExecutors::Pool final : public TaskQueue {
 public:
  Pool(std::string label, unsigned threads) : label_(std::move(label)) {
    for (unsigned i = 0; i < std::max(threads, 1U); ++i) threads_.emplace_back([this] { loop(); });
  }
  ~Pool() override {
    {
      std::lock_guard lock(mutex_);
      stopping_ = true;
    }
    cv_.notify_all();
    for (auto& t : threads_) t.join();
  }
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;

  void post(Task task) override {
    {
      std::lock_guard lock(mutex_);
      tasks_.push_back(std::move(task));
    }
    cv_.notify_one();
  }
  [[nodiscard]] const std::string& label() const override { return label_; }

 private:
  // Finishes the queued work before a stopping pool's threads exit.
  void loop() {
    std::unique_lock lock(mutex_);
    for (;;) {
      cv_.wait(lock, [this] { return stopping_ || !tasks_.empty(); });
      if (tasks_.empty()) return;
      Task task = std::move(tasks_.front());
      tasks_.pop_front();
      lock.unlock();
      task();
      lock.lock();
    }
  }

  std::string label_;
  std::mutex mutex_;
  std::condition_variable cv_;
  std::deque<Task> tasks_;
  bool stopping_ = false;
  std::vector<std::thread> threads_;
};

ThreadExecutors::ThreadExecutors(unsigned backgroundThreads)
    : main_(std::make_unique<RunLoop>()),
      background_(std::make_unique<Pool>("background", backgroundThreads)) {}

ThreadExecutors::~ThreadExecutors() = default;

MainExecutor& ThreadExecutors::main() {
  return *main_;
}
TaskQueue& ThreadExecutors::background() {
  return *background_;
}

std::shared_ptr<TaskQueue> ThreadExecutors::makeSerialQueue(std::string label,
                                                            QualityOfService /*qos*/) {
  return std::make_shared<Pool>(std::move(label), 1);
}

void ThreadExecutors::sleepFor(Duration duration) {
  if (duration > Duration::zero()) std::this_thread::sleep_for(duration);
}

void ThreadExecutors::parallelFor(size_t count, size_t width,
                                  const std::function<void(size_t)>& body) {
  std::counting_semaphore<> permits(static_cast<std::ptrdiff_t>(std::max<size_t>(width, 1)));
  std::vector<std::thread> threads;
  threads.reserve(count);
  for (size_t i = 0; i < count; ++i) {
    permits.acquire();
    threads.emplace_back([&body, &permits, i] {
      body(i);
      permits.release();
    });
  }
  for (auto& t : threads) t.join();
}

void ThreadExecutors::run() {
  main_->run();
}
void ThreadExecutors::stop() {
  main_->stop();
}

}  // namespace kestrune
