#include "quelcore/features/QmFitLine.h"

#include <cmath>

#include "quelcore/base/outOfMemory.h"
#include "quelcore/features/writeUnlessNull.h"
#include "quelplatform/qmMath/qmMathFit.h"
#include "quelplatform/qmMath/qmMathIntersect.h"

namespace {

using quelcore::unlessOutOfMemory;
using quelcore::writeUnlessNull;

/// Where points lie along a line: the smallest and the largest parameter, of equal ones the first.
struct Extent {
  bool any = false;
  double low = 0.0;
  double high = 0.0;

  void add(double t) {
    if (!std::isfinite(t)) return;
    if (!any || t < low) low = t;
    if (!any || t > high) high = t;
    any = true;
  }
};

}  // namespace

QmFitLine::~QmFitLine() = default;

/// Runs a step that fills `linePoints_`. When memory runs out they are empty and the line is not valid.
template <typename Step>
void QmFitLine::fill(Step step) {
  valid_ = unlessOutOfMemory(false, [&] {
    step();
    return true;
  });
  if (!valid_) linePoints_.clear();
}

void QmFitLine::boundBy(const std::vector<QmVec3>& points) {
  Extent extent;
  for (const QmVec3& p : points) extent.add(dot(p - point_, direction_));
  if (!extent.any) return;
  fill([&] { linePoints_ = {point_ + extent.low * direction_, point_ + extent.high * direction_}; });
}

bool QmFitLine::CalculateLineByPoints(std::vector<QmVec3>& points) {
  linePoints_.clear();
  valid_ = !points.empty() && qmMathFit3DLine(reinterpret_cast<const double(*)[3]>(points.data()),
                                              static_cast<std::int64_t>(points.size()), direction_.v, point_.v) != 0;
  if (valid_) boundBy(points);
  return valid_;
}

bool QmFitLine::CalculateLineByIntersection(QmPlane& plane1, QmPlane& plane2, std::vector<QmVec3>& points) {
  linePoints_.clear();
  valid_ = points.size() >= 2 && qmMath2PlanesIntersect(plane1.point().v, plane1.normal().v, plane2.point().v,
                                                        plane2.normal().v, point_.v, direction_.v) != 0;
  if (valid_) boundBy(points);
  return valid_;
}

bool QmFitLine::CalculateLineByProjection(QmPlane& plane, std::vector<QmVec3>& points) {
  linePoints_.clear();
  valid_ = !points.empty();
  if (!valid_) return false;
  fill([&] {
    linePoints_.reserve(points.size());
    for (const QmVec3& p : points) linePoints_.push_back(p - dot(p - plane.point(), plane.normal()) * plane.normal());
  });
  return valid_;
}

bool QmFitLine::CalculateLineByCylinder(QmCylinder& cylinder) {
  point_ = cylinder.centre();
  direction_ = cylinder.axis();
  const QmVec3 half = cylinder.halfLength() * direction_;
  // Required: the ends join what is there, unlike in the other calculations.
  fill([&] { linePoints_.insert(linePoints_.end(), {point_ - half, point_ + half}); });
  return valid_;
}

bool QmFitLine::GetPoint(QmVec3& point) const { return writeUnlessNull(point_, point); }

bool QmFitLine::GetDirection(QmVec3& direction) const { return writeUnlessNull(direction_, direction); }

bool QmFitLine::GetLinePoints(std::vector<QmVec3>& linePoints) const {
  linePoints.clear();
  return !linePoints_.empty() && unlessOutOfMemory(false, [&] {
    linePoints = linePoints_;
    return true;
  });
}
