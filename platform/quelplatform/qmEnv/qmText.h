// Conversion between narrow text (UTF-8) and wide text (UTF-16). Any input converts; nothing is thrown but
// std::bad_alloc.
#pragma once

#include <string_view>

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmEnv/qmTypes.h"

/// Wide form of the UTF-8 text `narrow`. Null gives empty text; every malformed sequence (as much of
/// it as could begin a character, at least one byte) gives one U+FFFD.
QUELPLATFORM_API qmWString toWide(const char* narrow);

/// As above for text that may hold NUL characters.
QUELPLATFORM_API qmWString toWide(std::string_view narrow);

/// UTF-8 form of wide text. Null gives empty text; a lone surrogate gives U+FFFD.
QUELPLATFORM_API std::string toNarrow(const qmWChar* wide);

/// As above for text that may hold NUL units.
QUELPLATFORM_API std::string toNarrow(std::u16string_view wide);
