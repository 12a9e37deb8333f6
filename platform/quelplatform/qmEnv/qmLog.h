// The log of the system: formatted lines, numbered messages and numbered errors.
//
// Level 0 is information, 1 a bare trace (no text: it records only the place that a failure passed), 2 progress of a
// load, 3 a warning, 4 a note for the user, 5 an error. Every call carries the line, the name of the source module and
// its build date. Formats are those of printf; "%s" prints narrow and wide text alike, because each argument carries
// its own type. All calls may be made from several threads at once. No log call throws or fails: a line that finds no
// memory is lost. A format that does not fit its arguments is printed as it stands; surplus arguments do not count.
#pragma once

#include <concepts>
#include <cstddef>
#include <string>
#include <string_view>

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmEnv/qmTypes.h"

/// One argument of a log call, with its type. It refers to the caller's text and lives no longer than the call.
class qmLogArg {
 public:
  enum class Kind : std::int32_t { Signed, Unsigned, Double, Narrow, Wide };

  template <std::signed_integral T>
  qmLogArg(T value) : kind_(Kind::Signed), signed_(value) {}
  template <std::unsigned_integral T>
  qmLogArg(T value) : kind_(Kind::Unsigned), unsigned_(value) {}
  qmLogArg(double value) : kind_(Kind::Double), double_(value) {}
  /// Null text prints as "(null)".
  qmLogArg(const char* text) : kind_(Kind::Narrow), narrow_(text) {}
  qmLogArg(const qmWChar* text) : kind_(Kind::Wide), wide_(text) {}
  qmLogArg(const std::string& text) : qmLogArg(text.c_str()) {}
  qmLogArg(const qmWString& text) : qmLogArg(text.c_str()) {}

  Kind kind() const { return kind_; }
  std::int64_t asSigned() const { return signed_; }
  std::uint64_t asUnsigned() const { return unsigned_; }
  double asDouble() const { return double_; }
  const char* asNarrow() const { return narrow_; }
  const qmWChar* asWide() const { return wide_; }

 private:
  Kind kind_;
  union {
    std::int64_t signed_;
    std::uint64_t unsigned_;
    double double_;
    const char* narrow_;
    const qmWChar* wide_;
  };
};

/// `writeLogF` with its arguments gathered in an array of `count`; `args` may be null when `count` is 0.
QUELPLATFORM_API void qmWriteLogArgsF(std::int32_t level, std::int32_t line, const char* sourceFile,
                                      const char* buildDate, const char* format, const qmLogArg* args,
                                      std::size_t count) noexcept;

/// `writeLogI` with its arguments gathered in an array of `count`; `args` may be null when `count` is 0.
QUELPLATFORM_API void qmWriteLogArgsI(std::int32_t level, std::int32_t line, const char* sourceFile,
                                      const char* buildDate, std::uint32_t code, const qmLogArg* args,
                                      std::size_t count) noexcept;

/// Writes one formatted line. A null `format` is the bare trace.
template <typename... Args>
void writeLogF(std::int32_t level, std::int32_t line, const char* sourceFile, const char* buildDate, const char* format,
               const Args&... args) noexcept {
  if constexpr (sizeof...(Args) == 0) {
    qmWriteLogArgsF(level, line, sourceFile, buildDate, format, nullptr, 0);
  } else {
    const qmLogArg list[] = {qmLogArg(args)...};
    qmWriteLogArgsF(level, line, sourceFile, buildDate, format, list, sizeof...(Args));
  }
}

/// Reports the numbered message `code`; its text stands in the message table, the arguments fill it in order.
template <typename... Args>
void writeLogI(std::int32_t level, std::int32_t line, const char* sourceFile, const char* buildDate, std::uint32_t code,
               const Args&... args) noexcept {
  if constexpr (sizeof...(Args) == 0) {
    qmWriteLogArgsI(level, line, sourceFile, buildDate, code, nullptr, 0);
  } else {
    const qmLogArg list[] = {qmLogArg(args)...};
    qmWriteLogArgsI(level, line, sourceFile, buildDate, code, list, sizeof...(Args));
  }
}

/// Reports the numbered error `code`.
QUELPLATFORM_API void sendError(std::int32_t level, std::int32_t line, const char* sourceFile, const char* buildDate,
                                std::uint32_t code) noexcept;

/// The text of an operating-system error number (see `GetLastError` in windows/windows.h), without a line end; every
/// number has one. Throws nothing but std::bad_alloc.
QUELPLATFORM_API qmWString QmFormatMessageW(std::uint32_t systemError);
