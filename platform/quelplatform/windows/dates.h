// Dates under the Windows names.
//
// A variant date is a number of days since 30 December 1899, midnight; the fraction is the time of day, and it counts
// forward for days before that one too: -1.25 is 29 December 1899, 6:00. Years run from 100 to 9999.
#pragma once

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmEnv/qmTypes.h"
#include "quelplatform/windows/fileTime.h"

/// Number of a language and country.
using LCID = std::uint32_t;

/// What `VarDateFromStr` returns.
inline constexpr std::int32_t S_OK = 0;
inline constexpr std::int32_t DISP_E_TYPEMISMATCH = static_cast<std::int32_t>(0x80020005);
inline constexpr std::int32_t E_INVALIDARG = static_cast<std::int32_t>(0x80070057);
inline constexpr std::int32_t E_OUTOFMEMORY = static_cast<std::int32_t>(0x8007000E);

/// The locale of the user, from the environment (LC_ALL, LANG and so on, as ICU reads them); 0x0409, English of the
/// United States, for one that has no number; 0x0400, which stands for the user's locale whatever it is, when there is
/// no memory to find out.
QUELPLATFORM_API LCID GetUserDefaultLCID() noexcept;

/// Reads a date, a time or both, in either order, as people of the locale write them:
///
/// - three numbers, in the locale's order; where that gives no date, month-day-year, day-month-year, year-month-day; a
///   first number of three digits or more is the year. Two numbers are day and month of the current year, or a month
///   and a year where one has three digits or more. '.', '-', '/', ',' and blanks separate.
/// - a month by its name, full or short, in the locale's language or in English, with a day, a year or both. A missing
///   day is the first, a missing year the current one. Names of days are skipped.
/// - 14:03, 14:03:07, 2:03 PM or 2 PM, with the locale's words or English ones for the halves of the day; behind a
///   complete date also 14.03.07. Without a date it is a time of day alone: day 0.
///
/// Years of two digits are 2000 to 2029 and 1930 to 1999. Digits of any script count, the calendar is the Gregorian
/// one.
///
/// `locale` 0x0400 is that of the user. The words of a locale are made ready at its first use and kept.
///
/// Returns S_OK; or, with `*date` as it was, DISP_E_TYPEMISMATCH for text that is no such date, E_INVALIDARG for a null
/// `date` or `flags` other than 0, E_OUTOFMEMORY. Null is no date.
QUELPLATFORM_API std::int32_t VarDateFromStr(const qmWChar* text, LCID locale, std::uint32_t flags,
                                             double* date) noexcept;

/// The fields of a variant date, to the nearest second. 1; or 0 with `*time` as it was for a date out of range and for
/// null.
QUELPLATFORM_API std::int32_t VariantTimeToSystemTime(double date, SYSTEMTIME* time) noexcept;

/// The file time of a date and time; the day of the week does not count. 1; or 0 with `*fileTime` as it was, and the
/// last error 87, for fields that are no date and time of the years 1601 to 30827, and for null.
QUELPLATFORM_API std::int32_t SystemTimeToFileTime(const SYSTEMTIME* time, FILETIME* fileTime) noexcept;
