#include "quelcore/patches/SuspiciousPtsData.h"

#include <algorithm>
#include <new>

#include "quelcore/patches/parallelLists.h"

SuspiciousPtsData::SuspiciousPtsData(std::size_t segmentCount) { init(segmentCount); }

void SuspiciousPtsData::init(std::size_t segmentCount) {
  clear();
  if (segmentCount >= segments.max_size()) throw std::bad_alloc();
  segments.resize(segmentCount + 1);
}

void SuspiciousPtsData::clear() { std::vector<std::vector<int>>().swap(segments); }

void SuspiciousPtsData::addIndex(unsigned entry, int index) {
  if (entry < segments.size()) segments[entry].push_back(index);
}

int SuspiciousPtsData::getNumSegments() const { return static_cast<int>(segments.size()) - 1; }

int SuspiciousPtsData::numberOfSegments() const { return static_cast<int>(segments.size()); }

std::vector<int>& SuspiciousPtsData::getSegment(unsigned entry) {
  static std::vector<int> none;
  if (entry < segments.size()) return segments[entry];
  if (!none.empty()) none.clear();  // Somebody wrote to it all the same.
  return none;
}

void SuspiciousPtsData::unify(const SuspiciousPtsData& other, std::size_t offset) {
  const std::size_t entries = std::min(segments.size(), other.segments.size());
  for (std::size_t s = 1; s < entries; ++s) {
    const std::vector<int>& from = other.segments[s];
    std::vector<int>& to = segments[s];
    const std::size_t count = from.size();
    quelcore::makeRoomFor(count, to);  // `from` may be `to`, which grows below.
    for (std::size_t n = 0; n < count; ++n) to.push_back(static_cast<int>(static_cast<std::size_t>(from[n]) + offset));
  }
}
