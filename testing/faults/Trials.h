// Tries every fault of a kind on a scenario, each in a process of its own, and looks what is left.
//
// After each fault the files must be those of the old state or of the new one, the process must not have crashed, what
// was reported must go with what is there, and no lock or unfinished file may be left by a process that went on.
// Whoever comes after a process that was killed gets the new state at once.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "testing/faults/Scenario.h"

namespace quel::faults {

struct Trials {
  std::int64_t runs = 0;
  std::vector<std::string> findings;
};

/// Which of the faults to try: all, or every `step`-th from `first` on.
struct Share {
  std::int64_t step = 1;
  std::int64_t first = 0;
};

/// Each allocation fails, once or with all that follow, in a process that has done nothing before, and in one that has
/// acted before.
Trials tryAllocations(const Scenario& scenario, const Share& share);

/// Each system call on files gives each of ENOSPC, EIO, EACCES, EMFILE and EINTR, or transfers half.
Trials trySystemCalls(const Scenario& scenario, const Share& share);

/// The process is killed in front of each system call on files, which is also behind the one before.
Trials tryStops(const Scenario& scenario, const Share& share);

// What is wrong on purpose, to see that it is found: each gives the trials of a scenario with a fault planted below it.

/// Who does not look whether there is memory.
Trials tryCrashingAllocations(const Scenario& scenario);

/// A system that says that it wrote, removed or renamed, and did not, or that reads other bytes.
Trials tryLies(const Scenario& scenario);

/// Stops of writers that write in place.
Trials tryStopsInPlace(const Scenario& scenario);

}  // namespace quel::faults
