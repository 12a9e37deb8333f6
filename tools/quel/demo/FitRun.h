// The board's corners through each fit of a correspondence.
#pragma once

#include <array>
#include <vector>

#include "demo/BoardData.h"
#include "quel/measure/PointFit.h"

namespace queltool {

/// Root of the mean squared distance, millimetres, between the check corners and their fitted points: per fit, in the
/// order of `quel::kClosedFits`, and choice of cameras, in that of `quel::kFitChoices`.
struct FitRun {
  std::array<std::array<double, quel::kFitChoices.size()>, quel::kClosedFits.size()> checkRmsMm;
};

/// Throws `Failure` when a check corner cannot be fitted, or there is none.
FitRun runFits(const tag_qmReconsTensorData& head, const std::vector<Corner>& corners);

}  // namespace queltool
