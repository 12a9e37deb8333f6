#include "quel/cameras/Geometry.h"

#include <Eigen/Cholesky>
#include <Eigen/Eigenvalues>
#include <Eigen/LU>
#include <cmath>

namespace quel {

namespace {

// Optical axes that meet under less than this angle (radians, squared) count as parallel.
constexpr Real kParallel = 1e-8L;
constexpr Real kSingularShift = 1.0L / 16.0L;

// The record keeps doubles; what tables are derived from is rounded first, so that they fit what is kept.
Real rounded(Real value) { return static_cast<Real>(static_cast<double>(value)); }

RealRow4 planeThrough(const RealVec3& normal, const RealVec3& point, const Scene& scene) {
  RealRow4 row;
  row << scene.scale * normal.transpose(), normal.dot(scene.centre - point);
  return row;
}

// Pixels by which one unit of parallax moves the point seen at `p` in camera a, in camera b.
Real pixelsPerUnit(const RealMat3& transfer, const RealVec3& epipole, const RealVec3& p, const View& b) {
  const RealVec3 m = transfer * p;
  return b.imageScale * ((epipole.head<2>() * m[2] - m.head<2>() * epipole[2]) / (m[2] * m[2])).norm();
}

bool onLine(const Scene& scene, const View& a, const View& b) {
  const RealVec3 toA = (a.centre - scene.centre).normalized();
  const RealVec3 toB = (b.centre - scene.centre).normalized();
  return toA.cross(toB).squaredNorm() < kParallel;
}

// The singular reference plane of the pair, scaled so that it differs from the planar one by rows of the view alone.
RealRow4 singularPlane(const Scene& scene, const View& a, const View& b, const RealMat4& worldFromA) {
  const RealVec3 toCameras = (a.centre + b.centre) / 2.0L - scene.centre;
  const RealVec3 point = scene.centre + kSingularShift * toCameras;
  const RealRow4 plane = planeThrough(-toCameras.normalized(), point, scene);
  return plane / plane.dot(worldFromA.col(3));
}

}  // namespace

View makeView(const Camera& camera) {
  Eigen::Matrix3d intrinsics;
  intrinsics << camera.fx, camera.skew, camera.cx, 0.0, camera.fy, camera.cy, 0.0, 0.0, 1.0;
  View view;
  view.intrinsics = intrinsics.cast<Real>();
  for (int row = 0; row < 3; ++row) {
    const auto i = static_cast<std::size_t>(row);
    const Vec3& r = camera.rotation[i];
    view.pose.row(row) << Eigen::RowVector4d(r[0], r[1], r[2], camera.translation[i]).cast<Real>();
  }
  view.axis = view.pose.row(2).head<3>().transpose();
  view.centre = -view.pose.leftCols<3>().inverse() * view.pose.col(3);
  view.imageCentre = Eigen::Vector2d(camera.cx, camera.cy).cast<Real>();
  view.imageScale = rounded(std::sqrt(static_cast<Real>(camera.fx) * static_cast<Real>(camera.fy)));
  view.normalised.setZero();
  return view;
}

RealVec3 nearestToAxes(const std::array<View, 3>& views, Real distance) {
  RealMat3 sum = RealMat3::Zero();
  RealVec3 right = RealVec3::Zero();
  RealVec3 middle = RealVec3::Zero();
  RealVec3 axis = RealVec3::Zero();
  for (const View& view : views) {
    const RealMat3 across = RealMat3::Identity() - view.axis * view.axis.transpose();
    sum += across;
    right += across * view.centre;
    middle += view.centre / 3.0L;
    axis += view.axis;
  }
  const Eigen::SelfAdjointEigenSolver<RealMat3> eigen(sum);
  if (eigen.eigenvalues()[0] < kParallel) return middle + distance * axis.normalized();
  return sum.ldlt().solve(right);
}

Scene makeScene(std::array<View, 3>& views, const RealVec3& centre) {
  Scene scene{centre, 0.0L, RealVec3::Zero(), RealRow4::Zero()};
  for (const View& view : views) {
    scene.scale += (view.centre - centre).norm() / 3.0L;
    scene.normal += view.axis;
  }
  scene.normal.normalize();
  scene.scale = rounded(scene.scale);
  scene.plane = planeThrough(scene.normal, centre, scene);
  RealMat4 worldFromNormalised = RealMat4::Identity() * scene.scale;
  worldFromNormalised.col(3) << centre, 1.0L;
  for (View& view : views) {
    RealMat3 fromPixels;  // Its last row is exactly (0, 0, 1), so that equal depths stay equal.
    fromPixels << 1.0L / view.imageScale, 0.0L, -view.imageCentre[0] / view.imageScale,  //
        0.0L, 1.0L / view.imageScale, -view.imageCentre[1] / view.imageScale,            //
        0.0L, 0.0L, 1.0L;
    view.normalised = fromPixels * view.intrinsics * view.pose * worldFromNormalised;
  }
  return scene;
}

RealMat4 backToWorld(const View& view, const RealRow4& plane) {
  RealMat4 stack;
  stack << view.normalised, plane;
  return stack.fullPivLu().inverse();
}

PairTables makePair(const Scene& scene, const View& a, const View& b) {
  PairTables tables{};
  const RealMat4 worldFromA = backToWorld(a, scene.plane);
  RealMat34 transfer = b.normalised * worldFromA;
  // Cameras of one common image plane measure the same depth: then the third row is exactly (0, 0, 1 | 0).
  if (a.normalised.row(2) == b.normalised.row(2)) transfer.row(2) << 0.0L, 0.0L, 1.0L, 0.0L;
  tables.planar = transfer.leftCols<3>();
  tables.epipole = transfer.col(3);

  const RealRow4 difference = scene.plane - singularPlane(scene, a, b, worldFromA);
  const RealRow4 v = difference * worldFromA;
  tables.singular = tables.planar + tables.epipole * v.head<3>();

  const RealVec3 seen = a.normalised.col(3) / a.normalised(2, 3);
  const Real planarPixels = pixelsPerUnit(tables.planar, tables.epipole, seen, b);
  const Real singularPixels = pixelsPerUnit(tables.singular, tables.epipole, seen, b);
  tables.parallax = !onLine(scene, a, b);
  tables.planarScale = rounded(1.0L / planarPixels);
  tables.singularScale = rounded(1.0L / singularPixels);
  tables.reconstruction = backToWorld(a, scene.plane / tables.planarScale);
  return tables;
}

}  // namespace quel
