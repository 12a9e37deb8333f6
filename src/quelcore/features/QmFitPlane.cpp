#include "quelcore/features/QmFitPlane.h"

#include <cmath>
#include <span>

#include "quelcore/base/outOfMemory.h"
#include "quelcore/features/direction.h"
#include "quelcore/features/writeUnlessNull.h"
#include "quelplatform/prim_geom/QmPlane.h"
#include "quelplatform/qmMath/QmMathConvexPolygon.h"
#include "quelplatform/qmMath/qmMath.h"
#include "quelplatform/qmMath/qmMathFit.h"

namespace {

using quelcore::direction;
using quelcore::unlessOutOfMemory;
using quelcore::writeUnlessNull;

std::span<const QmVec3> spanOf(const std::vector<QmVec3>* points) {
  return points == nullptr ? std::span<const QmVec3>() : std::span<const QmVec3>(*points);
}

/// Zeroes a member of an object that ends; a plain store to one is dropped by the optimiser.
template <typename T>
void forget(T& member) {
  *const_cast<volatile T*>(&member) = T();
}

/// The foot of a point on the plane that lies farthest from the centre, the first of equals, and how far.
struct Farthest {
  QmVec3 foot;
  double distance = 0.0;
};

Farthest farthestFoot(std::span<const QmVec3> points, const QmVec3& center, const QmPlane& plane) {
  Farthest farthest{center};
  for (const QmVec3& p : points) {
    const QmVec3 foot = plane.project(p.v);
    const double distance = length(foot - center);
    if (distance > farthest.distance) farthest = {foot, distance};
  }
  return farthest;
}

}  // namespace

QmFitPlane::QmFitPlane(std::vector<QmVec3>* points) : points_(points) { SetPlaneData(); }

// A plane whose points may be gone answers nothing any more, not even to who asks too late.
QmFitPlane::~QmFitPlane() {
  for (double* distance : {&meanDist_, &maxPositiveDist_, &maxNegativeDist_, &stdAbsDist_}) forget(*distance);
  forget(valid_);
  forget(points_);
}

void QmFitPlane::SetPlanePoints(std::vector<QmVec3>* points) {
  points_ = points;
  SetPlaneData();
}

void QmFitPlane::SetPlaneData() {
  const std::span<const QmVec3> points = spanOf(points_);
  stdAbsDist_ = 0.0;
  center_ = normal_ = QmVec3();
  valid_ = qmMathFit3DPlane(reinterpret_cast<const double(*)[3]>(points.data()),
                            static_cast<std::int64_t>(points.size()), normal_.v, center_.v) != 0;
  QmVec3 up;
  qmMathUnitVec3(normal_.v, up.v);
  addDistances(up);
}

// Distances are computed twice rather than kept: the same expression gives the same bits.
void QmFitPlane::addDistances(const QmVec3& up) {
  const std::span<const QmVec3> points = spanOf(points_);
  const auto count = static_cast<double>(points.size());
  double sum = 0.0;
  for (const QmVec3& p : points) {
    const double d = dot(up, p - center_);
    // Required: the extremes start from those of the points before.
    if (d > 0.0 && d > maxPositiveDist_) {
      maxPositiveDist_ = d;
    } else if (d < 0.0 && d < maxNegativeDist_) {
      maxNegativeDist_ = d;
    }
    meanDist_ += d;
    sum += std::abs(d);
  }
  meanDist_ /= count;
  const double mean = sum / count;
  double squares = 0.0;
  for (const QmVec3& p : points) {
    const double off = std::abs(dot(up, p - center_)) - mean;
    squares += off * off;
  }
  stdAbsDist_ = std::sqrt(squares / count);
}

bool QmFitPlane::CalculateRectPlane(std::vector<QmVec3>& corners) const {
  if (!valid_) return false;
  const Farthest farthest = farthestFoot(spanOf(points_), center_, QmPlane(center_.v, normal_.v));
  const double r = farthest.distance;
  const QmVec3 a = direction(farthest.foot - center_);
  const QmVec3 side = center_ - r * cross(a, normal_);
  const QmVec3 b = direction(side - center_);
  return unlessOutOfMemory(false, [&] {
    corners.insert(corners.end(), {farthest.foot, side, center_ - r * a, center_ - r * b});
    return true;
  });
}

bool QmFitPlane::CalculateConvexHullPlane(std::vector<QmVec3>& outline) {
  return unlessOutOfMemory(false, [&] {
    std::vector<QmVec3> none;
    std::vector<QmVec3>& points = points_ == nullptr ? none : *points_;
    std::vector<int> indices;
    const bool found = QmMathConvexPolygonCalc3D(points, indices, &center_, &normal_);
    if (!found || indices.empty()) return found;
    const QmPlane plane(center_.v, normal_.v);
    outline.clear();
    for (const int index : indices) {
      // A platform of another make may give any index; a negative one is none either.
      if (static_cast<std::size_t>(index) >= points.size()) return false;
      outline.push_back(plane.project(points[static_cast<std::size_t>(index)].v));
    }
    return true;
  });
}

bool QmFitPlane::GetCenter(QmVec3& center) const { return writeUnlessNull(center_, center); }

bool QmFitPlane::GetNormal(QmVec3& normal) const { return writeUnlessNull(normal_, normal); }
