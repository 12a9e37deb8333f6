// Captions of the thickness legend.
#pragma once

#include <vector>

#include "quelcore/QuelCoreApi.h"
#include "quelplatform/qmEnv/qmTypes.h"

/// Makes `captions` the three captions: below, between and above the limits 1.2 and 3.0 millimetres, in the units of
/// the locale, such as "< 1.2 mm", "1.2 mm - 3.0 mm", "> 3.0 mm". Millimetres have one decimal, other units two, behind
/// a point whatever the locale. Always true.
///
/// The captions are kept and made anew only when the number of the unit in force changes. Without a locale they are
/// those of unit 0 without a name, and not kept. Throws std::bad_alloc. One thread at a time.
QUELCORE_API bool getThicknessStrings(std::vector<qmWString>& captions);
