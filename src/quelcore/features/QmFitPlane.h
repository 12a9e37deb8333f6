// A plane through points, how far they lie from it, and two outlines of it for display.
#pragma once

#include <vector>

#include "quelcore/QuelCoreApi.h"
#include "quelplatform/prim_geom/QmVec3.h"

/// Calculates when it is given its points. They belong to the caller, must outlive the object and must not change
/// during a call; null counts as no points. Lengths are in the unit of the points, distances from the plane positive on
/// the side of the normal. Nothing is logged.
///
/// Required: the extreme distances and the mean are not reset when an object gets new points, only by making a new
/// object. Copies share the points.
class QUELCORE_API QmFitPlane {
 public:
  explicit QmFitPlane(std::vector<QmVec3>* points);
  QmFitPlane(const QmFitPlane&) = default;
  QmFitPlane& operator=(const QmFitPlane&) = default;
  virtual ~QmFitPlane();

  /// Fits the plane to other points. Required: an extreme distance of the points before stays in force unless it is
  /// exceeded, and their mean joins the new sum before it is divided.
  void SetPlanePoints(std::vector<QmVec3>* points);

  /// Appends the four corners of a square about the centre, with diagonals of twice the largest distance of a projected
  /// point from the centre and one corner at that point (the first of equally far ones):
  ///
  ///   f,  center - r (a x normal),  center - r a,  center - r b        a = unit(f - center), b = unit(corner 1 -
  ///   center)
  ///
  /// All four are the centre when every point projects onto it. False, appending nothing, when the plane is not valid
  /// or memory is exhausted.
  bool CalculateRectPlane(std::vector<QmVec3>& corners) const;

  /// Replaces `outline` by the convex hull of the points, projected onto the plane (see QmMathConvexPolygonCalc3D);
  /// true, with `outline` left alone, when the points are gone since the fit. False where the hull fails, as it does
  /// without a normal and so for an object that never had points, with `outline` left alone,
  /// or when memory is exhausted. Does not look at the validity.
  bool CalculateConvexHullPlane(std::vector<QmVec3>& outline);

  /// False if the address of the output is null. Zero after a failed fit.
  bool GetCenter(QmVec3& center) const;
  bool GetNormal(QmVec3& normal) const;

  /// Largest distance on the side of the normal; 0 when no point lies there.
  double GetMaxPositiveDist() const { return maxPositiveDist_; }
  /// Largest distance on the other side, negative; 0 when no point lies there.
  double GetMaxNegativeDist() const { return maxNegativeDist_; }
  /// Standard deviation of the absolute distances about their mean, over the number of points. NaN without points.
  double GetStdAbsDist() const { return stdAbsDist_; }
  bool IsValid() const { return valid_; }

 private:
  void SetPlaneData();
  void addDistances(const QmVec3& up);

  bool valid_ = false;
  QmVec3 center_;
  QmVec3 normal_;
  std::vector<QmVec3>* points_;
  double meanDist_ = 0.0;
  double maxPositiveDist_ = 0.0;
  double maxNegativeDist_ = 0.0;
  double stdAbsDist_ = 0.0;
};
