#include "benchmarks/opencvPeer.h"

#include <cmath>
#include <opencv2/calib3d.hpp>

#include "quelcore/tensor/qmReconsTensorCore.h"

namespace quel::benchmarks {

struct OpenCvCamera::Parts {
  cv::Mat rotation, translation, intrinsics, lens;
};

// The lens model counts in pixels about the principal point, OpenCV's on normalised coordinates: with one focal length
// f for both axes the radial coefficients are f^2, f^4, f^6 times as large, and the tangential ones f times and named
// the other way round.
OpenCvCamera::OpenCvCamera(const tag_qmReconsTensorData& tensor, int camera) : parts_(new Parts) {
  double K[3][3], inverse[3][3], R[3][3], t[3];
  qmRTdecomposeProj(tensor.projections[camera], K, inverse, R, t);
  const tag_qmDistortParams& lens = tensor.distortParams[camera];
  const double f = K[0][0], f2 = f * f;
  cv::Rodrigues(cv::Mat(3, 3, CV_64F, R), parts_->rotation);
  parts_->translation = cv::Mat(3, 1, CV_64F, t).clone();
  parts_->intrinsics = cv::Mat(3, 3, CV_64F, K).clone();
  parts_->lens =
      (cv::Mat_<double>(1, 5) << lens.k1 * f2, lens.k2 * f2 * f2, lens.p2 * f, lens.p1 * f, lens.k3 * f2 * f2 * f2);
}

OpenCvCamera::~OpenCvCamera() { delete parts_; }

void OpenCvCamera::project(const double (*points)[3], std::size_t count, bool withLens, double (*pixels)[2]) const {
  const int rows = static_cast<int>(count);
  const cv::Mat in(rows, 1, CV_64FC3, const_cast<double(*)[3]>(points));
  cv::Mat out(rows, 1, CV_64FC2, pixels);
  cv::projectPoints(in, parts_->rotation, parts_->translation, parts_->intrinsics, withLens ? parts_->lens : cv::Mat(),
                    out);
}

void OpenCvCamera::undistort(const double (*pixels)[2], std::size_t count, double (*ideal)[2]) const {
  const int rows = static_cast<int>(count);
  const cv::Mat in(rows, 1, CV_64FC2, const_cast<double(*)[2]>(pixels));
  cv::Mat out(rows, 1, CV_64FC2, ideal);
  cv::undistortPoints(in, out, parts_->intrinsics, parts_->lens, cv::noArray(), parts_->intrinsics);
}

}  // namespace quel::benchmarks
