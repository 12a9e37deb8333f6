// The board's corners through each fit of a correspondence.
#pragma once

#include <array>
#include <vector>

#include "demo/BoardData.h"
#include "models/Fitting.h"

namespace queltool {

/// Root of the mean squared distance, millimetres, between the check corners and their fitted points: per fit, in the
/// order of `kFitMethods`, and choice of cameras, in that of `kFitChoices`.
struct FitRun {
  std::array<std::array<double, kFitChoices.size()>, kFitMethods.size()> checkRmsMm;
};

/// Throws `Failure` when a check corner cannot be fitted, or there is none.
FitRun runFits(const tag_qmReconsTensorData& head, const std::vector<Corner>& corners);

}  // namespace queltool
