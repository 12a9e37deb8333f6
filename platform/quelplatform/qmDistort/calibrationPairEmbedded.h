// A tensor file and its LUT file are one calibration: storing both as one, and telling a pair that is none.
//
// Two files cannot be replaced at one stroke. So the LUT file is stamped with the digest of the tensor file that it is
// stored with: where a stop came between the two, or somebody replaced one alone, the stamp is foreign. A LUT file
// without a stamp says nothing and goes with any tensor file. Log lines bear the name "calibrationPair" and level 5.
#pragma once

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmEnv/qmTypes.h"

namespace quelplatform {

/// What a LUT file says about a tensor file.
enum class LutStamp {
  kNone,    ///< Nothing: it bears no stamp.
  kOwn,     ///< It was stored with that file.
  kForeign  ///< It was stored with another one.
};

/// Compares the stamp of the LUT file `luts` with the tensor file `tensor`. False, with one log line and `stamp`
/// untouched, where one of them cannot be read or the LUT file is damaged.
QUELPLATFORM_API bool compareLutStamp(const qmWChar* luts, const qmWChar* tensor, LutStamp& stamp) noexcept;

/// The paths of a calibration; `luts` is null for one without LUTs.
struct CalibrationFiles {
  const qmWChar* tensor;
  const qmWChar* luts;
};

/// Replaces the calibration `to` by a copy of `from`, whose LUT file is stamped with the tensor file's digest. Both are
/// written beside and flushed to disk before either takes its place, the LUT file first: a stop leaves the old pair or
/// the new one, or, between the two, one whose stamp is foreign. Without LUTs a LUT file that is there is left alone.
/// False, with one log line that names file and cause, and the old pair in place.
QUELPLATFORM_API bool replaceCalibration(const CalibrationFiles& from, const CalibrationFiles& to) noexcept;

/// Takes the stamp off the LUT file `luts`, which several tensor files are to share; one without a stamp is left as it
/// is. False, with one log line and the file as it was, where that cannot be done.
QUELPLATFORM_API bool removeLutStamp(const qmWChar* luts) noexcept;

}  // namespace quelplatform
