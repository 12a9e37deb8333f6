// Whether lens tables are in use for a camera type, as its multi-stage calibration file says.
#pragma once

#include "quelcore/base/paths.h"
#include "quelplatform/qmEnv/qmCamera.h"

namespace quelcore {

/// What was read last. One object serves the whole process; it is for one thread at a time.
struct LutsParams {
  qmWChar path[kPathSize];       ///< Of the file that it was read from.
  bool initialised;              ///< False until a file was read.
  OH_CAMERA_TYPE ohType;         ///< The type that it holds values for.
  bool bUseDistortLutCopBased_;  ///< Tables made from clouds.
  bool bUseDistortLutTrgBased_;  ///< Tables made from targets.
};

/// The object itself. Tests assign `{}` to begin anew.
LutsParams& lutsParams();

/// Makes sure that `lutsParams` holds the values of `ohType`, reading its file if need be. False, with a numbered
/// error, when there is no such type or file. Leaves a problem (base/QmProblem.h) where it looks for a file.
bool readLutsParams(OH_CAMERA_TYPE ohType);

}  // namespace quelcore
