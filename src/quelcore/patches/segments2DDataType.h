// Segment numbers of the positions of an image.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "quelcore/QuelCoreApi.h"

/// A table of rows of segment numbers, 0 being no segment, and the sizes of the segments. It owns the rows and is not
/// copied.
class QUELCORE_API segments2DDataType {
 public:
  segments2DDataType() = default;

  /// As `init`, whose result is lost.
  segments2DDataType(int rows, int columns);

  segments2DDataType(const segments2DDataType&) = delete;
  segments2DDataType& operator=(const segments2DDataType&) = delete;
  virtual ~segments2DDataType();

  /// Makes the table, zero-filled. False, with nothing changed, when there is one already and for a negative size;
  /// false when memory is exhausted: the rows made so far stay, the others are null.
  bool init(int rows, int columns);

  /// Empties the list of sizes and zeroes the table, which keeps its own size; nothing without a table.
  void cleanData();

  /// The table: one pointer per row; null before `init`.
  unsigned short** getPt2DySegmentsIds() { return segmentIds; }

  /// Number of segments: that of the sizes, less 1 for the first, which belongs to no segment.
  ///
  /// Required: the largest value of its type where there are no sizes.
  std::size_t getSegmentNo() const;

  /// The list of sizes itself.
  std::vector<int>& getSegmentSizes() { return segmentSizes; }

  /// Appends a size.
  void setSegmentSize(int size) { segmentSizes.push_back(size); }

 private:
  std::int32_t rowCount = 0;
  std::int32_t columnCount = 0;
  unsigned short** segmentIds = nullptr;
  std::vector<int> segmentSizes;
};
