#include "nominal/Chunks.h"

#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace queltool {

namespace {

std::size_t teamFor(std::size_t count, int threads) {
  constexpr std::size_t kMost = 64;
  const std::size_t wanted = threads < 1 ? std::thread::hardware_concurrency() : static_cast<std::size_t>(threads);
  return std::clamp<std::size_t>(std::min(wanted, count), 1, kMost);
}

// Numbers are handed out one after the other to whoever is free.
class Team {
 public:
  Team(std::size_t count, const std::function<void(std::size_t)>& work) : count_(count), work_(work) {}

  void member() noexcept {
    try {
      for (std::size_t n = next_++; n < count_; n = next_++) work_(n);
    } catch (...) {
      const std::lock_guard lock(mutex_);
      if (!error_) error_ = std::current_exception();
      next_ = count_;
    }
  }

  void rethrow() const {
    if (error_) std::rethrow_exception(error_);
  }

 private:
  const std::size_t count_;
  const std::function<void(std::size_t)>& work_;
  std::atomic<std::size_t> next_ = 0;
  std::mutex mutex_;
  std::exception_ptr error_;
};

}  // namespace

void onThreads(std::size_t count, int threads, const std::function<void(std::size_t)>& work) {
  Team team(count, work);
  std::vector<std::thread> others;
  try {
    const std::size_t wanted = teamFor(count, threads) - 1;
    others.reserve(wanted);
    while (others.size() < wanted) others.emplace_back([&team] { team.member(); });
  } catch (const std::exception&) {  // A machine that gives no more threads has the work done by fewer.
  }
  team.member();
  for (std::thread& other : others) other.join();
  team.rethrow();
}

}  // namespace queltool
