// Heads with known truth, for tests, benchmarks and the demo.
//
// Three cameras of 1536 x 1024 pixels look from about 1240 mm at the world's origin; camera 0 is uppermost (greatest
// Y), camera 1 the left one. Lengths are millimetres. The truth is computed from rotation, translation and intrinsics
// of the cameras; it never reads the tensor.
#pragma once

#include <array>
#include <cstdint>
#include <random>

#include "quel/cameras/Camera.h"
#include "quel/cameras/HeadMaker.h"
#include "quelcore/records/qmRTCorres.h"
#include "quelcore/records/qmReconsTensorData.h"

namespace quel::testing {

using quel::Camera;
using quel::HeadOptions;
using quel::MadeHead;
using quel::Vec2;
using quel::Vec3;

class SampleHead {
 public:
  enum class Kind {
    Converging,       ///< The optical axes meet near the scene.
    CommonImagePlane  ///< Parallel axes, one image plane: the third component of every epipole is exactly 0.
  };

  /// A fixed head with mild distortion.
  explicit SampleHead(const HeadOptions& options = {});

  /// A plausible head of its own for each seed: poses, intrinsics (with fx = fy and no skew, so that the tensor's
  /// distortion is the cameras' own) and distortion vary.
  explicit SampleHead(std::uint64_t seed, Kind kind = Kind::Converging, const HeadOptions& options = {});

  /// The complete record; its LUT pointers and distortion tables are null unless `options.luts` asked for LUTs. It may
  /// be changed and lives as long as this object.
  tag_qmReconsTensorData* tensor() { return &head_.tensor; }
  const tag_qmReconsTensorData* tensor() const { return &head_.tensor; }

  const std::array<Camera, 3>& cameras() const { return cameras_; }

  /// A point that all cameras see. `u`, `v` and `w` from -1 to 1 span the common view: X, Y and Z.
  Vec3 point(double u, double v, double w) const;
  Vec3 randomPoint(std::mt19937_64& random) const;

  /// Undistorted pixel of a world point.
  Vec2 pinholePixel(const Vec3& point, int camera) const;

  /// Distorted pixel of a world point.
  Vec2 pixel(const Vec3& point, int camera) const;

  /// Normalised position of a world point in a camera, as the transfer tables take it.
  Vec2 normalisedPixel(const Vec3& point, int camera) const;

  /// Z before a camera.
  double depthBefore(const Vec3& point, int camera) const;

  /// A point whose depth before `camera` is exactly 0 when row 2 of the stored projection is applied from left to
  /// right,
  /// ((p0 x + p1 y) + p2 z) + p3. Its coordinates are exact in single precision.
  const Vec3& pointOnPrincipalPlane(int camera) const;

  /// Where the cameras see a point: exact pinhole pixels.
  tag_qmRTCorres correspondence(const Vec3& point) const;

  /// The true parallax of a point seen from `camera`, before division by a pair's unit: its distance behind the
  /// reference plane (through the world centre, normal to the mean of the optical axes) over its depth.
  double planarParallax(const Vec3& point, int camera) const;

 private:
  std::array<Camera, 3> cameras_;
  std::array<Vec3, 3> onPrincipalPlane_;
  MadeHead head_;
};

}  // namespace quel::testing
