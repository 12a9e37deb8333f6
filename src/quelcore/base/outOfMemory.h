// Exhausted memory at a door: no exception leaves a function that can tell a failure by its result.
#pragma once

#include <new>

namespace quelcore {

/// The result of `body`, or `failure` when it runs out of memory.
template <typename Result, typename Body>
Result unlessOutOfMemory(Result failure, Body body) noexcept {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return failure;
  }
}

}  // namespace quelcore
