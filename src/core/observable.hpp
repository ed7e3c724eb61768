#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace kestrune {

// A subscription's token: the subscription ends when the token is reset or
// destroyed. Move-only.
class Subscription {
 public:
  Subscription() = default;
  explicit Subscription(std::function<void()> cancel) : cancel_(std::move(cancel)) {}
  Subscription(const Subscription&) = delete;
  Subscription& operator=(const Subscription&) = delete;
  Subscription(Subscription&& other) noexcept : cancel_(std::exchange(other.cancel_, nullptr)) {}
  Subscription& operator=(Subscription&& other) noexcept {
    if (this != &other) {
      reset();
      cancel_ = std::exchange(other.cancel_, nullptr);
    }
    return *this;
  }
  ~Subscription() { reset(); }

  void reset() {
    if (auto cancel = std::exchange(cancel_, nullptr)) cancel();
  }
  [[nodiscard]] bool isActive() const { return static_cast<bool>(cancel_); }

 private:
  std::function<void()> cancel_;
};

// A list of observers, called in the order they subscribed. Observers may
// subscribe or unsubscribe (others or themselves) while being called: one
// that unsubscribes is not called afterwards, one that subscribes is first
// called on the next emission. Single-threaded: used on the main thread.
template <class... Args>
class Signal {
 public:
  using Handler = std::function<void(Args...)>;

  Signal() : slots_(std::make_shared<Slots>()) {}
  Signal(const Signal&) = delete;
  Signal& operator=(const Signal&) = delete;

  [[nodiscard]] Subscription connect(Handler handler) {
    auto slot = std::make_shared<Slot>(Slot{std::move(handler), true});
    slots_->push_back(slot);
    std::weak_ptr<Slots> weakSlots = slots_;
    std::weak_ptr<Slot> weakSlot = slot;
    return Subscription([weakSlots, weakSlot] {
      auto slotsAlive = weakSlots.lock();
      auto s = weakSlot.lock();
      if (!s) return;
      s->active = false;
      if (!slotsAlive) return;
      std::erase_if(*slotsAlive, [&](const auto& p) { return p == s; });
    });
  }

  void emit(Args... args) const {
    const auto snapshot = *slots_;  // survives changes made by the handlers
    for (const auto& slot : snapshot) {
      if (slot->active) slot->handler(args...);
    }
  }

  [[nodiscard]] size_t observerCount() const { return slots_->size(); }

 private:
  struct Slot {
    Handler handler;
    bool active;
  };
  using Slots = std::vector<std::shared_ptr<Slot>>;
  std::shared_ptr<Slots> slots_;
};

// The will-change notification of an observable object: fired before any of
// its published fields changes.
using ObjectWillChange = Signal<>;

// One published field. Assigning tells the owner's will-change observers and
// then this field's own observers (with the new value) before the value is
// stored, as observable objects do; then it stores the value. Every
// assignment publishes, also one that leaves the value unchanged.
template <class T>
class Published {
 public:
  explicit Published(T initial, ObjectWillChange* owner = nullptr)
      : value_(std::move(initial)), owner_(owner) {}
  Published(const Published&) = delete;
  Published& operator=(const Published&) = delete;

  [[nodiscard]] const T& get() const { return value_; }
  operator const T&() const { return value_; }  // NOLINT(google-explicit-constructor)

  void set(T value) {
    if (owner_) owner_->emit();
    willSet_.emit(value);
    value_ = std::move(value);
  }
  Published& operator=(T value) {
    set(std::move(value));
    return *this;
  }

  // Calls `handler` with the current value at once and with every value
  // assigned from now on.
  [[nodiscard]] Subscription sink(std::function<void(const T&)> handler) {
    handler(value_);
    return willSet_.connect(std::move(handler));
  }

  // Follows one part of the value: `handler` gets the current part at once
  // and then only parts that differ from the last one it got.
  template <class Project, class Handler>
  [[nodiscard]] Subscription sinkDistinct(Project project, Handler handler) {
    using Part = std::decay_t<decltype(project(value_))>;
    auto last = std::make_shared<std::optional<Part>>();
    return sink([last, project = std::move(project), handler = std::move(handler)](const T& v) {
      Part part = project(v);
      if (*last && **last == part) return;
      *last = part;
      handler(part);
    });
  }

 private:
  T value_;
  ObjectWillChange* owner_;
  Signal<const T&> willSet_;
};

}  // namespace kestrune
