// What AVX2 gives when a loop is written out for it by hand: the mark that the kernels are held against. Every function
// takes whole packs, so that `count` is a multiple of 4.
#pragma once

#include <cstdint>

#include "quelcore/records/qmReconsTensorData.h"

namespace quel::benchmarks {

/// True where this machine runs them.
bool runsAvx2();

/// Points moved and projected into three images, with the lens polynomial of each camera where `withLens`.
void projectByAvx2(const tag_qmReconsTensorData& tensor, const double motion[3][4], const double (*points)[3],
                   std::int64_t count, bool withLens, double (*const pixels[3])[2]);

/// As many bytes as that reads and writes, and nothing else: points are read, and of each what was read is written into
/// three images past the caches. The images' first few and last few pixels stay, so that whole cache lines are written.
void readAndWriteByAvx2(const double (*points)[3], std::int64_t count, double (*const pixels[3])[2]);

/// The six divisions of each point, and nothing else. Returns a sum of the quotients.
double divideByAvx2(std::int64_t count);

/// The transform of single-precision points in place.
void transformByAvx2(const float columns[4][4], float (*points)[4], std::int64_t count);

}  // namespace quel::benchmarks
