// mrcal beside the projection, where it is installed.
#pragma once

#include <cstddef>
#include <vector>

#include "quelcore/records/qmReconsTensorData.h"

namespace quel::benchmarks {

/// The pixels of points before one camera, by mrcal_project with the camera's own lens. mrcal projects what lies in the
/// camera's own frame, so the points are taken there ahead: no time is spent on their motion.
class MrcalCamera {
 public:
  MrcalCamera(const tag_qmReconsTensorData& tensor, int camera, const double (*points)[3], std::size_t count);

  /// The first `count` of the points. `withLens` false leaves out the distortion.
  void project(std::size_t count, bool withLens, double (*pixels)[2]) const;

 private:
  double intrinsics_[12];  ///< Of the model with eight coefficients; the pinhole has the first four of them.
  std::vector<double> inCamera_;
};

}  // namespace quel::benchmarks
