#include "clouds/NumberTable.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <limits>

#include "files/Failure.h"
#include "files/Values.h"
#include "quel/clouds/Cloud.h"
#include "testing/PeakMemory.h"
#include "testing/TempHome.h"

namespace queltool {
namespace {

namespace fs = std::filesystem;
using quel::testing::readFile;
using quel::testing::writeFile;
using ::testing::ElementsAre;

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinite = std::numeric_limits<double>::infinity();

class Tables : public ::testing::Test {
 protected:
  std::string path(const std::string& name) const { return (dir_.path() / name).string(); }

  std::size_t files() const {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(dir_.path()), fs::directory_iterator()));
  }

  quel::testing::TempDir dir_;
};

TEST_F(Tables, AreTextOfTheShortestNumbersThatReadBackTheSame) {
  writeTable({{"a", "b"}, {0.1, -2e300, 5e-324, 100000.0, 1e16, 0.00001, -0.0, kInfinite, 1.0 / 3.0, kNone}},
             OutputFile(path("t.csv")));
  EXPECT_EQ(readFile(path("t.csv")), "a,b\n0.1,-2e+300\n5e-324,100000\n1e+16,1e-05\n-0,inf\n0.3333333333333333,\n");
}

TEST_F(Tables, ArePlyFilesOfDoubles) {
  writeTable({{"x", "y", "z", "w"}, {0.1, -2e300, 3.0, kNone, 4.0, 5e-324, 6.0, 7.0}}, OutputFile(path("t.ply")));
  const auto points = quel::parseCloud(readFile(path("t.ply")), quel::CloudFormat::Ply);
  ASSERT_TRUE(points.ok()) << points.error().message();
  EXPECT_THAT(points.value(), ElementsAre(Vec3{0.1, -2e300, 3.0}, Vec3{4.0, 5e-324, 6.0}));
}

TEST_F(Tables, MayHaveNoRows) {
  writeTable({{"x", "y", "z"}, {}}, OutputFile(path("t.csv")));
  EXPECT_EQ(readFile(path("t.csv")), "x,y,z\n");
}

TEST_F(Tables, LeaveTheOldFileUntilTheyAreWhole) {
  writeFile(path("t.csv"), "old");
  const std::vector<double> row(1000, 1.0 / 3.0);
  {
    TableWriter writer(OutputFile(path("t.csv")), std::vector<std::string>(1000, "a"), 200);
    for (int n = 0; n < 200; ++n) writer.add(row);
    EXPECT_EQ(readFile(path("t.csv")), "old");
  }
  EXPECT_EQ(readFile(path("t.csv")), "old");
  EXPECT_EQ(files(), 1u);
}

TEST_F(Tables, SayWhereTheyCannotBeWritten) {
  EXPECT_THROW(writeTable({{"a"}, {1.0}}, OutputFile(path("none/t.csv"))), Failure);
  EXPECT_THROW(writeTable({{"a"}, {1.0}}, OutputFile(fs::path("/dev/full"))), Failure);
}

TEST_F(Tables, AreNeverInMemoryAsAWhole) {
  for (const char* name : {"t.csv", "t.ply"}) {
    const std::int64_t peak = quel::testing::peakMemoryOf([&] {
      TableWriter writer(OutputFile(path(name)), {"a", "b", "c", "d"}, 1000000);
      for (int n = 0; n < 1000000; ++n) writer.add(std::array{0.1 * n, 1.0 / 3.0, 2.0, 1e-9});
      writer.finish();
    });
    EXPECT_GT(fs::file_size(path(name)), 30000000u);
    EXPECT_LT(peak, 4 << 20) << name;
  }
}

}  // namespace
}  // namespace queltool
