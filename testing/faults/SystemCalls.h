// Makes system calls on files fail, or ends the process in front of one.
//
// The kernel hands every system call on files to a handler of the process (a seccomp filter that traps), which carries
// it out, counts it, and does to one of them what was planned. So it does not matter who makes the call: the C
// library's streams do not pass through any function that a program could replace.
#pragma once

#include <cstdint>

namespace quel::faults {

enum class CallFault {
  None,   ///< Only counts.
  Error,  ///< The call is not made and gives the error number; a `close` is made and gives it.
  Short,  ///< A read or write takes half of the bytes; other calls go on as they are.
  Kill,   ///< SIGKILL in front of the call.
  Lie     ///< Planted: a write, a removal or a renaming is not made and reports success; a read gives other bytes.
};

struct CallPlan {
  std::int64_t at = -1;  ///< Calls in front of the one that is meant.
  CallFault fault = CallFault::None;
  int error = 0;
};

/// Traps the system calls on files of this process from now on, for good. False where the kernel does not allow it.
bool trapSystemCalls();

/// Planted: from now on a renaming makes the old file empty, then copies the new one into it and removes that; each
/// step counts as a call. So writers that are sound become such as write in place.
void renameInPlace();

/// Starts counting anew, with this plan.
void planSystemCalls(const CallPlan& plan);

/// Calls since; the plan ends.
std::int64_t stopSystemCallPlan();

/// The number of the call that the plan met, or -1.
long callMet();

/// The error number that it gave; 0 for none.
int errorGiven();

}  // namespace quel::faults
