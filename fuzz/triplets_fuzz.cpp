// Files of point triplets. Input: a file.
//
// Losses: a file that ends early is filled up with zeros; what stands behind the last triplet goes.
#include <cstring>

#include "fuzz/support/Fuzzing.h"
#include "quelcore/patches/QmCorresPtsTriplets.h"
#include "quelplatform/qmEnv/qmMemoryEmbedded.h"

namespace {

constexpr std::size_t kTripletSize = 24;
constexpr std::size_t kMostWritten = 1 << 16;

/// The file that `input` stands for: its count, and as many triplets.
std::string wholeFile(std::string_view input, std::size_t count) {
  std::string file(input.substr(0, 4 + count * kTripletSize));
  if (input.size() < 4) file.assign(4, '\0');
  file.resize(4 + count * kTripletSize, '\0');
  return file;
}

/// Files that are not there, an object without points, and memory that runs out.
void requireRefusals() {
  QmCorresPtsTriplets none;
  const qmWString nowhere = quelfuzz::pathOf("nowhere/points");
  quelfuzz::require(!none.loadFromFile(nowhere.c_str()) && !none.storeToFile(nowhere.c_str()),
                    "what is no file is none");
  const qmWString path = quelfuzz::pathOf("points");
  quelfuzz::require(none.storeToFile(path.c_str()) && quelfuzz::contentOf("points").size() == 4,
                    "no points are a count");
  quelplatform::failAllocations(0, 1);
  quelfuzz::require(!none.loadFromFile(path.c_str()), "without memory nothing is read");
  quelplatform::stopFailingAllocations();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quelfuzz::atFirst(requireRefusals);
  const std::string_view input = quelfuzz::bytesOf(data, size);
  const qmWString path = quelfuzz::makeFile("points", input);
  QmCorresPtsTriplets triplets;
  {
    const quelfuzz::MemoryWatch watch;
    if (!triplets.loadFromFile(path.c_str())) return 0;
    watch.requireAtMost(quelfuzz::kTimesFile, 0, size + triplets.getNumPoints() * kTripletSize);
  }
  const std::size_t count = triplets.getNumPoints();
  if (count * kTripletSize > kMostWritten) return 0;
  const std::string expected = wholeFile(input, count);
  quelfuzz::require(std::memcmp(triplets.getPoints(), expected.data() + 4, count * kTripletSize) == 0,
                    "the points are those of the file");
  quelfuzz::require(triplets.storeToFile(path.c_str()), "what was read can be written");
  quelfuzz::require(quelfuzz::contentOf("points") == expected, "what was read is written to the byte");
  quelfuzz::require(triplets.loadFromFile(path.c_str()) && triplets.getNumPoints() == count,
                    "what was written can be read over it");
  return 0;
}
