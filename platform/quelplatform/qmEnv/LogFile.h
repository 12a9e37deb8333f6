// The rotating log file of the home directory.
#pragma once

#include <spdlog/sinks/rotating_file_sink.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "quelplatform/qmEnv/qmLogEmbedded.h"

namespace quelplatform {

/// log/quelmetra.log of the home directory: at most 1 MiB, with two older files beside it. Opened at the first line and
/// again when the home directory changes. Not for several threads at once.
class LogFile {
 public:
  /// Switches writing on or off; off closes the file.
  void enable(bool enabled);

  /// Appends the line of a record; warnings and what is graver reach the file at once. Returns the cause of a failure,
  /// once for each home directory; empty otherwise.
  std::string write(const LogRecord& record);

 private:
  using Clock = std::chrono::steady_clock;

  std::string open();
  std::string fail(const std::string& cause);

  bool enabled_ = true;
  bool told_ = false;
  std::uint64_t generation_ = 0;
  Clock::time_point nextAttempt_ = Clock::time_point::min();
  std::unique_ptr<spdlog::sinks::rotating_file_sink_st> sink_;
};

}  // namespace quelplatform
