#include "benchmarks/mrcalPeer.h"

extern "C" {
#include <mrcal/mrcal.h>
}

#include "quelcore/tensor/qmReconsTensorCore.h"

namespace quel::benchmarks {

// As OpenCV's, the lens counts on normalised coordinates (opencvPeer.cpp).
MrcalCamera::MrcalCamera(const tag_qmReconsTensorData& tensor, int camera, const double (*points)[3], std::size_t count)
    : inCamera_(3 * count) {
  double K[3][3], inverse[3][3], R[3][3], t[3];
  qmRTdecomposeProj(tensor.projections[camera], K, inverse, R, t);
  const tag_qmDistortParams& lens = tensor.distortParams[camera];
  const double f = K[0][0], f2 = f * f;
  const double intrinsics[12] = {
      f,   K[1][1], K[0][2], K[1][2], lens.k1 * f2, lens.k2 * f2 * f2, lens.p2 * f, lens.p1 * f, lens.k3 * f2 * f2 * f2,
      0.0, 0.0,     0.0};
  for (std::size_t i = 0; i < 12; ++i) intrinsics_[i] = intrinsics[i];
  for (std::size_t n = 0; n < count; ++n) {
    for (std::size_t i = 0; i < 3; ++i) {
      inCamera_[3 * n + i] = R[i][0] * points[n][0] + R[i][1] * points[n][1] + R[i][2] * points[n][2] + t[i];
    }
  }
}

void MrcalCamera::project(std::size_t count, bool withLens, double (*pixels)[2]) const {
  mrcal_lensmodel_t model = {};
  model.type = withLens ? MRCAL_LENSMODEL_OPENCV8 : MRCAL_LENSMODEL_PINHOLE;
  mrcal_project(reinterpret_cast<mrcal_point2_t*>(pixels), nullptr, nullptr,
                reinterpret_cast<const mrcal_point3_t*>(inCamera_.data()), static_cast<int>(count), &model,
                intrinsics_);
}

}  // namespace quel::benchmarks
