// Temporary files under the Windows names.
#pragma once

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmEnv/qmTypes.h"

/// Writes the directory for temporary files to `buffer` of `size` units, with a separator at its end: TMPDIR of the
/// environment where that is an absolute path, else /tmp. It need not be there. Returns its length; when it does not
/// fit, the size that it takes, with its NUL, and the buffer is as it was; 0 when memory is exhausted.
QUELPLATFORM_API std::uint32_t GetTempPathW(std::uint32_t size, qmWChar* buffer) noexcept;

/// Writes to `buffer`, of at least 260 units, a path in `directory`: the first three units of `prefix`, the low 16 bits
/// of a number as hexadecimal digits, and ".tmp". For `number` 0 the number is chosen so that no such file is there,
/// and the file is made, empty and for its user alone; otherwise no file is looked at or made.
///
/// Returns the number; or 0 with empty text and the last error set: 87 for a null or empty directory or a null buffer
/// (which stays alone), 111 for a directory of more than 246 units, 267 for one that is not there, 5 for one that may
/// not be written to, 80 when every number is taken, 8 when memory is exhausted, and so on.
QUELPLATFORM_API std::uint32_t GetTempFileNameW(const qmWChar* directory, const qmWChar* prefix, std::uint32_t number,
                                                qmWChar* buffer) noexcept;
