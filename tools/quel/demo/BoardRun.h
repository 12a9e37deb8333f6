// The board through a head and back: its corners projected in every mode, and its measured pixels turned into points.
#pragma once

#include <array>
#include <vector>

#include "demo/BoardData.h"
#include "quelcore/tensor/QmReconsTensor.h"

namespace queltool {

inline constexpr std::size_t kModes = 5;

/// Root of the mean squared distance between projected and measured corners, pixels, per view.
struct ModeResult {
  std::array<double, 3> allRms;
  std::array<double, 3> checkRms;
};

struct BoardRun {
  std::array<ModeResult, kModes> modes;
  std::vector<std::array<Vec2, 3>> projected;  ///< By the exact distortion, per corner and camera.
  std::vector<Vec3> points;                    ///< Where the rays of a corner meet.
  double allRmsMm;                             ///< Distance between these and the board's corners.
  double checkRmsMm;
  double checkMaxMm;
  double checkFlatnessMm;  ///< RMS distance of the check corners' points from their best plane.
};

/// Runs `corners` through `head`. Throws `Failure` when a corner does not project or has no ray.
BoardRun runBoard(const QmReconsTensor& head, const std::vector<Corner>& corners);

}  // namespace queltool
