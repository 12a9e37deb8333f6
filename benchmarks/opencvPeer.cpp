#include "benchmarks/opencvPeer.h"

#include <cmath>
#include <complex>
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

void triangulateByOpenCv(const tag_qmReconsTensorData& tensor, const double a[2], const double b[2], double point[3]) {
  const cv::Mat first(3, 4, CV_64F, const_cast<double(*)[4]>(tensor.projections[0]));
  const cv::Mat second(3, 4, CV_64F, const_cast<double(*)[4]>(tensor.projections[1]));
  const cv::Mat seenA(2, 1, CV_64F, const_cast<double*>(a)), seenB(2, 1, CV_64F, const_cast<double*>(b));
  cv::Mat homogeneous;
  cv::triangulatePoints(first, second, seenA, seenB, homogeneous);
  for (int axis = 0; axis < 3; ++axis) point[axis] = homogeneous.at<double>(axis) / homogeneous.at<double>(3);
}

int realRootsByOpenCv(const double coefficients[5], double roots[4]) {
  const cv::Mat in(5, 1, CV_64F, const_cast<double*>(coefficients));
  cv::Mat out;
  cv::solvePoly(in, out);
  int count = 0;
  for (int n = 0; n < 4; ++n) {
    const auto root = out.at<std::complex<double>>(n);
    if (std::abs(root.imag()) <= 1e-6 * std::abs(root)) roots[count++] = root.real();
  }
  return count;
}

}  // namespace quel::benchmarks
