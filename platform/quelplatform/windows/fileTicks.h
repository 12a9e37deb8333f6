// Steps of 100 nanoseconds since 1601, which `FILETIME` holds in two halves.
#pragma once

#include <ctime>

#include "quelplatform/windows/fileTime.h"

namespace quelplatform {

inline constexpr std::int64_t kTicksPerSecond = 10'000'000;
inline constexpr std::int64_t kSecondsFrom1601To1970 = 11'644'473'600;

inline FILETIME fileTimeOf(std::int64_t ticks) {
  const auto bits = static_cast<std::uint64_t>(ticks < 0 ? 0 : ticks);
  return {static_cast<std::uint32_t>(bits), static_cast<std::uint32_t>(bits >> 32)};
}

/// The file time of a time of the operating system; the first one for what lies before 1601.
inline FILETIME fileTimeOf(const timespec& time) {
  return fileTimeOf((time.tv_sec + kSecondsFrom1601To1970) * kTicksPerSecond + time.tv_nsec / 100);
}

}  // namespace quelplatform
