// Owner of memory from the environment's allocator, which goes back by itself unless it is handed over.
#pragma once

#include <cstddef>
#include <limits>
#include <type_traits>
#include <utility>

#include "quelplatform/qmEnv/qmMemory.h"

namespace quelcore {

/// An array of plain elements; false when there was no memory for it.
template <typename T>
class MemoryBlock {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  static MemoryBlock uninitialised(std::size_t count) { return MemoryBlock(count, qmMallocNoInit); }
  static MemoryBlock zeroed(std::size_t count) { return MemoryBlock(count, qmMallocInitZero); }

  MemoryBlock(MemoryBlock&& other) noexcept : block_(std::exchange(other.block_, nullptr)) {}
  MemoryBlock(const MemoryBlock&) = delete;
  MemoryBlock& operator=(const MemoryBlock&) = delete;
  ~MemoryBlock() { qmMallocFree(&block_); }

  explicit operator bool() const { return block_ != nullptr; }
  T* data() const { return static_cast<T*>(block_); }

  /// Hands the array over to an owner that frees it with `qmMallocFree`.
  T* release() { return static_cast<T*>(std::exchange(block_, nullptr)); }

 private:
  MemoryBlock(std::size_t count, std::int32_t (*allocate)(std::size_t, void**) noexcept) {
    if (count <= std::numeric_limits<std::size_t>::max() / sizeof(T)) allocate(count * sizeof(T), &block_);
  }

  void* block_ = nullptr;
};

/// Frees an array that `MemoryBlock::release` handed out, and nulls the pointer to it; null is left alone.
template <typename T>
void freeMemory(T*& array) {
  void* block = std::exchange(array, nullptr);
  qmMallocFree(&block);
}

}  // namespace quelcore
