#include "clouds/Points.h"

#include <gmock/gmock.h>

#include <cstring>

#include "files/Failure.h"
#include "quel/clouds/Cloud.h"
#include "testing/PeakMemory.h"
#include "testing/TempHome.h"

namespace queltool {
namespace {

using quel::testing::writeFile;
using ::testing::ElementsAre;

std::string bytesOf(double value) {
  std::string result(sizeof value, '\0');
  std::memcpy(result.data(), &value, sizeof value);
  return result;
}

TEST(CloudFormats, AreThoseOfTheLibraryInItsOrder) {
  ASSERT_EQ(cloudFormats().size(), quel::cloudFormats().size());
  for (std::size_t i = 0; i < cloudFormats().size(); ++i) {
    EXPECT_STREQ(nameOf(cloudFormats()[i]), quel::nameOf(quel::cloudFormats()[i]));
  }
}

TEST(ReadPoints, NamesTheFileThePlaceAndWhatBelongsThere) {
  const quel::testing::TempDir folder;
  const std::string file = (folder.path() / "cloud.off").string();
  writeFile(file, "OFF\n1 0 0\n1.5 2.5\n");
  try {
    readPoints({file});
    ADD_FAILURE() << "accepted";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.what(), file + ": line 3: vertex 0 of 1: the line has too few values");
  }
}

// Half a million points of each kind, which are 12 MB: what is read beside them is a buffer.
TEST(ReadPoints, HoldsLittleMoreThanThePoints) {
  constexpr std::size_t kCount = 500000;
  const quel::testing::TempDir folder;
  const std::string ply = (folder.path() / "cloud.ply").string(), text = (folder.path() / "cloud.txt").string();
  std::string rows, lines;
  for (std::size_t i = 0; i < kCount; ++i) {
    const double x = 0.001 * static_cast<double>(i);
    rows += bytesOf(x) + bytesOf(2.5) + bytesOf(3.5);
    lines += std::to_string(x) + " 2.5 3.5\n";
  }
  writeFile(ply, "ply\nformat binary_little_endian 1.0\nelement vertex " + std::to_string(kCount) +
                     "\nproperty double x\nproperty double y\nproperty double z\nend_header\n" + rows);
  writeFile(text, lines);
  for (const std::string& file : {ply, text}) {
    const std::int64_t peak = quel::testing::peakMemoryOf([&] {
      if (readPoints({file}).size() != kCount) std::abort();
    });
    EXPECT_GT(peak, 0) << file;
    EXPECT_LT(peak, static_cast<std::int64_t>(1.3 * kCount * sizeof(Vec3))) << file;
  }
}

}  // namespace
}  // namespace queltool
