// Transform files (".trn"): one rigid transform as text, exact to the last bit.
//
//   QuelTransform 1
//   1 0 0 0.5
//   0 1 0 -20.25
//   0 0 1 0
//   check 44022e6e5048fbff
//
// After the format's version come three rows of rotation and translation, each number in the fewest digits that read
// back to the same bits, and the CRC-64/XZ of all bytes in front of "check" in hexadecimal. Numbers and words are
// separated by one blank, and each line ends in one line feed.
#pragma once

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmEnv/qmTypes.h"
#include "quelplatform/qmMath/qmMath.h"

/// Reads the transform of the file at `path`. Returns 1; or 0, with `transform` untouched, when the file cannot be
/// read, differs in any byte from what `qmMathTransformStore` writes for its numbers, or is of another version; for
/// null arguments; and when memory is exhausted. The last error (`GetLastError`) tells what is known of the file: 0
/// where it was read, be it sound or not; 2 or 3 where it is not there; anything else where nobody knows what is in it.
QUELPLATFORM_API std::int32_t qmMathTransformLoad(const qmWChar* path, qmMathTransform* transform) noexcept;

/// Writes `transform` to the file at `path`, which is replaced as a whole: the old file or the new one is there
/// whatever happens. Returns 1; or 0 when that fails, a number is not finite, or an argument is null.
QUELPLATFORM_API std::int32_t qmMathTransformStore(const qmWChar* path, const qmMathTransform* transform) noexcept;
