// The present time.
#pragma once

#include <ctime>
#include <optional>
#include <string>

namespace quelcore {

/// Seconds since 1970.
std::time_t presentTime() noexcept;

/// Stops the clock at `time`, for tests; std::nullopt lets it run again.
void stopClock(std::optional<std::time_t> time) noexcept;

/// `time` in the local time zone as "Sat Nov 21 09:05:07 2026", whatever the locale. Empty for a time that no calendar
/// holds. Throws std::bad_alloc.
std::u16string localTimeText(std::time_t time);

}  // namespace quelcore
