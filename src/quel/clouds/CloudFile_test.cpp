#include <gmock/gmock.h>
#include <sys/stat.h>
#include <cerrno>
#include <cstring>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <thread>

#include "quel/clouds/Cloud.h"
#include "quel/clouds/TextTable.h"
#include "quel/clouds/clouds_fixture.h"
#include "testing/PeakMemory.h"
#include "testing/TempHome.h"

namespace quel {
namespace {

namespace fs = std::filesystem;

using quel::testing::readFile;
using quel::testing::TempHome;
using quel::testing::writeFile;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

class CloudFile : public ::testing::Test {
 protected:
  fs::path path(const std::string& name) const { return home_.path() / name; }
  fs::path file(const std::string& name, const std::string& content) const {
    writeFile(path(name), content);
    return path(name);
  }

  TempHome home_;
};

const std::string kPly =
    "ply\nformat ascii 1.0\nelement vertex 1\nproperty int x\nproperty int y\nproperty int z\nend_header\n1 2 3\n";
const std::string kPcd = "# .PCD v.7\nVERSION .7\nFIELDS x y z\nSIZE 4 4 4\nTYPE F F F\nPOINTS 1\nDATA ascii\n1 2 3\n";
const std::string kStl =
    "solid a\nfacet\nouter\nvertex 1 2 3\nvertex 1 2 3\nvertex 1 2 3\nendloop\nendfacet\nendsolid\n";

TEST_F(CloudFile, IsReadInEveryFormatThroughOneDoor) {
  const std::pair<const char*, std::string> files[] = {{"ply", kPly},
                                                       {"pcd", kPcd},
                                                       {"stl", kStl},
                                                       {"obj", "v 1 2 3\n"},
                                                       {"off", "OFF\n1 0 0\n1 2 3\n"},
                                                       {"pts", "1\n1 2 3\n"},
                                                       {"csv", "x,y,z\n1,2,3\n"},
                                                       {"csv", "1 2 3\n"}};
  for (const auto& [name, content] : files) {
    const fs::path cloud = file("cloud", content);
    const auto points = readCloud(cloud);
    ASSERT_TRUE(points) << name << points.error().message();
    EXPECT_THAT(points.value(), ElementsAre(Vec3{1, 2, 3})) << name;
    EXPECT_STREQ(nameOf(cloudFormatOf(cloud).value()), name);
    EXPECT_STREQ(nameOf(cloudFormatOf(content, content.size()).value()), name);
  }
}

TEST_F(CloudFile, IsRefusedWithFilePlaceAndCause) {
  const fs::path off = file("cloud.off", "OFF\n1 0 0\n1.5 2.5\n");
  const auto damaged = readCloud(off);
  ASSERT_FALSE(damaged);
  EXPECT_EQ(damaged.error().file, off);
  EXPECT_EQ(damaged.error().place, "line 3");
  EXPECT_EQ(damaged.error().cause, "vertex 0 of 1: the line has too few values");
  EXPECT_EQ(readCloud(path("none.ply")).error().cause, "there is no such file");
  EXPECT_EQ(readCloud(home_.path()).error().cause, "is no regular file");
  EXPECT_THAT(readCloud(file("e", "")).error().cause, HasSubstr("holds no points"));
  EXPECT_THAT(readCloud(file("z", "\x1F\x8B\x08")).error().cause, HasSubstr("is packed by gzip"));
  EXPECT_THAT(cloudFormatOf(file("z", "\x1F\x8B\x08")).error().cause, HasSubstr("is packed by gzip"));
  EXPECT_EQ(cloudFormatOf(path("none.ply")).error().file, path("none.ply"));
}

TEST_F(CloudFile, GivesTheColumnsOfATextThatAreChosen) {
  const fs::path text = file("t.csv", "a,b,c,d\n1,2,3,4\n");
  ReadCloudOptions options;
  options.columns.chosen = {"d", "b", "a"};
  EXPECT_THAT(readCloud(text, options).value(), ElementsAre(Vec3{4, 2, 1}));
  options.columns.chosen = {"d", "b"};
  EXPECT_EQ(readCloud(text, options).error().cause, "needs three columns, and columns gives 2");
  EXPECT_EQ(readCloud(file("p.ply", kPly), options).error().cause, "is a PLY file, whose points are x, y, z");
  options.columns = {{"x", "y", "q"}, "--columns"};
  EXPECT_EQ(readCloud(text, options).error().cause,
            "names no column \"x\"; --columns chooses others, by name or by place");
}

TEST_F(CloudFile, IsReadAsTheFormatThatIsSaid) {
  ReadCloudOptions options;
  options.format = CloudFormat::Ply;
  EXPECT_FALSE(readCloud(file("t", "1 2 3\n"), options));
  options.format = CloudFormat::Xyz;
  EXPECT_TRUE(readCloud(file("t", "1 2 3\n"), options));
}

TEST_F(CloudFile, MayBeAPipe) {
  const fs::path pipe = path("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  std::string text;
  for (int n = 0; n < 300'000; ++n) text += "1 2 3\n";
  std::thread writer([&] { std::ofstream(pipe) << text; });
  const auto points = readCloud(pipe);
  writer.join();
  ASSERT_TRUE(points) << points.error().message();
  EXPECT_EQ(points->size(), 300'000U);
}

TEST_F(CloudFile, TellsHowFarItIsRead) {
  std::string text;
  for (int n = 0; n < 500'000; ++n) text += "1 2 3\n";
  ReadCloudOptions options;
  std::vector<std::uint64_t> done;
  options.progress = [&](std::uint64_t read, std::uint64_t size) {
    EXPECT_EQ(size, text.size());
    done.push_back(read);
  };
  ASSERT_TRUE(readCloud(file("t", text), options));
  EXPECT_GT(done.size(), 2U);
  EXPECT_EQ(done.front(), 0U);
  EXPECT_EQ(done.back(), text.size());
  EXPECT_TRUE(std::is_sorted(done.begin(), done.end()));
}

// Half a million points, which are 12 MB: what is read beside them is a buffer.
TEST_F(CloudFile, TakesLittleMoreMemoryThanItsPoints) {
  constexpr std::size_t kCount = 500'000;
  const std::vector<Vec3> points(kCount, Vec3{0.125, 2.5, 3.5});
  for (const char* name : {"cloud.ply", "cloud.csv"}) {
    ASSERT_TRUE(writeCloud(path(name), points));
    const std::int64_t peak = quel::testing::peakMemoryOf([&] {
      if (readCloud(path(name))->size() != kCount) std::abort();
    });
    EXPECT_LT(peak, static_cast<std::int64_t>(1.3 * kCount * sizeof(Vec3))) << name;
  }
}

const std::vector<Vec3> kPoints = {{0.1, -2e300, 3.0}, {4.0, 5e-324, std::nan("")}};

TEST_F(CloudFile, HoldsThePointsThatWereWrittenToTheBit) {
  for (const char* name : {"c.ply", "c.CSV"}) {
    ASSERT_TRUE(writeCloud(path(name), std::span(kPoints).first(1)));
    EXPECT_THAT(readCloud(path(name)).value(), ElementsAre(kPoints[0])) << name;
    ASSERT_TRUE(writeCloud(path(name), kPoints)) << "over a file that is there";
    EXPECT_EQ(readCloud(path(name))->size(), 2U);
  }
  ASSERT_TRUE(writeCloud(path("none.ply"), {}));
  EXPECT_TRUE(readCloud(path("none.ply"))->empty());
}

TEST_F(CloudFile, HoldsColoursAndValuesBesideThePoints) {
  const Colour colours[] = {{1.0, 0.5, -3.0}, {0.0, 2.0, 0.2}};
  const double off[] = {0.25, std::nan("")};
  const CloudExtras extras{{{"off_mm", off}}, colours};
  ASSERT_TRUE(writeCloud(path("c.ply"), kPoints, extras));
  const std::string bytes = readFile(path("c.ply"));
  EXPECT_THAT(bytes, HasSubstr("property uchar blue\nproperty double off_mm\nend_header\n"));
  const std::size_t row = 3 * 8 + 3 + 8;
  const std::string data = bytes.substr(bytes.size() - 2 * row);
  EXPECT_EQ(data.substr(24, 3), std::string("\xFF\x80\x00", 3));
  EXPECT_EQ(data.substr(row + 24, 3), std::string("\x00\xFF\x33", 3));
  EXPECT_EQ(data.substr(27, 8), bytesOf(0.25));
  EXPECT_EQ(readCloud(path("c.ply"))->size(), 2U);
  ASSERT_TRUE(writeCloud(path("c.csv"), kPoints, {{{"off_mm", off}}}));
  EXPECT_EQ(readFile(path("c.csv")), "x,y,z,off_mm\n0.1,-2e+300,3,0.25\n4,5e-324,,\n");
}

TEST_F(CloudFile, IsNotWrittenWithWhatCannotGoAlong) {
  const double one[] = {1.0};
  const double two[] = {1.0, 2.0};
  const Colour colour[] = {{1, 1, 1}};
  const auto why = [&](const char* name, const CloudExtras& extras) {
    const auto done = writeCloud(path(name), kPoints, extras);
    return done ? std::string() : done.error().cause;
  };
  EXPECT_THAT(why("c.obj", {}), HasSubstr("must end in .ply or .csv"));
  EXPECT_EQ(why("c.ply", {{{"v", one}}}), "there are 1 values of v for 2 points");
  EXPECT_EQ(why("c.ply", {{}, colour}), "there are 1 colours for 2 points");
  EXPECT_THAT(why("c.ply", {{{"v", two}, {"v", two}}}), HasSubstr("stands twice"));
  EXPECT_THAT(why("c.ply", {{{"x", two}}}), HasSubstr("stands twice"));
  for (const char* name : {"", "a b", "a\nb", "a,b"}) EXPECT_THAT(why("c.csv", {{{name, two}}}), HasSubstr("no name"));
  EXPECT_THAT(why("a\\b.ply", {}), HasSubstr("no '\\'"));
  EXPECT_TRUE(fs::is_empty(home_.path()) || !fs::exists(path("c.ply")));
}

TEST_F(CloudFile, StaysAsItIsWhereItCannotBeWritten) {
  const auto done = writeCloud(path("none") / "c.ply", kPoints);
  ASSERT_FALSE(done);
  EXPECT_THAT(done.error().message(), HasSubstr("c.ply: cannot be written: "));
  fs::create_directory(path("folder.ply"));
  errno = EPIPE;  // Of an earlier call of somebody else.
  const auto folder = writeCloud(path("folder.ply"), kPoints);
  ASSERT_FALSE(folder);
  EXPECT_THAT(folder.error().message(), Not(HasSubstr(std::strerror(EPIPE))));
  EXPECT_TRUE(fs::is_directory(path("folder.ply")));
}

TEST(TextTable, GivesTheWantedColumnsRowByRow) {
  const TextColumns columns{{"u", "v"}, "two", false, {}};
  EXPECT_THAT(parseTextTable("v;w;u\n1,5;2;3\n4;5;6,5\n", columns).value(), ElementsAre(3, 1.5, 6.5, 4));
  EXPECT_TRUE(parseTextTable("u,v\n", columns)->empty());
  const auto bad = parseTextTable("1 2\n3\n", columns);
  ASSERT_FALSE(bad);
  EXPECT_EQ(bad.error().place, "line 2");
  EXPECT_THAT(bad.error().cause, HasSubstr("must begin with two numbers"));
}

}  // namespace
}  // namespace quel
