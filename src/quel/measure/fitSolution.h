// What a closed-form fit finds, before it is led back to the world. Hidden in the library.
#pragma once

#include "quel/measure/PointFit.h"

namespace quel {

/// Where a fit puts the point in the reference camera, normalised, and its depth in the planar unit of the pair of
/// reference and first target.
struct FitSolution {
  Vec2 reference;
  double depth;
  double squaredError;  ///< Pixels of the first target.
};

/// Of a closed-form fit; nothing where it fails.
std::optional<FitSolution> solveFit(Fit fit, const tag_qmReconsTensorData& head, const tag_qmRTCorres& corres,
                                    const FitCameras& cameras);

/// The point of a solution.
Vec3 worldPoint(const tag_qmReconsTensorData& head, const FitCameras& cameras, const FitSolution& fit);

}  // namespace quel
