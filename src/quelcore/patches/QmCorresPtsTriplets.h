// Corresponding image points in threes, and their file.
#pragma once

#include <cstdint>

#include "quelcore/QuelCoreApi.h"
#include "quelplatform/qmEnv/qmTypes.h"

/// Triplets of image points: the points of one triplet stand one after the other, six floats, x and y of each. The
/// object owns its array. What it logs bears the name QmCorresPtsTriplets.
class QUELCORE_API QmCorresPtsTriplets {
 public:
  QmCorresPtsTriplets() = default;

  /// Both run `copyPoints`; assigning an object to itself does nothing.
  ///
  /// Required: a source without points is logged as `copyPoints` does it, and leaves the target as it was.
  QmCorresPtsTriplets(const QmCorresPtsTriplets& other);
  QmCorresPtsTriplets& operator=(const QmCorresPtsTriplets& other);
  ~QmCorresPtsTriplets();

  /// Copies `triplets` triplets, which may come from the object's own array. False, with everything as it was, for null
  /// ("NULL pointer" at level 5), for a count of 0 ("Invalid parametes" at level 5), for a negative count and for
  /// exhausted memory (both silent). A copy of fewer triplets keeps the larger array.
  bool copyPoints(const float (*points)[2], int triplets);

  /// Takes over an array of `triplets` triplets, which must come from `qmMallocNoInit`, and frees the one before. The
  /// array that is held already takes the new count.
  void setPoints(float (*points)[2], int triplets);

  /// The array itself, null without one.
  float (*getPoints())[2] { return points; }

  unsigned getNumPoints() const { return static_cast<unsigned>(numPoints); }

  /// Writes the file, little-endian: the count (32 bits, signed), then 24 bytes per triplet. False when it cannot be
  /// opened.
  ///
  /// Required: true whenever it could be opened, even if not everything could be written; the old file then stays.
  bool storeToFile(const qmWChar* path) const;

  /// Reads a file. False, with everything as it was, when it cannot be opened, for a negative count, when memory is
  /// exhausted, and for a count that promises more than 64 MiB beyond what the file holds.
  ///
  /// Required: true for a file that ends early. A count that is not whole is 0; triplets that are missing stay as the
  /// array held them, and are zero in a new array. Leaves a problem (base/QmProblem.h), for such a file too.
  bool loadFromFile(const qmWChar* path);

 protected:
  /// Frees the array.
  void clear();

 private:
  QUELCORE_LOCAL bool makeRoom(std::int32_t triplets, float (*&room)[2]) const;
  QUELCORE_LOCAL void adopt(float (*array)[2], std::int32_t triplets);

  std::int32_t numPoints = 0;
  float (*points)[2] = nullptr;
};
