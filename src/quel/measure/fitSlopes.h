// How a fitted point moves with the pixels that it was fitted to. Hidden in the library.
#pragma once

#include <array>
#include <optional>

#include "quel/measure/PointFit.h"

namespace quel {

/// Derivatives of a point: [camera][x or y] is how it moves per pixel of that camera's ideal coordinate.
using FitSlopes = std::array<std::array<Vec3, 2>, 3>;

/// The derivatives of `fit` at `corres` (ideal pixels), to about 1e-7 of their size. Nothing where they cannot be had.
/// Those of a camera that plays no part are 0.
std::optional<FitSlopes> slopesOf(Fit fit, const tag_qmReconsTensorData& head, const tag_qmRTCorres& corres,
                                  const FitCameras& cameras);

}  // namespace quel
