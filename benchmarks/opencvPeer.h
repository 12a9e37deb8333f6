// OpenCV beside the projection, the inverse distortion, the triangulation and the quartic, where it is installed.
#pragma once

#include <cstddef>

#include "quelcore/records/qmReconsTensorData.h"

namespace quel::benchmarks {

/// The pixels of points before one camera, by cv::projectPoints with the camera's own lens; allocates nothing per call
/// but what OpenCV does.
class OpenCvCamera {
 public:
  OpenCvCamera(const tag_qmReconsTensorData& tensor, int camera);
  ~OpenCvCamera();
  OpenCvCamera(const OpenCvCamera&) = delete;
  OpenCvCamera& operator=(const OpenCvCamera&) = delete;

  /// `withLens` false leaves out the distortion.
  void project(const double (*points)[3], std::size_t count, bool withLens, double (*pixels)[2]) const;

  /// Ideal pixels of distorted ones, by cv::undistortPoints.
  void undistort(const double (*pixels)[2], std::size_t count, double (*ideal)[2]) const;

 private:
  struct Parts;
  Parts* parts_;
};

/// The point that two cameras of a head see at `a` and `b`, ideal pixels, by cv::triangulatePoints.
void triangulateByOpenCv(const tag_qmReconsTensorData& tensor, const double a[2], const double b[2], double point[3]);

/// The real roots of c0 + c1 x + ... + c4 x^4, by cv::solvePoly with a limit on their imaginary part. Returns how many.
int realRootsByOpenCv(const double coefficients[5], double roots[4]);

}  // namespace quel::benchmarks
