// How a module of this library logs: it declares one constant for itself, and the line and build date come along.
//
//   constexpr ModuleLog kLog{"qmReconsTensorCore"};
//   kLog.write(kLogError, "NULL pointer");
//   kLog.trace();
#pragma once

#include "quelplatform/qmEnv/qmLog.h"

namespace quelcore {

/// Build date of the library, such as "Nov 21 2026"; SOURCE_DATE_EPOCH fixes it for reproducible builds.
extern const char* const kBuildDate;

inline constexpr std::int32_t kLogInformation = 0;
inline constexpr std::int32_t kLogTrace = 1;
inline constexpr std::int32_t kLogProgress = 2;
inline constexpr std::int32_t kLogWarning = 3;
inline constexpr std::int32_t kLogNote = 4;
inline constexpr std::int32_t kLogError = 5;

/// A level and the line that it was written on.
struct LogPlace {
  std::int32_t level;
  std::int32_t line;

  constexpr LogPlace(std::int32_t atLevel, std::int32_t atLine = __builtin_LINE()) : level(atLevel), line(atLine) {}
};

/// The log under the name of one source module.
class ModuleLog {
 public:
  explicit constexpr ModuleLog(const char* module) : module_(module) {}

  template <typename... Args>
  void write(LogPlace place, const char* format, const Args&... args) const {
    writeLogF(place.level, place.line, module_, kBuildDate, format, args...);
  }

  /// The bare trace that a failure leaves in each function it passes.
  void trace(LogPlace place = LogPlace(kLogTrace, __builtin_LINE())) const {
    writeLogF(place.level, place.line, module_, kBuildDate, nullptr);
  }

  /// The result of a plain function that fails, and the trace that goes with it.
  std::int32_t tracedFailure(LogPlace place = LogPlace(kLogTrace, __builtin_LINE())) const {
    trace(place);
    return 0;
  }

  template <typename... Args>
  void message(LogPlace place, std::uint32_t code, const Args&... args) const {
    writeLogI(place.level, place.line, module_, kBuildDate, code, args...);
  }

  void error(LogPlace place, std::uint32_t code) const {
    sendError(place.level, place.line, module_, kBuildDate, code);
  }

 private:
  const char* module_;
};

}  // namespace quelcore
