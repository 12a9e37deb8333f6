// Ratios by which reconstruction filters points in Z: tuning values per lens.
//
// The lens number, `lensType` of the tensor truncated to an integer, is part of the parameter's key. Each function
// keeps the values of the last lens for the life of the process: a change of the parameters is not seen while the lens
// stays the same. Lens number 0 gives the initial values without a look at the parameters. For one thread at a time.
#pragma once

#include "quelcore/QuelCoreApi.h"
#include "quelcore/records/qmReconsTensorData.h"

/// Close and far ratio: "qmPatchReconsFilterByZRatioClose.<lens>" and "...Far.<lens>", 1.0 each by default.
///
/// With `forCalib`, on a head outside the QuelHead 200 family whose camera 0 has no complete LUT, they are
/// "qmPatchReconsFilterByZRatioCloseForCalib.<lens>" and "...FarForCalib.<lens>", 2.0 each by default, read afresh
/// every time. A null tensor leaves both outputs alone.
QUELCORE_API void qmReconsGetFilterByZRatios(const tag_qmReconsTensorData* tensor, double& close, double& far,
                                             bool forCalib);

/// Close and far ratio: "qmReconsLS_FilterByZRatioClose.<lens>" and "...Far.<lens>", 1.0 each by default. A null tensor
/// leaves both outputs alone.
QUELCORE_API void qmReconsGetFilterByZRatiosForRE(const tag_qmReconsTensorData* tensor, double& close, double& far);

/// Half height in Z: "qmPatchLUTCalibZHalfHeightForCOP.<lens>", 130.0 by default. A null tensor leaves the output
/// alone.
QUELCORE_API void qmReconsGetFilterByZHalfHeightForCOP(const tag_qmReconsTensorData* tensor, double& halfHeight);
