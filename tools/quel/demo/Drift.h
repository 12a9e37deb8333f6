// A head that drifts with temperature by known rates, and what compensation makes of that.
#pragma once

#include <array>
#include <filesystem>
#include <vector>

#include "demo/BoardData.h"
#include "quel/cameras/Camera.h"
#include "quelcore/tensor/QmReconsTensor.h"

namespace queltool {

/// Root of the mean squared distance, in pixels and per view, between where the warm cameras see the corners and where
/// the head projects them.
struct DriftRun {
  double degrees;                ///< From the reference temperature to that of the warm cameras.
  std::array<double, 3> before;  ///< By the block as it was calibrated.
  std::array<double, 3> after;   ///< By the compensated block.
};

/// Lets `cameras`, of which `block` was made, drift; writes the rates to the correction table `table` and compensates
/// `block` by that file. The warm cameras never touch the block. Throws `Failure`.
DriftRun runDrift(const std::array<quel::Camera, 3>& cameras, const QmReconsTensor& block,
                  const std::vector<Corner>& corners, const std::filesystem::path& table);

}  // namespace queltool
