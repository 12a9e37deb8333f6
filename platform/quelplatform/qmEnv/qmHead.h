// Models of optical heads and their lenses, as material data name them.
#pragma once

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmEnv/qmTypes.h"

/// Model of an optical head. Heads 2002 A to D share their material data.
enum OPTICAL_HEAD : std::int32_t {
  OPTICAL_HEAD_UNKNOWN = 0,
  OPTICAL_HEAD_100 = 1,
  OPTICAL_HEAD_200 = 2,
  OPTICAL_HEAD_2002_A = 3,
  OPTICAL_HEAD_2002_B = 4,
  OPTICAL_HEAD_2002_C = 5,
  OPTICAL_HEAD_2002_D = 6,
};

/// A lens by its nominal focal length in millimetres; any positive number is one.
enum QmLens : std::int32_t {
  QM_LENS_NONE = 0,
  QM_LENS_17 = 17,
  QM_LENS_25 = 25,
  QM_LENS_35 = 35,
  QM_LENS_50 = 50,  ///< What a head has when nothing says otherwise.
  QM_LENS_75 = 75,
};

/// Display name of a head, such as "2002 A"; "Unknown" for 0 and every other number. Lives as long as the process.
QUELPLATFORM_API const qmWChar* getOH_Name(OPTICAL_HEAD head) noexcept;

/// Display name of a lens, such as "50 mm"; "None" for numbers below 1. May throw std::bad_alloc.
QUELPLATFORM_API qmWString getLensName(QmLens lens);
