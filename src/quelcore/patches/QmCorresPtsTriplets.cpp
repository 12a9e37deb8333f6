#include "quelcore/patches/QmCorresPtsTriplets.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "quelcore/base/File.h"
#include "quelcore/base/MemoryBlock.h"
#include "quelcore/base/ModuleLog.h"
#include "quelcore/base/problems.h"

using quelcore::ProblemText;
using quelcore::refuse;
using quelcore::refuseUnreadable;

namespace {

constexpr quelcore::ModuleLog kLog{"QmCorresPtsTriplets"};

constexpr std::size_t kPointsOfTriplet = 3;
constexpr std::size_t kTripletSize = kPointsOfTriplet * sizeof(float[2]);

/// As many bytes as a damaged count may promise beyond what is in the file.
constexpr std::uint64_t kMostMissing = std::uint64_t{64} << 20;

std::size_t sizeOf(std::int32_t triplets) { return static_cast<std::size_t>(std::max(triplets, 0)) * kTripletSize; }

/// Bytes from here to the end of a file; 0 where that cannot be told.
std::uint64_t bytesLeft(std::FILE* file) {
  const long here = std::ftell(file);
  if (here < 0 || std::fseek(file, 0, SEEK_END) != 0) return 0;
  const long end = std::ftell(file);
  if (std::fseek(file, here, SEEK_SET) != 0 || end < here) return 0;
  return static_cast<std::uint64_t>(end - here);
}

/// The count that a file begins with, 0 where it is not whole.
std::int32_t readCount(std::FILE* file) {
  std::int32_t count = 0;
  const std::size_t size = std::fread(&count, 1, sizeof(count), file);
  if (size == sizeof(count)) return count;
  refuse({.offset = static_cast<std::int64_t>(size)}, "number of triplets", "the end of the file", "4 bytes");
  return 0;
}

/// Whether a file that goes on for `left` bytes behind its count may be meant.
bool isPossible(std::int32_t count, std::uint64_t left) {
  const auto cited = ProblemText::printed("%d", count);
  if (count < 0) return refuse({.offset = 0}, "number of triplets", cited, "no negative number");
  if (sizeOf(count) <= left + kMostMissing) return true;
  return refuse({.offset = 0}, "number of triplets", cited,
                ProblemText::printed("at most the %llu that the file has room for",
                                     static_cast<unsigned long long>(left / kTripletSize)));
}

/// A file that ends early is no failure, but what it lacks is told.
void noteMissing(std::int32_t count, std::size_t size) {
  if (size == sizeOf(count)) return;
  refuse({.offset = static_cast<std::int64_t>(sizeof(count) + size)},
         ProblemText::printed("triplet %zu of %d", size / kTripletSize + 1, count), "the end of the file", "24 bytes");
}

}  // namespace

QmCorresPtsTriplets::QmCorresPtsTriplets(const QmCorresPtsTriplets& other) {
  copyPoints(other.points, other.numPoints);
}

QmCorresPtsTriplets& QmCorresPtsTriplets::operator=(const QmCorresPtsTriplets& other) {
  if (this != &other) copyPoints(other.points, other.numPoints);
  return *this;
}

QmCorresPtsTriplets::~QmCorresPtsTriplets() { clear(); }

void QmCorresPtsTriplets::clear() {
  quelcore::freeMemory(points);
  numPoints = 0;
}

/// The array that is to hold `triplets`: the one at hand, unless it is smaller or there is none; then a new one,
/// zeroed.
bool QmCorresPtsTriplets::makeRoom(std::int32_t triplets, float (*&room)[2]) const {
  room = points;
  if (points != nullptr && numPoints >= triplets) return true;
  room = quelcore::MemoryBlock<float[2]>::zeroed(kPointsOfTriplet * static_cast<std::size_t>(triplets)).release();
  return room != nullptr;
}

/// Makes `array` the one that is held, and frees another.
void QmCorresPtsTriplets::adopt(float (*array)[2], std::int32_t triplets) {
  if (array != points) clear();
  points = array;
  numPoints = triplets;
}

bool QmCorresPtsTriplets::copyPoints(const float (*source)[2], int triplets) {
  if (source == nullptr) {
    kLog.write(quelcore::kLogError, "NULL pointer");
    return false;
  }
  if (triplets == 0) {
    kLog.write(quelcore::kLogError, "Invalid parametes");
    return false;
  }
  float(*room)[2] = nullptr;
  if (triplets < 0 || !makeRoom(triplets, room)) return false;
  std::memmove(room, source, sizeOf(triplets));
  adopt(room, triplets);
  return true;
}

void QmCorresPtsTriplets::setPoints(float (*array)[2], int triplets) { adopt(array, triplets); }

bool QmCorresPtsTriplets::storeToFile(const qmWChar* path) const {
  const quelcore::File file(path, u"wb");
  if (!file.isOpen()) return false;
  const std::int32_t count = points == nullptr ? 0 : std::max(numPoints, 0);
  if (std::fwrite(&count, sizeof(count), 1, file.get()) == 1 && count > 0) {
    static_cast<void>(std::fwrite(points, kTripletSize, static_cast<std::size_t>(count), file.get()));
  }
  return true;
}

bool QmCorresPtsTriplets::loadFromFile(const qmWChar* path) {
  quelcore::beginReading(path);
  const quelcore::File file(path, u"rb");
  if (!file.isOpen()) return refuseUnreadable(errno);
  const std::int32_t count = readCount(file.get());
  if (!isPossible(count, bytesLeft(file.get()))) return false;
  float(*room)[2] = nullptr;
  if (!makeRoom(count, room)) return quelcore::refuseForMemory();
  noteMissing(count, std::fread(room, 1, sizeOf(count), file.get()));
  adopt(room, count);
  return true;
}
