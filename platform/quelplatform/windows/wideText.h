// Numbers and letters of wide text, by their Windows names.
//
// No locale plays in. The standard library's functions of the same names are for other character types; these are
// further overloads beside them.
#pragma once

#include <type_traits>

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmEnv/qmTypes.h"

/// The integer at the beginning of `text`: blanks, an optional sign, decimal digits. 0 when there is none or `text` is
/// null; the nearest 32-bit integer for one that is too large.
QUELPLATFORM_API std::int32_t _wtoi(const qmWChar* text) noexcept;

/// The decimal number at the beginning of `text`, correctly rounded: blanks, an optional sign, digits with at most one
/// point among them, an optional exponent. 0 when there is none or `text` is null, so "inf" and "nan" are 0; an
/// infinity of its sign for a number beyond the range of a double.
QUELPLATFORM_API double _wtof(const qmWChar* text);

/// The small letter of a unit, by Unicode's simple mapping of one character to one; any other unit, surrogates
/// included, is itself.
QUELPLATFORM_API qmWChar qmWideLower(qmWChar unit) noexcept;

/// As above. A template, so that calls with any other type still find the standard library's function.
template <typename Unit>
requires std::is_same_v<Unit, qmWChar> Unit towlower(Unit unit)
noexcept { return qmWideLower(unit); }

/// Compares two texts without regard to case: unit by unit in small letters. Negative, 0 or positive, as `a` comes
/// before `b`, is equal or comes behind it. Null comes before any text.
QUELPLATFORM_API std::int32_t _wcsicmp(const qmWChar* a, const qmWChar* b) noexcept;
