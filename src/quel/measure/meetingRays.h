// Where three rays meet. Hidden in the library.
#pragma once

#include "quel/measure/PointFit.h"

namespace quel {

/// What `fitPoint` gives for `Fit::Rays`. The error is the root of the summed squares of the angles between the rays
/// and the point, in pixels of the first target.
std::optional<FittedPoint> meetRays(const tag_qmReconsTensorData& head, const tag_qmRTCorres& corres,
                                    const FitCameras& cameras);

}  // namespace quel
