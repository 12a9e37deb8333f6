// Tuning values, read by key from params.ini of the home directory (`key = value` lines; '#' and ';' begin a comment
// line; the case of letters in a key does not count; of two lines with one key the first wins).
//
// A file that changed is read again. A line that is neither a comment nor a key with a value is skipped, and a file
// that is there but cannot be read counts as empty; either is reported in one line that names file, place and cause,
// once for each reading of the file.
//
// A result of 0 does not tell an absent value from one that could not be had; the last error (`GetLastError`) does: 0
// for a file that was read or is not there, 8 where memory was exhausted, anything else where it could not be read.
#pragma once

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmEnv/qmString.h"
#include "quelplatform/qmEnv/qmTypes.h"

/// Stores the flag of `key` ("1"/"0", "true"/"false", "yes"/"no", "on"/"off", any case) in `*flag`; leaves it alone
/// when the key is absent or its value is none of these. The second argument is not used. Returns 1 when a value was
/// stored.
QUELPLATFORM_API std::int32_t qmEnvGetParam2qmBool(const char* key, std::int32_t unused, _qmBool* flag) noexcept;

/// Stores the value of `key`, or `defaultValue` when the key is absent or its value is no number, in `*result`. Returns
/// 1 when the value came from the file.
QUELPLATFORM_API std::int32_t qmEnvGetParam2double(const char* key, double defaultValue, double* result) noexcept;

/// As above in single precision; a number beyond its range counts as no number.
QUELPLATFORM_API std::int32_t qmEnvGetParam2float(const char* key, float defaultValue, float* result) noexcept;

/// As above for an integer in decimal; text that is no integer of 32 bits counts as no number.
QUELPLATFORM_API std::int32_t qmEnvGetParam2int(const char* key, std::int32_t defaultValue,
                                                std::int32_t* result) noexcept;

/// Stores the text of `key`, be it empty, in `result`. When the key is absent `result` becomes `defaultValue`, and null
/// when that is null or empty; so an absent key and an empty value can be told apart. Returns 1 when the text came from
/// the file. When memory is exhausted `result` is null.
QUELPLATFORM_API std::int32_t qmEnvGetParam2qmString(const char* key, const char* defaultValue,
                                                     qmString& result) noexcept;
