// How readers tell what is wrong with a file: to the one problem and the list of remarks that each thread has.
//
//   beginReading(path);
//   const File file(path, u"rb");
//   if (!file.isOpen()) return refuseUnopened(errno);
//   if (count < 0) return refuse({.offset = 0}, "count", ProblemText::printed("%d", count), "no negative number");
#pragma once

#include <cstdint>
#include <new>
#include <string>
#include <string_view>

#include "quelcore/base/QmProblem.h"
#include "quelplatform/qmEnv/qmTypes.h"

namespace quelcore {

/// A place in a file, as a line or as a byte; by default none.
struct Place {
  std::int32_t line = 0;
  std::int32_t column = 0;
  std::int64_t offset = -1;
};

/// Words of a problem, cut to fit.
struct ProblemText {
  char text[sizeof(QmProblem::found)];

  ProblemText(const char* words) noexcept;

  /// A citation, in quotation marks; a long one is cut.
  static ProblemText quoted(std::u16string_view citation) noexcept;

  /// Text that is no literal, such as a name.
  static ProblemText plain(std::u16string_view words) noexcept;

  [[gnu::format(printf, 1, 2)]] static ProblemText printed(const char* format, ...) noexcept;
};

/// Forgets this thread's problem and remarks. What is told from now on is about `path`, which may be null.
void beginReading(const qmWChar* path) noexcept;

/// What is told from now on is about `path`: a further file of the same reading.
void goOnReading(const qmWChar* path) noexcept;

/// Notes a problem, unless this reading has one already: what follows from the first one says nothing. Returns false,
/// for a reader that fails to hand on.
bool refuse(const Place& place, const ProblemText& part, const ProblemText& found,
            const ProblemText& expected = "") noexcept;

/// Whether a further remark would be kept: where the place of one is dear, it need not be looked for otherwise.
bool hasRoomForRemark() noexcept;

/// Notes a remark.
void remark(const Place& place, const ProblemText& part, const ProblemText& found,
            const ProblemText& expected = "") noexcept;

/// Notes that the file cannot be opened, or read on, for an `errno` value; 0 is that it can be by now. Returns false.
bool refuseUnreadable(int error) noexcept;

/// Notes that memory is exhausted. Returns false.
bool refuseForMemory() noexcept;

/// Notes what an XML document says about a file that it refuses, with the line and column that stand in front of it.
/// Returns false.
bool refuseXmlError(std::u16string_view error) noexcept;

/// The same for a `CMarkupSTL` or `QmXmlIO`.
template <typename Document>
bool refuseXml(const Document& document) noexcept {
  try {
    return refuseXmlError(document.GetError());
  } catch (const std::bad_alloc&) {
    return refuseForMemory();
  }
}

/// A whole reading at a door: begins it, and returns what `body` returns, or `failure` when memory runs out. A failure
/// for which `body` noted no cause is for want of memory, too: all others are noted where they are met.
template <typename Result, typename Body>
Result reading(const qmWChar* path, Result failure, Body body) noexcept {
  beginReading(path);
  try {
    const Result result = body();
    if (result == failure) refuseForMemory();
    return result;
  } catch (const std::bad_alloc&) {
    refuseForMemory();
    return failure;
  }
}

}  // namespace quelcore
