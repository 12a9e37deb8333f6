// Reconstructed points, each with the number of images that made it.
#pragma once

#include <cstddef>
#include <vector>

#include "quelcore/QuelCoreApi.h"
#include "quelplatform/prim_geom/QmVec3.h"
#include "quelplatform/qmMath/qmMath.h"

/// One reconstructed point.
class QUELCORE_API LSReconsSinglePtData {
 public:
  /// The origin, made from two images.
  LSReconsSinglePtData() = default;
  LSReconsSinglePtData(const QmVec3& position, bool from3Imgs) : point(position), from3Images(from3Imgs) {}

  /// True when three images made the point, false when two did.
  bool Is3ImgRecons() const { return from3Images; }
  const QmVec3& getPt3D() const { return point; }

 private:
  friend class LSReconsPtsData;
  QmVec3 point;
  bool from3Images = false;
};

/// A list of reconstructed points and, if the caller uses them, a distance for each. Copies are whole. What has no
/// result to tell a failure by throws std::bad_alloc when memory is exhausted; what adds to the lists or removes from
/// them then leaves all as they were.
class QUELCORE_API LSReconsPtsData {
 public:
  void addPoint(const QmVec3& position, bool from3Images) { points.emplace_back(position, from3Images); }

  /// Appends a point and its distance.
  void addPoint(const QmVec3& position, bool from3Images, const float& distance);

  /// Empties both lists and keeps their memory.
  void clear();

  const std::vector<LSReconsSinglePtData>& getReconsPtsData() const { return points; }
  const std::vector<float>& getReconsPtsDistances() const { return distances; }

  /// Number of points.
  std::size_t size() const { return points.size(); }

  /// Makes room for `count` points and, if told, as many distances; a negative count is 0.
  void reserveReconsPts(int count, bool distancesToo);

  /// Appends the positions of the points that two, or three, images made, in order.
  void getFinal2ImgsPoints(std::vector<QmVec3>& out) const;
  void getFinal3ImgsPoints(std::vector<QmVec3>& out) const;

  /// Appends the positions of the points that three images made and then those of the others, each in order. `count`
  /// becomes the place where the others begin.
  ///
  /// Required: `out` is not emptied, so that `count` includes what it held before.
  void getFinalPoints(std::vector<QmVec3>& out, std::size_t& count) const;

  /// Moves every point; results that are not finite stay as they come.
  void transformPts(const qmMathTransform& transform);

  /// Removes each point whose bit is set, with its distance; what stays keeps its order. Points without a bit stay.
  ///
  /// Required: afterwards there are as many distances as points, zero where there was none, unless there was no point.
  void RemoveSuspiciousPoints(const std::vector<bool>& suspicious);

  /// Appends the points of `other`, and its distances if it has any.
  ///
  /// Required: the numbers are not compared, so that distances can end up on points that they do not belong to when
  /// only one of the two has them.
  void unify(const LSReconsPtsData& other);

 protected:
  std::vector<LSReconsSinglePtData> points;
  std::vector<float> distances;  ///< One per point, or none.
};
