// A bar on standard error that shows how far long work is; nothing when standard error is no terminal.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace queltool {

class Progress {
 public:
  Progress(std::string what, std::size_t total);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Tells that `done` of the total are done. Draws at most ten times a second.
  void show(std::size_t done);

 private:
  std::string what_;
  std::size_t total_;
  bool visible_;
  bool drawn_ = false;
  std::chrono::steady_clock::time_point last_;
};

}  // namespace queltool
