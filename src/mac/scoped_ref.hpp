#pragma once

#include <utility>

namespace kestrune {

// Owns one reference to a reference-counted platform handle and gives it back
// when it goes. `Traits` says how to count the handle's references:
//
//   struct Traits {
//     static void retain(T);
//     static void release(T);
//     static constexpr T null();
//   };
//
// Constructing from a handle adopts a reference the caller already owns (what
// a Create or Copy call hands over); `retain()` takes a new one (for handles
// from a Get call, or inside a container that keeps its own). Copies retain,
// moves do not. Traits are never called with the null handle.
template <class T, class Traits>
class ScopedRef {
 public:
  ScopedRef() noexcept = default;
  explicit ScopedRef(T value) noexcept : value_(value) {}

  [[nodiscard]] static ScopedRef retain(T value) {
    if (value != Traits::null()) Traits::retain(value);
    return ScopedRef(value);
  }

  ScopedRef(const ScopedRef& other) : value_(other.value_) {
    if (value_ != Traits::null()) Traits::retain(value_);
  }
  ScopedRef(ScopedRef&& other) noexcept : value_(std::exchange(other.value_, Traits::null())) {}
  // By value: copy-and-swap for both copies and moves, safe on self-assignment.
  ScopedRef& operator=(ScopedRef other) noexcept {
    swap(other);
    return *this;
  }
  ~ScopedRef() { reset(); }

  [[nodiscard]] T get() const noexcept { return value_; }
  explicit operator bool() const noexcept { return value_ != Traits::null(); }

  // Gives up ownership without releasing: the caller now owns the reference.
  [[nodiscard]] T release() noexcept { return std::exchange(value_, Traits::null()); }

  // Releases the reference held and adopts `value`. Resetting to the handle
  // already held is right when `value` carries a reference of its own.
  void reset(T value = Traits::null()) noexcept {
    const T old = std::exchange(value_, value);
    if (old != Traits::null()) Traits::release(old);
  }

  // The emptied slot, for out-parameters of Copy calls: what the call stores
  // there is adopted.
  [[nodiscard]] T* out() noexcept {
    reset();
    return &value_;
  }

  void swap(ScopedRef& other) noexcept { std::swap(value_, other.value_); }
  friend void swap(ScopedRef& a, ScopedRef& b) noexcept { a.swap(b); }

 private:
  T value_ = Traits::null();
};

}  // namespace kestrune
