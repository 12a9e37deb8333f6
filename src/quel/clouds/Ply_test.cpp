#include "quel/clouds/Ply.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "quel/clouds/Cloud.h"
#include "testing/Numbers.h"

namespace quel {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

std::string complaint(const std::string& content) {
  const auto points = parsePly(content);
  return points ? "accepted" : points.error().message();
}

// `value` as it lies in a file of that byte order.
template <typename T>
std::string bytes(T value, bool big) {
  std::string result(sizeof(T), '\0');
  std::memcpy(result.data(), &value, sizeof(T));
  if (big) std::reverse(result.begin(), result.end());
  return result;
}

std::string header(const std::string& format, const std::string& elements) {
  return "ply\nformat " + format + " 1.0\n" + elements + "end_header\n";
}

constexpr const char* kXyz = "element vertex 2\nproperty float x\nproperty float y\nproperty float z\n";

std::string fileOf(const std::vector<std::string>& names, const std::vector<double>& rows) {
  std::string file = plyHeader(names, rows.size() / names.size());
  for (const double value : rows) file += bytes(value, false);
  return file;
}

TEST(ParsePly, ReadsText) {
  const auto points = parsePly(header("ascii", kXyz) + "1 2.5 -3e2\n+4 5 6");
  ASSERT_TRUE(points.ok()) << points.error().message();
  EXPECT_THAT(points.value(), ElementsAre(Vec3{1.0, 2.5, -300.0}, Vec3{4.0, 5.0, 6.0}));
}

TEST(ParsePly, ReadsTextWithCarriageReturnsBlankLinesAndComments) {
  const auto points = parsePly(
      "ply\r\nformat ascii 1.0\r\ncomment by hand\r\nobj_info x\r\nelement vertex 2\r\nproperty float x\r\n"
      "property float y\r\nproperty float z\r\nend_header\r\n\r\n1 2 3\r\n\r\n4\t5 6\r\n");
  ASSERT_TRUE(points.ok()) << points.error().message();
  EXPECT_THAT(points.value(), ElementsAre(Vec3{1.0, 2.0, 3.0}, Vec3{4.0, 5.0, 6.0}));
}

TEST(ParsePly, ReadsBothByteOrdersAndEveryType) {
  for (const bool big : {false, true}) {
    const std::string content =
        header(big ? "binary_big_endian" : "binary_little_endian",
               "element vertex 1\nproperty char a\nproperty uchar b\nproperty int16 c\nproperty ushort d\n"
               "property double y\nproperty int z\nproperty uint32 e\nproperty float x\n") +
        bytes<std::int8_t>(-1, big) + bytes<std::uint8_t>(2, big) + bytes<std::int16_t>(-3, big) +
        bytes<std::uint16_t>(4, big) + bytes(0.1, big) + bytes<std::int32_t>(-70000, big) +
        bytes<std::uint32_t>(5, big) + bytes(0.5f, big);
    const auto points = parsePly(content);
    ASSERT_TRUE(points.ok()) << points.error().message();
    EXPECT_THAT(points.value(), ElementsAre(Vec3{0.5, 0.1, -70000.0}));
  }
}

TEST(ParsePly, SkipsListsOtherPropertiesAndOtherElements) {
  const std::string elements =
      "element face 2\nproperty list uchar int vertex_indices\nproperty float area\n"
      "element vertex 1\nproperty double z\nproperty list int double extra\nproperty double y\nproperty double x\n"
      "element edge 9\nproperty int a\n";
  const auto text = parsePly(header("ascii", elements) + "3 0 1 2 0.5\n0 0.5\n3 2 9 9 2 1\n");
  ASSERT_TRUE(text.ok()) << text.error().message();
  EXPECT_THAT(text.value(), ElementsAre(Vec3{1.0, 2.0, 3.0}));

  const std::string list = bytes<std::uint8_t>(1, false) + bytes<std::int32_t>(7, false) + bytes(0.5f, false);
  const auto binary = parsePly(header("binary_little_endian", elements) + list + list + bytes(3.0, false) +
                               bytes<std::int32_t>(2, false) + bytes(9.0, false) + bytes(9.0, false) +
                               bytes(2.0, false) + bytes(1.0, false));
  ASSERT_TRUE(binary.ok()) << binary.error().message();
  EXPECT_THAT(binary.value(), ElementsAre(Vec3{1.0, 2.0, 3.0}));
}

TEST(ParsePly, ReadsAFileWithoutVertices) {
  const auto points = parsePly(header("ascii", "element vertex 0\nproperty int x\nproperty int y\nproperty int z\n"));
  ASSERT_TRUE(points.ok()) << points.error().message();
  EXPECT_TRUE(points.value().empty());
}

TEST(ParsePly, RefusesEveryTruncation) {
  const std::string binary = header("binary_little_endian", kXyz) + std::string(24, 'x');
  ASSERT_TRUE(parsePly(binary).ok());
  for (std::size_t size = 0; size < binary.size(); ++size) {
    EXPECT_FALSE(parsePly(binary.substr(0, size)).ok()) << size;
  }
  const std::string text = header("ascii", kXyz) + "1 2 3\n4 5 6";
  ASSERT_TRUE(parsePly(text).ok());
  for (std::size_t size = 0; size < text.size(); ++size) EXPECT_FALSE(parsePly(text.substr(0, size)).ok()) << size;
}

TEST(ParsePly, RefusesCountsThatTheFileCannotHoldBeforeItAllocates) {
  const std::string many = "element vertex 2000000000\nproperty float x\nproperty float y\nproperty float z\n";
  EXPECT_THAT(complaint(header("binary_little_endian", many) + std::string(120, '\0')),
              HasSubstr("2000000000 x \"vertex\", more than the file can hold"));
  EXPECT_THAT(complaint(header("ascii", many) + "1 2 3\n"), HasSubstr("more than the file can hold"));
  // Also behind another element that takes the whole text.
  EXPECT_THAT(complaint(header("ascii", "element first 1\nproperty int a\n" + many) + "1"),
              HasSubstr("more than the file can hold"));
  EXPECT_THAT(complaint(header("ascii", "element vertex 99999999999999999999\n")), HasSubstr("is no count"));
  EXPECT_THAT(complaint(header("ascii", "element vertex -1\n")), HasSubstr("is no count"));
}

TEST(ParsePly, RefusesListsThatTheFileCannotHold) {
  const std::string elements = "element f 1\nproperty list int double v\n" + std::string(kXyz);
  for (const std::int32_t count : {-1, 1000000, 2147483647}) {
    EXPECT_NE(complaint(header("binary_little_endian", elements) + bytes(count, false) + std::string(40, '\0')),
              "accepted");
  }
}

TEST(ParsePly, SaysWhatIsWrongWithAHeaderAndWhere) {
  EXPECT_THAT(complaint("plx\n"), HasSubstr("line 1: the first line must be \"ply\""));
  EXPECT_THAT(complaint("ply\nformat binary 1.0\n"), HasSubstr("line 2: \"binary\" is no format"));
  EXPECT_THAT(complaint("ply\nformat ascii 2.0\n"), HasSubstr("version 2.0 is not known"));
  EXPECT_THAT(complaint("ply\nelement vertex 1\n"), HasSubstr("must be \"format\""));
  EXPECT_THAT(complaint(header("ascii", "property float x\n")), HasSubstr("before the first element"));
  EXPECT_THAT(complaint(header("ascii", "element vertex 1\nproperty half x\n")),
              HasSubstr("line 4: \"half\" is no type"));
  EXPECT_THAT(complaint(header("ascii", "element vertex\n")), HasSubstr("a name and a count"));
  EXPECT_THAT(complaint(header("ascii", "element vertex 1\nproperty list float int v\n")), HasSubstr("whole number"));
  EXPECT_THAT(complaint(header("ascii", "element vertex 1\nproperty x\n")), HasSubstr("must be \"property\""));
  EXPECT_THAT(complaint(header("ascii", "vertex 1\n")), HasSubstr("no keyword"));
  EXPECT_THAT(complaint(header("ascii", "element face 0\nproperty int a\n")), HasSubstr("no element \"vertex\""));
  EXPECT_THAT(complaint(header("ascii", "element vertex 1\nproperty int x\nproperty list int int y\nproperty int z\n")),
              HasSubstr("no property y"));
}

TEST(ParsePly, SaysWhatIsWrongWithDataAndWhere) {
  EXPECT_EQ(complaint(header("ascii", kXyz) + "1 2 3\n4 five 6\n"), "line 9: vertex 1 of 2: \"five\" is no number");
  EXPECT_THAT(complaint(header("ascii", kXyz) + "1.5 2.5 3.5\n4.5 5.5\n"),
              AllOf(HasSubstr("line 9"), HasSubstr("too few values")));
  EXPECT_THAT(complaint(header("ascii", kXyz) + "1 2 3 4\n4 5 6\n"), HasSubstr("too many values"));
}

TEST(ParsePly, RefusesMoreVerticesThanTheHeaderTellsOf) {
  const std::string text = header("ascii", kXyz) + "1 2 3\n4 5 6\n";
  EXPECT_EQ(complaint(text + "\n \n"), "accepted");
  EXPECT_EQ(complaint(text + "7 8 9\n"), "line 10: stands behind the 2 x \"vertex\" that the header tells of");
  for (const bool big : {false, true}) {
    std::string binary = header(big ? "binary_big_endian" : "binary_little_endian", kXyz);
    for (const float value : {1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f}) binary += bytes(value, big);
    EXPECT_EQ(complaint(binary + "\n"), "accepted");
    EXPECT_EQ(complaint(binary + std::string(12, 'x')),
              "12 bytes stand behind the 2 x \"vertex\" that the header tells of");
  }
}

TEST(ParsePly, RefusesAPropertyThatStandsTwice) {
  EXPECT_EQ(complaint(header("ascii",
                             "element vertex 1\nproperty float x\nproperty float x\nproperty float y\n"
                             "property float z\n") +
                      "1 2 3 4\n"),
            "a vertex has the property x twice");
}

TEST(ParsePly, SurvivesDamagedBytes) {
  std::mt19937_64 random = quel::testing::testRandom();
  const std::string good =
      header("binary_big_endian", std::string("element f 1\nproperty list uchar short v\n") + kXyz) +
      bytes<std::uint8_t>(2, true) + std::string(28, 'y');
  ASSERT_TRUE(parsePly(good).ok());
  for (int n = 0; n < 20000; ++n) {
    std::string damaged = good;
    for (int k = 0; k < 3; ++k) damaged[random() % damaged.size()] = static_cast<char>(random());
    const auto points = parsePly(damaged);
    EXPECT_TRUE(!points || points.value().size() <= damaged.size());
  }
}

TEST(PlyHeader, TellsWhatReadsBackBitForBit) {
  const std::vector<double> rows = {0.1, -2e300, 3.0, 7.0, 4.0, 5e-324, 6.0, std::nan("")};
  const auto points = parsePly(fileOf({"x", "y", "z", "x0"}, rows));
  ASSERT_TRUE(points.ok()) << points.error().message();
  EXPECT_THAT(points.value(), ElementsAre(Vec3{0.1, -2e300, 3.0}, Vec3{4.0, 5e-324, 6.0}));
}

TEST(PlyHeader, TellsOfNoVertices) {
  const auto points = parsePly(fileOf({"x", "y", "z"}, {}));
  ASSERT_TRUE(points.ok()) << points.error().message();
  EXPECT_THAT(points.value(), ElementsAre());
}

Result<std::vector<Vec3>> textPoints(std::string_view content) { return parseCloud(content, CloudFormat::Xyz); }

TEST(ParseTextPoints, ReadsBlanksCommasSemicolonsCommentsAndAHeadLine) {
  const auto points = textPoints("x,y,z,name\n# comment\n1,2,3,a\n\n  4 5\t6 7\r\n7; 8; 9");
  ASSERT_TRUE(points.ok()) << points.error().message();
  EXPECT_THAT(points.value(), ElementsAre(Vec3{1.0, 2.0, 3.0}, Vec3{4.0, 5.0, 6.0}, Vec3{7.0, 8.0, 9.0}));
}

TEST(ParseTextPoints, NamesTheLineThatHoldsNoPoint) {
  EXPECT_THAT(textPoints("1.5 2.5 3.5\n4.5 5.5\n").error().message(),
              HasSubstr("line 2: must begin with three numbers"));
  EXPECT_THAT(textPoints("1 2 3\n4 5 6x\n").error().message(), HasSubstr("4 5 6x"));
  EXPECT_THAT(textPoints("").error().message(), HasSubstr("holds no points"));
  EXPECT_THAT(textPoints("a b c\n").error().message(), HasSubstr("holds no points"));
}

}  // namespace
}  // namespace quel
