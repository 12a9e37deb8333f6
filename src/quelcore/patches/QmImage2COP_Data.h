// From a pixel to the reconstructed point under it.
#pragma once

#include <cstdint>
#include <vector>

#include "quelcore/QuelCoreApi.h"
#include "quelcore/patches/LSReconsPtsData.h"
#include "quelcore/records/qmReconsTensorData.h"
#include "quelplatform/prim_geom/QmVec2i.h"

/// Reconstructed points with the pixel of each. `convertPixArrayToLIMAGE` turns the list of pixels into an image of
/// point numbers, in which a point is found in one step; pixels are x, the column, and y, the row.
///
/// Required: a copy holds the points and distances of an object that has an image, and neither its pixels nor what its
/// image held, so that it finds no point under any pixel; a copy of an object without an image holds nothing at all.
/// Who needs the look-up on a copy calls `initLimageDim` and fills it again.
class QUELCORE_API QmImage2COP_Data : public LSReconsPtsData {
 public:
  QmImage2COP_Data() = default;

  /// As `initLimageDim`.
  QmImage2COP_Data(int rowNumber, int columnNumber) : columns(columnNumber), rows(rowNumber) {}

  QmImage2COP_Data(const QmImage2COP_Data& other);
  QmImage2COP_Data& operator=(const QmImage2COP_Data& other);
  ~QmImage2COP_Data();

  /// Stores the size of the image, which is made when pixels are converted; one that is there is freed.
  void initLimageDim(int rowNumber, int columnNumber);

  /// Appends a point and its pixel.
  void add3DPtData(const QmVec3& position, bool from3Images, const QmVec2i& pixel);

  /// Makes the image: entry i of the pixels becomes number i at its place, a later one on the same pixel wins, and one
  /// outside the image is left out. Then the list of pixels is emptied. An image that is there is freed. When memory is
  /// exhausted, or the size is negative, there is no image, and the pixels stay.
  void convertPixArrayToLIMAGE();

  /// The position of the point under a pixel, valid until points are added or removed. Null without an image, outside
  /// of it, where no point lies, and where the point is gone. The image holds numbers of points: after
  /// `RemoveSuspiciousPoints` a pixel leads to the point that moved up to its number.
  const QmVec3* getMatch3DPt(int x, int y) const;

  /// The same look-up, with the whole record.
  const LSReconsSinglePtData* getMatch3DPtData(int x, int y) const;

  /// Number of points.
  std::size_t getCopPtsNum() const { return size(); }

  /// Appends all positions, in order.
  void getReconsPts(std::vector<QmVec3>& out) const;

  /// As `getFinal3ImgsPoints`.
  void getReconsPtsFrom3Imgs(std::vector<QmVec3>& out) const { getFinal3ImgsPoints(out); }

  /// Moves all points by `transform` and projects them into the three images, on `numThreads` threads (at most 16):
  /// `pixels[camera][n]` belongs to point n. True when `qmTransAndProjPoints2ImagesMT` is done with them; false for a
  /// null transform or null pixels, unless there are no points, and when memory is exhausted.
  /// Required: a null tensor gives true, with nothing projected.
  bool TransAndProjPoints2ImagesMT(const qmMathTransform* transform, const tag_qmReconsTensorData* tensor,
                                   _ProjectDistortMode mode, int numThreads, double (*const* pixels)[2]) const;

  /// Appends the points, distances and pixels of `other`. The image stays as it is.
  void unify(const QmImage2COP_Data& other);

 private:
  QUELCORE_LOCAL void alloc();
  QUELCORE_LOCAL void freeMemory();
  QUELCORE_LOCAL void freeImage();
  QUELCORE_LOCAL bool isAlloc() const { return indexImage != nullptr; }
  QUELCORE_LOCAL bool checkIndex(int x, int y) const { return x >= 0 && x < columns && y >= 0 && y < rows; }
  QUELCORE_LOCAL std::int32_t getIndex(int x, int y) const { return indexImage[y][x]; }

  std::vector<QmVec2i> pixels;
  std::int32_t** indexImage = nullptr;  ///< Number of the point under each pixel, or -1; null before the conversion.
  std::int32_t columns = 0;
  std::int32_t rows = 0;
};

/// What a tile of an image needs of a feature file. Nothing in this library reads it.
struct QUELCORE_API featureIOneededTileBKM3D {
  std::int64_t words[15] = {};
  std::int32_t numbers[3] = {};
};
