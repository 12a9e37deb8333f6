// A growable array on the environment's allocator, and the vibration record of a patch that holds one.
//
// Memory comes from qmMallocNoInit and goes back through qmMallocFree. An operation that needs memory returns false
// when there is none and leaves the array as it was; nothing throws. Elements are plain records, moved by block copies.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

#include "quelplatform/qmEnv/qmMemory.h"

/// The array. It owns its elements; it is moved, and copied by `assign` alone, since a copy can fail.
template <typename T>
class qmvector {
  static_assert(std::is_trivially_copyable_v<T>, "elements are moved by block copies");

 public:
  qmvector() = default;
  ~qmvector() { release(); }
  qmvector(const qmvector&) = delete;
  qmvector& operator=(const qmvector&) = delete;
  qmvector(qmvector&& other) noexcept { swap(other); }
  qmvector& operator=(qmvector&& other) noexcept {
    qmvector(std::move(other)).swap(*this);
    return *this;
  }

  std::size_t size() const { return static_cast<std::size_t>(end_ - begin_); }
  std::size_t capacity() const { return static_cast<std::size_t>(room_ - begin_); }
  bool empty() const { return begin_ == end_; }

  T* data() { return begin_; }
  const T* data() const { return begin_; }
  T* begin() { return begin_; }
  T* end() { return end_; }
  const T* begin() const { return begin_; }
  const T* end() const { return end_; }
  T& operator[](std::size_t index) { return begin_[index]; }
  const T& operator[](std::size_t index) const { return begin_[index]; }

  /// Drops the elements and keeps the memory.
  void clear() { end_ = begin_; }

  /// Makes room for `count` elements. A capacity that is too small grows to the larger of twice itself and `count`.
  bool reserve(std::size_t count) { return grow(count); }

  /// Cuts or lengthens the array to `count` elements; new ones are zero. Grows as `reserve` does.
  bool resize(std::size_t count) {
    const std::size_t before = size();
    if (!grow(count)) return false;
    end_ = begin_ + count;
    if (count > before) std::fill(begin_ + before, end_, T{});
    return true;
  }

  /// Appends an element, which may be one of this array. Grows as `reserve` does.
  bool push_back(const T& value) {
    const T copy = value;
    if (!grow(size() + 1)) return false;
    *end_++ = copy;
    return true;
  }

  /// Puts an element, which may be one of this array, before `position`, 0 to `size()`; false for one beyond. A full
  /// array of n elements grows to n + max(n, 1).
  bool insert(std::size_t position, const T& value) {
    const std::size_t count = size();
    if (position > count) return false;
    const T copy = value;
    if (end_ == room_ && !moveTo(count + (count == 0 ? 1 : count))) return false;
    std::memmove(static_cast<void*>(begin_ + position + 1), begin_ + position, (count - position) * sizeof(T));
    begin_[position] = copy;
    ++end_;
    return true;
  }

  /// Makes the elements those of `other`.
  bool assign(const qmvector& other) {
    if (this == &other) return true;
    if (!grow(other.size())) return false;
    if (!other.empty()) std::memcpy(static_cast<void*>(begin_), other.begin_, other.size() * sizeof(T));
    end_ = begin_ + other.size();
    return true;
  }

  void swap(qmvector& other) noexcept {
    std::swap(begin_, other.begin_);
    std::swap(end_, other.end_);
    std::swap(room_, other.room_);
  }

 private:
  /// As many elements as any memory could hold; twice as many bytes still fit a size.
  static constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max() / 4 / sizeof(T);

  bool grow(std::size_t count) {
    if (count > kMost) return false;
    if (count <= capacity()) return true;
    const std::size_t twice = 2 * capacity();
    return moveTo(count > twice ? count : twice);
  }

  bool moveTo(std::size_t newCapacity) {
    void* block = nullptr;
    if (qmMallocNoInit(newCapacity * sizeof(T), &block) == 0 || block == nullptr) return false;
    const std::size_t count = size();
    if (count != 0) std::memcpy(block, begin_, count * sizeof(T));
    release();
    begin_ = static_cast<T*>(block);
    end_ = begin_ + count;
    room_ = begin_ + newCapacity;
    return true;
  }

  void release() {
    void* block = begin_;
    qmMallocFree(&block);
  }

  void* reserved_ = nullptr;  // the first word is empty
  T* begin_ = nullptr;
  T* end_ = nullptr;
  T* room_ = nullptr;
};

/// Brightness of the lines of a patch over time. The two leading words are read by nothing here.
struct qmPatchVibrationInfo {
  std::int32_t reserved[2] = {0, 0};
  qmvector<std::int32_t> values;
};
