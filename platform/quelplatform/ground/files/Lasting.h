// An object that lives as long as the process, in memory of the program itself.
#pragma once

#include <cstddef>
#include <new>

namespace quelplatform {

/// Made once and never destroyed, so that destructors of static objects may still use it; making it takes no memory, so
/// that a first use cannot fail either. For a static variable:
///
///   static Lasting<State> state;
///   return state.get();
template <typename T>
class Lasting {
 public:
  Lasting() noexcept : object_(*new (place_) T) {}
  Lasting(const Lasting&) = delete;
  Lasting& operator=(const Lasting&) = delete;

  T& get() const noexcept { return object_; }

 private:
  alignas(T) std::byte place_[sizeof(T)];
  T& object_;
};

}  // namespace quelplatform
