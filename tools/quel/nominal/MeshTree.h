// The tree over the triangles of a mesh, by which the nearest one is found.
//
// Embree searches in single precision; distances are computed here, in double. The search must meet every triangle that
// the doubles may call nearest. In the frame of the search lengths of the mesh are at most 1; u = 2^-24 bounds the
// relative rounding of single precision. With p the point, f the point that Embree gets and r the least distance so
// far:
//
//   1. f is p less the middle, rounded: |f - (p - middle)| <= e = 1.01 u (|x| + |y| + |z|) of p - middle.
//   2. The box that Embree gets of a triangle holds it: every bound is rounded, and then moved out by one float, which
//      is more than the roundings to double and to single precision together.
//   3. The computed distance of a triangle is off by less than 2^-40: 2^-49 of the lengths in it, which are those of
//      the mesh and of p - middle; what the latter add is less than u / 100 of them, and stands in the 1.01 of 1.
//   4. Embree computes the square of the distance of f from a box in at most seven roundings and compares it with the
//      square of the radius: it is off by less than 4 u of the distance.
//
// So the radius (r + e + 2^-40) (1 + 16 u), rounded up, meets them all, those of equal distance with them.
#pragma once

#include <embree3/rtcore.h>

#include <cstdint>
#include <memory>

#include "files/Values.h"
#include "nominal/MeshShape.h"

namespace queltool {

class MeshTree {
 public:
  /// Over the triangles of `shape`, which outlives it and lies around `middle`. Throws `Failure` or `std::bad_alloc`.
  MeshTree(const MeshShape& shape, const Vec3& middle);

  struct Hit {
    Foot foot;
    std::uint32_t triangle;
    MeshFeature feature;
  };

  /// What is nearest to a point of the frame: least by the distance, then by the feature, then by the triangle.
  /// `hint` is a triangle that may be near; the result is the same for any.
  Hit nearest(const Vec3& p, std::uint32_t hint) const;

 private:
  template <typename Handle, void (*release)(Handle)>
  struct Release {
    using pointer = Handle;
    void operator()(Handle handle) const { release(handle); }
  };
  using Device = std::unique_ptr<RTCDeviceTy, Release<RTCDevice, rtcReleaseDevice>>;
  using Scene = std::unique_ptr<RTCSceneTy, Release<RTCScene, rtcReleaseScene>>;
  struct Search;

  static void giveBounds(const RTCBoundsFunctionArguments* arguments);
  static bool meet(RTCPointQueryFunctionArguments* arguments);
  void demandNoError() const;

  const MeshShape& shape_;
  Vec3 middle_;
  Device device_;
  Scene scene_;
};

}  // namespace queltool
