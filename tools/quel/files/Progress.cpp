#include "files/Progress.h"

#include <fmt/core.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <string_view>

namespace queltool {

namespace {

constexpr std::size_t kWidth = 40;
constexpr auto kPause = std::chrono::milliseconds(100);
constexpr std::size_t kLooks = 1000;  // At the clock, which takes longer than many a step.

// Of the whole process, for it has one terminal.
bool isVisible = isatty(STDERR_FILENO) == 1;
std::atomic<bool> isDrawn = false;
constexpr std::string_view kClear = "\r\x1b[K";

void clear() {
  if (!isDrawn) return;
  std::fputs(kClear.data(), stderr);
  std::fflush(stderr);
  isDrawn = false;
}

}  // namespace

Progress::Progress(const std::string& what) : what_(what), total_(0) {
  if (!isVisible) return;
  clear();
  fmt::print(stderr, "{} ...", what_);
  std::fflush(stderr);
  isDrawn = true;
}

Progress::Progress(std::string what, std::size_t total)
    : what_(std::move(what)), total_(std::max<std::size_t>(total, 1)), last_(std::chrono::steady_clock::now()) {
  if (isVisible) draw(0);
}

Progress::~Progress() { clear(); }

void Progress::show(std::size_t done) {
  if (!isVisible || done < next_) return;
  next_ = done + total_ / kLooks + 1;
  const auto now = std::chrono::steady_clock::now();
  if (now - last_ < kPause) return;
  last_ = now;
  draw(done);
}

void Progress::draw(std::size_t done) const {
  const std::size_t filled = kWidth * done / total_;
  fmt::print(stderr, "\r{} [{:#<{}}{:.<{}}] {:3d} %", what_, "", filled, "", kWidth - filled, 100 * done / total_);
  std::fflush(stderr);
  isDrawn = true;
}

void Progress::clearAtOnce() noexcept {
  if (isDrawn) static_cast<void>(!write(STDERR_FILENO, kClear.data(), kClear.size()));
}

void Progress::silence() {
  clear();
  isVisible = false;
}

}  // namespace queltool
