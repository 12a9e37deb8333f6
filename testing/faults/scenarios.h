// What the tables of scenarios share.
#pragma once

#include <cstdint>
#include <new>
#include <string>

#include "testing/TempHome.h"

namespace quel::faults {

/// Some doors let `bad_alloc` through, as the language's own containers do: the caller is told.
template <typename Act>
bool unlessOutOfMemory(Act act) noexcept try {
  return act();
} catch (const std::bad_alloc&) {
  return false;
}

/// `count` bytes that differ from one another.
inline std::string someBytes(std::size_t count) {
  std::string bytes;
  for (std::size_t i = 0; i < count; ++i) bytes.push_back(static_cast<char>('a' + i * i % 23));
  return bytes;
}

}  // namespace quel::faults
