// A measured patch of surface, and the images that go with it.
#pragma once

#include "quelcore/records/qmIdentity.h"
#include "quelcore/records/qmImage.h"
#include "quelplatform/prim_geom/QmBBox.h"

inline constexpr std::int32_t kMaxSubPatches = 8;

/// One measured patch. The three arrays are parallel and `pointCount` long; each may be null. The patch owns them:
/// `points3D` and `points2D` belong to the point-array calls of qmMath, `pointValues` and the record to the memory
/// calls of qmEnv.
struct qmPatch {
  qmFtrID id;
  std::int32_t attribute;                        ///< Carried along, read by nothing here.
  std::uint8_t subPatchCount;                    ///< At most 8.
  std::uint8_t subPatchTag[kMaxSubPatches];      ///< Handed on to every index bin of the sub-patch.
  std::uint32_t subPatchPoints[kMaxSubPatches];  ///< Points of each sub-patch; they lie one behind the other.
  std::int32_t pointCount;
  double (*points3D)[3];      ///< In the frame that the patch was last transformed to.
  double (*points2D)[2];      ///< Image positions, pixels.
  std::int32_t* pointValues;  ///< One opaque 4-byte value per point.
  std::int32_t scalars[7];    ///< Carried along, read by nothing here.
  void* reserved;             ///< Null; neither copied nor freed.
};

/// The images of a patch, for cameras 0, 1 and 2; any may be null. Not owned.
struct qmPatchImage {
  std::int32_t reserved;
  const tag_qmImage* images[3];
};

/// A run of points of a patch.
struct qmPatchPtsIndex {
  std::uint32_t start = 0;  ///< Index of the run's first point in the patch's arrays.
  std::uint32_t count = 0;  ///< Number of points.
};

/// One bin of a patch's index: a spatially compact run, counted from the first point of the whole patch and never
/// empty. It serves as a run wherever one is asked for.
struct qmPatchBinInfo : qmPatchPtsIndex {
  QmBBox box;                    ///< Exact box of the bin's points.
  std::uint8_t subPatchTag = 0;  ///< Tag of the sub-patch that the bin was made from.
};
