#include "quel/clouds/Off.h"

#include "quel/clouds/clouds_fixture.h"

namespace quel {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

const std::string kMesh = "OFF\n# counts\n3 1 0\n\n0 0 0\n1 0 0 # first\n0 1e0 0.5\n3 0 1 2\n";

TEST(ReadOff, ReadsVertices) {
  EXPECT_THAT(pointsOf(kMesh, CloudFormat::Off), ElementsAre(Vec3{0, 0, 0}, Vec3{1, 0, 0}, Vec3{0, 1, 0.5}));
}

TEST(ReadOff, ReadsCountsBehindTheFirstWordAndVerticesWithColours) {
  EXPECT_THAT(pointsOf("COFF 2 0 0\n1 2 3 255 0 0 255\n4 5 6 0 0 0 0\n", CloudFormat::Off),
              ElementsAre(Vec3{1, 2, 3}, Vec3{4, 5, 6}));
  EXPECT_EQ(pointsOf("STCNOFF\n1 0\n1 2 3 0 0 1\n", CloudFormat::Off).size(), 1u);
}

TEST(ReadOff, SaysWhatIsWrongAndWhere) {
  EXPECT_THAT(complaint("OF\n", CloudFormat::Off), HasSubstr("line 1: the first line must begin with \"OFF\""));
  EXPECT_THAT(complaint("4OFF\n1 0 0\n1 2 3 4\n", CloudFormat::Off), HasSubstr("line 1: vertices of other than three"));
  EXPECT_THAT(complaint("OFF BINARY\n", CloudFormat::Off), HasSubstr("line 1: the binary form is not read"));
  EXPECT_THAT(complaint("OFF\n1.5 0 0\n", CloudFormat::Off), HasSubstr("line 2: \"1.5\" is no count of vertices"));
  EXPECT_THAT(complaint("OFF\n1\n1 2 3\n", CloudFormat::Off), HasSubstr("is no count of faces"));
  EXPECT_THAT(complaint("OFF\n", CloudFormat::Off), HasSubstr("line 1: the file ends behind it, without counts"));
  EXPECT_EQ(complaint("OFF\n2 0 0\n1 2 3\n4 5 six\n", CloudFormat::Off), "line 4: vertex 1 of 2: \"six\" is no number");
  EXPECT_EQ(complaint("OFF\n2 0 0\n1 2 3\n#        \n", CloudFormat::Off),
            "line 4: vertex 1 of 2: the file ends in front of it");
}

TEST(ReadOff, RefusesCountsThatTheFileCannotHold) {
  EXPECT_THAT(complaint("OFF\n18446744073709551615 0 0\n1 2 3\n", CloudFormat::Off),
              HasSubstr("line 2: tells of 18446744073709551615 vertices, more than the file can hold"));
}

TEST(ReadOff, RefusesMoreVerticesThanItTellsOf) {
  EXPECT_EQ(complaint("OFF\n2 0 0\n1 2 3\n4 5 6\n7 8 9\n", CloudFormat::Off),
            "line 5: stands behind the 2 vertices that the file tells of");
  EXPECT_EQ(pointsOf("OFF\n1 0 0\n1 2 3\n\n# the end\n", CloudFormat::Off).size(), 1u);
}

TEST(ReadOff, RefusesEveryTruncation) {
  const std::string mesh = "OFF\n2 0 0\n1 2 3\n4 5 6";
  expectRefusedWhenCut(mesh, CloudFormat::Off, mesh.size());
}

TEST(ReadOff, SurvivesDamagedBytes) { expectSurvivesDamage(kMesh, CloudFormat::Off); }

TEST(LooksLikeOff, KnowsItsFirstWordAlone) {
  EXPECT_TRUE(looksLikeOff("# comment\nOFF\n"));
  EXPECT_TRUE(looksLikeOff("STCN4nOFF\n"));
  EXPECT_FALSE(looksLikeOff("KICKOFF\n1 2 3\n"));
}

}  // namespace
}  // namespace quel
