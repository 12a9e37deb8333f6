// Conversion of lengths between the base unit and the unit in force.
#pragma once

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmEnv/qmTypes.h"

/// Direction of a conversion.
enum CNVDIR : std::int32_t {
  CNVDIR_FROM_BASE = 0,  ///< From the base unit to the unit in force.
  CNVDIR_TO_BASE = 1,
};

/// Takes the factor at its construction: the unit in force may change afterwards.
class QUELPLATFORM_API qmEnvUnitsConverter {
 public:
  explicit qmEnvUnitsConverter(CNVDIR direction) noexcept;

  double factor;  ///< What a length is to be multiplied by; 1 where there is no locale.
};
