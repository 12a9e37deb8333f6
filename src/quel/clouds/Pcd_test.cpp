#include "quel/clouds/Pcd.h"

#include <lzf.h>

#include "quel/clouds/clouds_fixture.h"

namespace quel {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr const char* kXyz =
    "VERSION .7\nFIELDS x y z\nSIZE 4 4 4\nTYPE F F F\nCOUNT 1 1 1\nWIDTH 2\nHEIGHT 1\n"
    "VIEWPOINT 0 0 0 1 0 0 0\nPOINTS 2\n";
// An id in front, a normal of three values, and a coordinate of eight bytes.
constexpr const char* kMixed =
    "# .PCD v0.7 - Point Cloud Data file format\nVERSION 0.7\nFIELDS id z normal y x\n"
    "SIZE 2 8 4 4 1\nTYPE U F F F I\nCOUNT 1 1 3 1 1\nWIDTH 1\nHEIGHT 2\nPOINTS 2\n";

// A file as lzf packs it: two sizes, then the packed bytes.
std::string packed(const std::string& data) {
  std::string out(2 * data.size() + 64, '\0');
  const unsigned size =
      lzf_compress(data.data(), static_cast<unsigned>(data.size()), out.data(), static_cast<unsigned>(out.size()));
  return bytesOf<std::uint32_t>(size) + bytesOf(static_cast<std::uint32_t>(data.size())) + out.substr(0, size);
}

TEST(ReadPcd, ReadsText) {
  EXPECT_THAT(pointsOf(std::string(kXyz) + "DATA ascii\n1 2.5 -3e2\n4 5 6\n", CloudFormat::Pcd),
              ElementsAre(Vec3{1.0, 2.5, -300.0}, Vec3{4.0, 5.0, 6.0}));
  EXPECT_THAT(pointsOf(std::string(kMixed) + "DATA ascii\n7 3 9 9 9 2 1\n8 -3 9 9 9 -2 -1\n", CloudFormat::Pcd),
              ElementsAre(Vec3{1.0, 2.0, 3.0}, Vec3{-1.0, -2.0, -3.0}));
}

TEST(ReadPcd, ReadsPointsThatAreNoNumbers) {
  const std::vector<Vec3> points = pointsOf(std::string(kXyz) + "DATA ascii\nnan nan nan\n4 5 6\n", CloudFormat::Pcd);
  ASSERT_EQ(points.size(), 2u);
  EXPECT_TRUE(std::isnan(points[0][2]));
}

TEST(ReadPcd, ReadsBinary) {
  const std::string row = bytesOf<std::uint16_t>(7) + bytesOf(0.1) + std::string(12, 'n') + bytesOf(2.5f);
  EXPECT_THAT(pointsOf(std::string(kMixed) + "DATA binary\n" + row + "\x01" + row + "\xFF", CloudFormat::Pcd),
              ElementsAre(Vec3{1.0, 2.5, 0.1}, Vec3{-1.0, 2.5, 0.1}));
}

TEST(ReadPcd, ReadsPackedDataOfWhichEachFieldStandsByItself) {
  const std::string fields = bytesOf<std::uint16_t>(7) + bytesOf<std::uint16_t>(8) + bytesOf(0.1) + bytesOf(0.2) +
                             std::string(24, 'n') + bytesOf(2.5f) + bytesOf(3.5f) + "\x01\xFF";
  EXPECT_THAT(pointsOf(std::string(kMixed) + "DATA binary_compressed\n" + packed(fields), CloudFormat::Pcd),
              ElementsAre(Vec3{1.0, 2.5, 0.1}, Vec3{-1.0, 3.5, 0.2}));
}

TEST(ReadPcd, UnpacksBytesAndTheirRepetitions) {
  // Four bytes as they are, then twenty from four bytes before: 1.0 six times.
  const std::string data = std::string("\x03", 1) + bytesOf(1.0f) + std::string("\xE0\x0B\x03", 3);
  const std::string sizes = bytesOf(static_cast<std::uint32_t>(data.size())) + bytesOf<std::uint32_t>(24);
  EXPECT_THAT(pointsOf(std::string(kXyz) + "DATA binary_compressed\n" + sizes + data, CloudFormat::Pcd),
              ElementsAre(Vec3{1.0, 1.0, 1.0}, Vec3{1.0, 1.0, 1.0}));
}

TEST(ReadPcd, CountsPointsByWidthAndHeightWhereTheHeaderDoesNot) {
  const std::string header = "VERSION .6\nCOLUMNS x y z\nSIZE 4 4 4\nTYPE F F F\nWIDTH 1\nHEIGHT 2\n";
  EXPECT_EQ(pointsOf(header + "DATA ascii\n1 2 3\n4 5 6\n", CloudFormat::Pcd).size(), 2u);
}

TEST(ReadPcd, SaysWhatIsWrongWithAHeaderAndWhere) {
  const auto said = [](const std::string& header) {
    return complaint(header + "DATA ascii\n1 2 3\n", CloudFormat::Pcd);
  };
  const std::string xyz = "FIELDS x y z\nSIZE 4 4 4\nTYPE F F F\n";
  EXPECT_THAT(said("FIELDZ x\n"), HasSubstr("line 1: \"FIELDZ\" is no keyword of a header"));
  EXPECT_THAT(said(xyz), HasSubstr("the header tells no count of points"));
  EXPECT_THAT(said(xyz + "WIDTH 3\nHEIGHT 2\nPOINTS 7\n"), HasSubstr("the header tells of 7 points, and of 3 x 2"));
  EXPECT_THAT(said(xyz + "POINTS 1x\n"), HasSubstr("line 4: \"1x\" is no count of points"));
  EXPECT_THAT(said(xyz + "POINTS 99999999999\n"), HasSubstr("99999999999 is no count of points"));
  EXPECT_THAT(said("FIELDS x y\nSIZE 4 4\nTYPE F F\nPOINTS 1\n"), HasSubstr("a point has no property z"));
  EXPECT_THAT(said("FIELDS x y z\nSIZE 4 4\n"), HasSubstr("line 2: must have 3 values, one for each field"));
  EXPECT_THAT(said("FIELDS x\nFIELDS y\n"), HasSubstr("line 2: the fields are named twice"));
  EXPECT_THAT(said("FIELDS x y z\nSIZE 4 4 3\nTYPE F F F\nPOINTS 1\n"),
              HasSubstr("the field \"z\" has type \"F\" of 3 bytes"));
  EXPECT_THAT(said(xyz + "COUNT 1 1 4000000000\nPOINTS 1\n"), HasSubstr("a point has more than 1000 values"));
  EXPECT_THAT(complaint(xyz + "POINTS 1\nDATA packed\n", CloudFormat::Pcd), HasSubstr("\"packed\" is no form of data"));
  EXPECT_THAT(complaint(xyz, CloudFormat::Pcd), HasSubstr("the header ends without \"DATA\""));
}

TEST(ReadPcd, SaysWhatIsWrongWithDataAndWhere) {
  const std::string text = std::string(kXyz) + "DATA ascii\n";
  EXPECT_EQ(complaint(text + "1 2 3\n4 five 6\n", CloudFormat::Pcd), "line 12: point 1 of 2: \"five\" is no number");
  EXPECT_THAT(complaint(text + "1.5 2.5 3.5\n", CloudFormat::Pcd),
              HasSubstr("point 1 of 2: the file ends in its midst"));
  EXPECT_THAT(complaint(text + "1 2 3 4\n5 6 7\n", CloudFormat::Pcd), HasSubstr("too many values"));
  const std::string binary = std::string(kXyz) + "DATA binary\n";
  EXPECT_THAT(complaint(binary + std::string(23, 'x'), CloudFormat::Pcd), HasSubstr("more than the file can hold"));
  const std::string compressed = std::string(kXyz) + "DATA binary_compressed\n";
  EXPECT_THAT(complaint(compressed + packed(std::string(12, 'x')), CloudFormat::Pcd),
              HasSubstr("the packed data are 12 bytes, and 2 points make 24"));
  std::string damaged = packed(std::string(24, 'x'));
  damaged[8] = '\x1F';  // As many bytes as they are as there are not.
  EXPECT_EQ(complaint(compressed + damaged, CloudFormat::Pcd), "the packed data are damaged");
}

TEST(ReadPcd, RefusesCountsThatTheFileCannotHoldBeforeItAllocates) {
  const std::string many = "FIELDS x y z\nSIZE 4 4 4\nTYPE F F F\nPOINTS 300000000\n";
  for (const char* form : {"ascii", "binary"}) {
    EXPECT_THAT(complaint(many + "DATA " + form + "\n1 2 3\n", CloudFormat::Pcd),
                HasSubstr("more than the file can hold"));
  }
  EXPECT_THAT(complaint(many + "DATA binary_compressed\n" + bytesOf<std::uint32_t>(4) +
                            bytesOf<std::uint32_t>(3600000000u) + "1234",
                        CloudFormat::Pcd),
              HasSubstr("300000000 points in 4 packed bytes, more than the file can hold"));
}

TEST(ReadPcd, RefusesEveryTruncation) {
  const std::string text = std::string(kXyz) + "DATA ascii\n1 2 3\n4 5 6";
  expectRefusedWhenCut(text, CloudFormat::Pcd, text.size());
  const std::string binary = std::string(kXyz) + "DATA binary\n" + std::string(24, 'x');
  expectRefusedWhenCut(binary, CloudFormat::Pcd, binary.size());
  const std::string compressed = std::string(kXyz) + "DATA binary_compressed\n" + packed(std::string(24, 'x'));
  expectRefusedWhenCut(compressed, CloudFormat::Pcd, compressed.size());
}

TEST(ReadPcd, SurvivesDamagedBytes) {
  expectSurvivesDamage(std::string(kXyz) + "DATA ascii\n1 2 3\n4 5 6", CloudFormat::Pcd);
  expectSurvivesDamage(std::string(kXyz) + "DATA binary\n" + std::string(24, 'x'), CloudFormat::Pcd);
  expectSurvivesDamage(std::string(kXyz) + "DATA binary_compressed\n" + packed(std::string(24, 'x')), CloudFormat::Pcd,
                       90);
}

TEST(LooksLikePcd, KnowsTheMarkOrTheFirstLines) {
  EXPECT_TRUE(looksLikePcd("# .PCD v.7 - Point Cloud Data file format\n"));
  EXPECT_TRUE(looksLikePcd("# by hand\nVERSION .5\n"));
  EXPECT_TRUE(looksLikePcd("FIELDS x y z\nSIZE 4 4 4\n"));
  EXPECT_FALSE(looksLikePcd("VERSION x y z\n1 2 3 4\n"));
  EXPECT_FALSE(looksLikePcd("FIELDS x y z\n1 2 3 4\n"));
}

}  // namespace
}  // namespace quel
