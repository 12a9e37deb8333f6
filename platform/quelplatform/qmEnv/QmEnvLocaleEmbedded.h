// The units of length as an application or a test sets them.
#pragma once

#include <optional>

#include "quelplatform/qmEnv/QmEnvLocale.h"

namespace quelplatform {

/// Sets the unit in force; nothing goes back to that of params.ini.
QUELPLATFORM_API void setUnits(std::optional<qmEnvUnits> units);

/// Adds a unit, or replaces one that was added: its short name, and how many of it make one millimetre. False for a
/// number below 0, one of the built-in units, and a factor that is not finite and positive. Throws std::bad_alloc.
QUELPLATFORM_API bool defineUnit(qmEnvUnits units, const qmWString& name, double factor);

/// Whether the process has a locale object, as it has at first.
QUELPLATFORM_API void setLocaleAvailable(bool available);

}  // namespace quelplatform
