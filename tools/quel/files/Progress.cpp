#include "files/Progress.h"

#include <fmt/core.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace queltool {

namespace {

constexpr std::size_t kWidth = 40;
constexpr auto kPause = std::chrono::milliseconds(100);

}  // namespace

Progress::Progress(std::string what, std::size_t total)
    : what_(std::move(what)),
      total_(std::max<std::size_t>(total, 1)),
      visible_(isatty(STDERR_FILENO) == 1),
      last_(std::chrono::steady_clock::now()) {}

Progress::~Progress() {
  if (drawn_) std::fputs("\r\x1b[K", stderr);
}

void Progress::show(std::size_t done) {
  const auto now = std::chrono::steady_clock::now();
  if (!visible_ || now - last_ < kPause) return;
  last_ = now;
  drawn_ = true;
  const std::size_t filled = kWidth * done / total_;
  fmt::print(stderr, "\r{} [{:#<{}}{:.<{}}] {:3d} %", what_, "", filled, "", kWidth - filled, 100 * done / total_);
  std::fflush(stderr);
}

}  // namespace queltool
