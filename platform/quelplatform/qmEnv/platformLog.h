// How the platform's own parts log.
//
//   tell(kLogWarning, "qmParam", "%s:%d: %s", path, line, cause);
#pragma once

#include "quelplatform/qmEnv/qmLog.h"

namespace quelplatform {

/// Build date of the platform, such as "Nov 21 2026"; SOURCE_DATE_EPOCH fixes it for reproducible builds.
extern const char* const kBuildDate;

inline constexpr std::int32_t kLogWarning = 3;

/// A level and the line that it was written on.
struct LogPlace {
  std::int32_t level;
  std::int32_t line;

  constexpr LogPlace(std::int32_t atLevel, std::int32_t atLine = __builtin_LINE()) : level(atLevel), line(atLine) {}
};

template <typename... Args>
void tell(LogPlace place, const char* module, const char* format, const Args&... args) {
  writeLogF(place.level, place.line, module, kBuildDate, format, args...);
}

}  // namespace quelplatform
