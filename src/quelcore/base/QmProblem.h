// Why a file could not be read, and where in it: what every reader of this library leaves behind for who wants to tell.
//
//   if (!head.LoadFromFile(path)) {
//     char why[1024];
//     if (const QmProblem* problem = qmLastProblem()) qmProblemText(*problem, why, sizeof why);
//   }
//
// Each thread has a problem and a list of remarks of its own. A reader forgets both when it begins and keeps a problem
// when the file does not give all that it should, be the reader's result a failure or not; a sound file leaves none.
// Remarks are about what was read otherwise than it seems to stand there; they do not make a problem. Readers are the
// functions that take a file, or the text of one, and say in their header that they leave a problem. Nothing here
// throws, allocates, logs or locks, so that a problem is also there when memory is exhausted.
#pragma once

#include <cstdint>

#include "quelcore/QuelCoreApi.h"

/// Texts are UTF-8, end in NUL and are cut to fit.
struct QmProblem {
  char file[512];       ///< Path as the reader was given it; empty when there was none.
  std::int32_t line;    ///< From 1; 0 where the place is no line.
  std::int32_t column;  ///< In 16-bit units of text from 1; 0 where it is not known.
  std::int64_t offset;  ///< Bytes from the beginning of the file; -1 where the place is no byte.
  char part[64];        ///< The part of the file that it is about, such as `Value 2` or `worldScale`; may be empty.
  char found[192];      ///< What stands there, in quotation marks when it is cited.
  char expected[192];   ///< What belongs there; empty where `found` says it all.
};

/// The problem of this thread's last reading; null when it had none. It is valid until this thread reads again.
QUELCORE_API const QmProblem* qmLastProblem() noexcept;

/// The remarks of this thread's last reading in the order of the file, `index` from 0; null behind the last. The first
/// 8 of them are kept. Valid as a problem is.
QUELCORE_API const QmProblem* qmLastRemark(std::int32_t index) noexcept;

/// Writes a problem as one line, such as `a.txt, line 2, column 1: expected the number of tables, found "x"`, cut to
/// `size` with its NUL. Returns the length of the whole line, also for a null `buffer`.
QUELCORE_API std::int32_t qmProblemText(const QmProblem& problem, char* buffer, std::int32_t size) noexcept;
