#include "quelplatform/windows/icuMemory.h"

#include <malloc.h>
#include <pthread.h>
#include <unicode/uclean.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

namespace quelplatform {

namespace {

constexpr std::size_t kAlignment = alignof(std::max_align_t);
constexpr std::size_t kPoolSize = std::size_t{4} << 20;      // Pages that ICU does not touch cost nothing.
constexpr std::size_t kSessionNeeds = std::size_t{2} << 20;  // Several times what a locale takes.

constexpr std::size_t aligned(std::size_t size) { return (size + kAlignment - 1) / kAlignment * kAlignment; }

// What stands in front of each block of a pool.
struct alignas(kAlignment) BlockHead {
  std::size_t size;
  BlockHead* before;
  bool isFree;
};

}  // namespace

/// Memory that is handed out from its beginning to its end. What is given back is used again when nothing behind it is
/// held any more: most of what ICU takes it needs for a moment only.
class IcuPool {
 public:
  static IcuPool* make() noexcept {
    void* memory = std::malloc(kPoolSize);
    return memory == nullptr ? nullptr : new (memory) IcuPool;
  }

  std::size_t left() noexcept {
    const std::lock_guard lock(mutex_);
    return kPoolSize - used_;
  }

  bool holds(const void* block) const noexcept {
    const auto* const begin = reinterpret_cast<const std::byte*>(this);
    return block >= begin && block < begin + kPoolSize;
  }

  void* take(std::size_t size) noexcept {
    const std::lock_guard lock(mutex_);
    const std::size_t left = kPoolSize - used_;
    if (size > left || sizeof(BlockHead) + aligned(size) > left) return nullptr;
    last_ = new (begin() + used_) BlockHead{size, last_, false};
    used_ += sizeof(BlockHead) + aligned(size);
    return last_ + 1;
  }

  void giveBack(void* block) noexcept {
    const std::lock_guard lock(mutex_);
    headOf(block)->isFree = true;
    for (; last_ != nullptr && last_->isFree; last_ = last_->before) {
      used_ = static_cast<std::size_t>(reinterpret_cast<std::byte*>(last_) - begin());
    }
  }

  static std::size_t sizeOf(void* block) noexcept { return headOf(block)->size; }

  IcuPool* next = nullptr;

 private:
  static BlockHead* headOf(void* block) noexcept { return static_cast<BlockHead*>(block) - 1; }

  std::byte* begin() noexcept { return reinterpret_cast<std::byte*>(this); }

  std::mutex mutex_;
  BlockHead* last_ = nullptr;
  std::size_t used_ = aligned(sizeof(IcuPool));
};

namespace {

std::mutex sessions;
std::atomic<IcuPool*> newestPool{nullptr};
std::atomic<bool> inSession{false};
std::atomic<pthread_t> sessionOf;

IcuPool* poolOf(const void* block) noexcept {
  IcuPool* pool = newestPool.load(std::memory_order_acquire);
  while (pool != nullptr && !pool->holds(block)) pool = pool->next;
  return pool;
}

void* allocate(const void*, std::size_t size) noexcept {
  if (inSession.load(std::memory_order_acquire) && pthread_equal(sessionOf.load(), pthread_self()) != 0) {
    if (void* block = newestPool.load(std::memory_order_acquire)->take(size)) return block;
  }
  return std::malloc(size);
}

void release(const void*, void* block) noexcept {
  IcuPool* const pool = poolOf(block);
  pool == nullptr ? std::free(block) : pool->giveBack(block);
}

void* reallocate(const void* context, void* block, std::size_t size) noexcept {
  if (block == nullptr) return allocate(context, size);
  const std::size_t before = poolOf(block) == nullptr ? malloc_usable_size(block) : IcuPool::sizeOf(block);
  void* const moved = allocate(context, size);
  if (moved == nullptr) return nullptr;
  std::memcpy(moved, block, std::min(before, size));
  release(context, block);
  return moved;
}

// The pool of the next session; null when there is no memory for another.
IcuPool* readyPool() noexcept {
  IcuPool* const newest = newestPool.load(std::memory_order_acquire);
  if (newest != nullptr && newest->left() >= kSessionNeeds) return newest;
  IcuPool* const added = IcuPool::make();
  if (added == nullptr) return nullptr;
  added->next = newest;
  newestPool.store(added, std::memory_order_release);
  UErrorCode status = U_ZERO_ERROR;
  if (newest == nullptr) u_setMemoryFunctions(nullptr, allocate, reallocate, release, &status);
  return added;
}

}  // namespace

std::size_t bytesKeptForIcu() noexcept {
  std::size_t kept = 0;
  for (IcuPool* pool = newestPool; pool != nullptr; pool = pool->next) kept += kPoolSize - pool->left();
  return kept;
}

IcuSession::IcuSession() : turn_(sessions), pool_(readyPool()) {
  if (pool_ == nullptr) return;
  sessionOf = pthread_self();
  inSession.store(true, std::memory_order_release);
}

IcuSession::~IcuSession() { inSession.store(false, std::memory_order_release); }

}  // namespace quelplatform
