// A range scan projected into the images of a head.
#pragma once

#include <algorithm>
#include <array>
#include <vector>

#include "files/Values.h"
#include "quelcore/tensor/QmReconsTensor.h"

namespace queltool {

struct ScanRun {
  std::array<std::vector<Vec2>, 3> pixels;  ///< Per camera, one for each point.
  std::vector<Vec3> points;                 ///< In the head's world, where the cameras look.
  std::array<std::size_t, 3> inImage;       ///< Points whose pixel lies in the image.
  std::int32_t threads;                     ///< Of this machine, at most 16.
  double pointsPerSecondOneThread;          ///< A point is transformed once and projected three times.
  double pointsPerSecondAllThreads;         ///< On `threads` threads.

  /// The better of the two.
  double pointsPerSecond() const { return std::max(pointsPerSecondOneThread, pointsPerSecondAllThreads); }
};

/// Stands `scan` (in the frame of its scanner, which looks along -Z with Y up) where the cameras of `head` look, and
/// projects it again and again by the fast distortion: speeds are those of the median pass. Throws `Failure` when it
/// does not project.
ScanRun runScan(const QmReconsTensor& head, const std::vector<Vec3>& scan);

}  // namespace queltool
