// Points under suspicion, by segment.
#pragma once

#include <cstddef>
#include <vector>

#include "quelcore/QuelCoreApi.h"

/// Lists of point numbers, one per segment. Segments are numbered from 1: entry 0 exists and is not a segment.
class QUELCORE_API SuspiciousPtsData {
 public:
  SuspiciousPtsData() = default;

  /// As `init`.
  explicit SuspiciousPtsData(std::size_t segmentCount);

  /// Drops everything and makes `segmentCount` + 1 empty entries. Throws nothing but std::bad_alloc.
  void init(std::size_t segmentCount);

  /// Drops all entries; their memory goes back.
  void clear();

  /// Appends `index` to an entry; nothing for an entry that is not there.
  void addIndex(unsigned entry, int index);

  /// Number of segments: n after `init(n)`, -1 without any entry.
  int getNumSegments() const;

  /// Required: number of entries, which is one more than `getNumSegments` tells.
  int numberOfSegments() const;

  /// The entry; for one that is not there, an empty list that all of these share and that must not be written to.
  std::vector<int>& getSegment(unsigned entry);

  /// Appends to each entry from 1 on what `other` holds there, raised by `offset`: the numbers of points that come to
  /// stand behind `offset` others. Entry 0 takes no part; where `other` has fewer entries, the rest stays as it is.
  void unify(const SuspiciousPtsData& other, std::size_t offset);

 private:
  std::vector<std::vector<int>> segments;
};
