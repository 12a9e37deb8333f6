// How much memory something takes at its peak.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <string>

#include "testing/AllocationPeak.h"

namespace quel::testing {

/// A line of /proc/self/status, such as "VmHWM:", in bytes; -1 where there is none.
inline std::int64_t statusBytes(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    std::int64_t kilobytes = -1;
    if (word == name && status >> kilobytes) return kilobytes * 1024;
  }
  return -1;
}

/// Runs `operation` in a child process. What its resident memory grew by at the peak, in bytes, or, under a sanitizer,
/// which keeps memory of its own, the allocations in use; -1, with a failure, where it did not come to its end. What
/// `operation` expects counts for nothing.
template <typename Operation>
std::int64_t peakMemoryOf(Operation operation) {
  int ends[2];
  if (pipe(ends) != 0) return -1;
  const pid_t child = fork();
  if (child == 0) {
    std::int64_t grown = 0;
    if (AllocationPeak::begin()) {
      operation();
      AllocationPeak::end();
      grown = AllocationPeak::most;
    } else {
      std::ofstream("/proc/self/clear_refs") << 5;  // the peak so far is forgotten
      const std::int64_t before = statusBytes("VmRSS:");
      operation();
      grown = statusBytes("VmHWM:") - before;
    }
    _exit(write(ends[1], &grown, sizeof(grown)) == sizeof(grown) ? 0 : 1);
  }
  close(ends[1]);
  std::int64_t grown = -1;
  const bool told = read(ends[0], &grown, sizeof(grown)) == sizeof(grown);
  close(ends[0]);
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(told && WIFEXITED(status) && WEXITSTATUS(status) == 0);
  return told ? grown : -1;
}

}  // namespace quel::testing
