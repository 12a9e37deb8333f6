// The plane-plus-parallax tables of a head. Hidden in the library: it is where Eigen shows.
//
// Everything is computed in extended precision and rounded once at the end.
#pragma once

#include <Eigen/Core>
#include <array>

#include "quel/cameras/Camera.h"

namespace quel {

using Real = long double;
using RealVec2 = Eigen::Matrix<Real, 2, 1>;
using RealVec3 = Eigen::Matrix<Real, 3, 1>;
using RealVec4 = Eigen::Matrix<Real, 4, 1>;
using RealRow4 = Eigen::Matrix<Real, 1, 4>;
using RealMat3 = Eigen::Matrix<Real, 3, 3>;
using RealMat34 = Eigen::Matrix<Real, 3, 4>;
using RealMat4 = Eigen::Matrix<Real, 4, 4>;

/// One camera in both worlds: pixels and millimetres, and normalised.
struct View {
  RealMat3 intrinsics;
  RealMat34 pose;  ///< [R | t].
  RealVec3 centre;
  RealVec3 axis;         ///< Unit optical axis.
  RealVec2 imageCentre;  ///< Pixels.
  Real imageScale;       ///< Pixels.
  RealMat34 normalised;  ///< Normalised world to normalised image.
};

/// What the head's cameras have in common.
struct Scene {
  RealVec3 centre;  ///< World.
  Real scale;       ///< Mean distance of the cameras.
  RealVec3 normal;  ///< Of the reference plane, away from the cameras.
  RealRow4 plane;   ///< Reference plane on normalised world points: the distance behind it, millimetres.
};

/// The tables of one ordered pair of different cameras.
struct PairTables {
  RealMat3 planar;
  RealMat3 singular;
  RealVec3 epipole;
  Real planarScale;
  Real singularScale;
  RealMat4 reconstruction;
  bool parallax;  ///< False when the pair sees the scene's centre along one line, so that depth moves nothing.
};

View makeView(const Camera& camera);

/// The point nearest to the three optical axes, or, where these are parallel, `distance` before the middle of the
/// cameras.
RealVec3 nearestToAxes(const std::array<View, 3>& views, Real distance);

/// The scene about `centre`; fills `normalised` of the views.
Scene makeScene(std::array<View, 3>& views, const RealVec3& centre);

PairTables makePair(const Scene& scene, const View& a, const View& b);

/// [view; plane]^-1: from (x, y, 1, parallax) in a view to the normalised world point.
RealMat4 backToWorld(const View& view, const RealRow4& plane);

}  // namespace quel
