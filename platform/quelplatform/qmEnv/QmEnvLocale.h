// The units that lengths are shown in.
//
// The unit in force is what the application set (see QmEnvLocaleEmbedded.h), else the number "QmEnv.Units" of
// params.ini, else 0. A number that no unit has counts as 0.
#pragma once

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmEnv/qmTypes.h"

/// Units of length. The base unit is 0; an application may define further ones.
enum qmEnvUnits : std::int32_t {
  QM_UNITS_MILLIMETRE = 0,
  QM_UNITS_CENTIMETRE = 1,
  QM_UNITS_METRE = 2,
  QM_UNITS_INCH = 3,
  QM_UNITS_MICROMETRE = 4,
  QM_UNITS_FOOT = 5,
};

/// The locale of the process. May be used from several threads.
class QUELPLATFORM_API QmEnvLocale {
 public:
  /// The one object of the process. Null while the application has withdrawn it; otherwise, with `create` false, null
  /// before the first call with true.
  static QmEnvLocale* GetInstance(bool create) noexcept;

  /// The unit in force.
  qmEnvUnits GetUnits() const noexcept;

  /// Short name of a unit, such as "mm"; empty for a number that no unit has. Throws std::bad_alloc.
  static qmWString GetMetricString(qmEnvUnits units);

  /// How many of a unit make one base unit: 0.1 for centimetres. 1 for a number that no unit has.
  static double GetFactor(qmEnvUnits units) noexcept;

 private:
  QmEnvLocale() = default;
};
