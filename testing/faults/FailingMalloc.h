// Makes allocations of the whole program fail: those of the libraries, of the C and C++ libraries and of ICU alike.
#pragma once

#include <cstdint>

namespace quel::faults {

/// From now on `successes` allocations of this thread succeed and the next one fails; with `goOn` so do all after it.
void failMalloc(std::int64_t successes, bool goOn);

/// Planted: allocations that are to fail end the process, as they would in a program that does not look.
void crashInsteadOfFailing();

/// Allocations succeed again. Returns how many failed since.
std::int64_t stopFailingMalloc();

}  // namespace quel::faults
