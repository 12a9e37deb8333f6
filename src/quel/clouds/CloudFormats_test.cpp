#include "quel/clouds/CloudFormats.h"

#include "quel/clouds/clouds_fixture.h"

namespace quel {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

const std::string kPly =
    "ply\nformat ascii 1.0\nelement vertex 1\nproperty int x\nproperty int y\nproperty int z\n"
    "end_header\n1 2 3\n";
const std::string kPcd = "# .PCD v.7\nVERSION .7\nFIELDS x y z\nSIZE 4 4 4\nTYPE F F F\nPOINTS 1\nDATA ascii\n1 2 3\n";
const std::string kStl =
    "solid a\nfacet\nouter\nvertex 1 2 3\nvertex 1 2 3\nvertex 1 2 3\nendloop\nendfacet\nendsolid\n";
const std::string kOff = "OFF\n1 0 0\n1 2 3\n";

struct File {
  const char* format;
  std::string content;
};
const File kFiles[] = {{"ply", kPly},
                       {"pcd", kPcd},
                       {"stl", kStl},
                       {"obj", "v 1 2 3\n"},
                       {"off", kOff},
                       {"pts", "1\n1 2 3\n"},
                       {"csv", "x,y,z\n1,2,3\n"},
                       {"csv", "1 2 3\n"}};

TEST(FormatOfCloud, GoesByContentWhateverTheEnding) {
  for (const File& file : kFiles) {
    for (const char* ending : {"", ".ply", ".txt", ".stl", ".e57", ".xyz"}) {
      const bool hasNames = file.content.front() == 'x';
      if (hasNames && *ending != '\0' && std::string(".ply.stl").find(ending) != std::string::npos) continue;
      EXPECT_EQ(formatOf(file.content, ending), file.format) << ending;
    }
  }
}

TEST(UnitsOfClouds, AreWhatTheCallerSaysWhereTheContentTellsNone) {
  for (const File& file : kFiles) {
    const auto format = cloudFormatOf(file.content, file.content.size());
    ASSERT_TRUE(format);
    EXPECT_EQ(parseCloud(file.content, *format, {}, 25.4).value().front(), (Vec3{25.4, 2 * 25.4, 3 * 25.4}));
  }
}

TEST(UnitsOfClouds, AreThoseOfTheNamesWhereTheseTellThem) {
  const auto points = parseCloud("x_mm,y_cm,z\n1,2,3\n", CloudFormat::Csv, {}, 1000.0);
  EXPECT_EQ(points.value().front(), (Vec3{1.0, 20.0, 3000.0}));
}

TEST(FormatOfCloud, GoesByTheEndingWhereTheContentTellsNothing) {
  EXPECT_EQ(formatOf("plx\n", ".ply"), "ply");
  EXPECT_EQ(formatOf(std::string(100, '\0'), ".stl"), "stl");
  EXPECT_EQ(formatOf("o part\n", ".obj"), "obj");
  EXPECT_EQ(formatOf("two\n1 2 3\n", ".pts"), "pts");
}

TEST(FormatOfCloud, TellsTheNamesOfFormatsThatAreNotRead) {
  EXPECT_THAT(formatOf("ASTM-E57\x01\x02", ".e57"),
              AllOf(StartsWith("is an E57 file, which is not read; convert it to PLY"),
                    EndsWith("known are PLY, PCD, STL, OBJ, OFF, PTS, XYZ and text with x, y and z in each line")));
  EXPECT_THAT(formatOf("LASF\x01"), HasSubstr("is a LAS or LAZ file"));
  EXPECT_THAT(formatOf("glTF\x02"), HasSubstr("is a glTF file"));
  EXPECT_THAT(formatOf("PK\x03\x04zip"), HasSubstr("is a ZIP archive"));
  EXPECT_THAT(formatOf("\x1F\x8B\x08"), HasSubstr("is packed by gzip"));
  EXPECT_THAT(formatOf("#VRML V2.0 utf8\n"), HasSubstr("is a VRML file"));
  EXPECT_THAT(formatOf("ISO-10303-21;\n"), HasSubstr("is a STEP file"));
  EXPECT_THAT(formatOf("<?xml version=\"1.0\"?>"), HasSubstr("is an XML file"));
}

TEST(FormatOfCloud, RefusesWhatIsNeitherKnownNorText) {
  EXPECT_THAT(formatOf(std::string("\x7F"
                                   "ELF\x02\x01\x01\0",
                                   8)),
              AllOf(StartsWith("is no cloud that is known"), HasSubstr("PLY, PCD, STL")));
}

}  // namespace
}  // namespace quel
