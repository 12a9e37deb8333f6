// How far the points of a scan are from the cameras of a head.
#pragma once

#include <array>
#include <vector>

#include "demo/ScanRun.h"
#include "quelcore/tensor/QmReconsTensor.h"

namespace queltool {

/// Millimetres; the outermost hundredth on either side lies beyond it.
struct DepthRange {
  double nearest;
  double farthest;
};

struct Depths {
  std::vector<double> values;  ///< Of each point.
  DepthRange range;
};

/// Per camera.
std::array<Depths, 3> depthsOf(const QmReconsTensor& head, const ScanRun& run);

/// The range that holds those of all cameras.
DepthRange commonRange(const std::array<Depths, 3>& depths);

}  // namespace queltool
