#include "quel/clouds/Obj.h"

#include "quel/clouds/clouds_fixture.h"

namespace quel {
namespace {

using ::testing::ElementsAre;

const std::string kMesh =
    "# a mesh\nmtllib part.mtl\no part\nv 0 0 0\nv 1 0 0 1.0\nvn 0 0 1\nvt 0 0\nv 0 -1e-1 +0.5 1 0 0\ng side\ns off\n"
    "usemtl steel\nf 1/1/1 2/1/1 \\\n3/1/1\nl 1 2\n";

TEST(ReadObj, ReadsVerticesAndSkipsTheRest) {
  EXPECT_THAT(pointsOf(kMesh, CloudFormat::Obj), ElementsAre(Vec3{0, 0, 0}, Vec3{1, 0, 0}, Vec3{0, -0.1, 0.5}));
}

TEST(ReadObj, SaysWhatIsWrongAndWhere) {
  EXPECT_EQ(complaint("v 0 0 0\nv 1 2\n", CloudFormat::Obj), "line 2: vertex 1: the line has too few values");
  EXPECT_EQ(complaint("v 0 0 0\nv 1 2 3x\n", CloudFormat::Obj), "line 2: vertex 1: \"3x\" is no number");
  EXPECT_EQ(complaint("v 0 0 0\n\nvertex 1 2 3\n", CloudFormat::Obj), "line 3: \"vertex\" is no statement");
  EXPECT_EQ(complaint("o part\n", CloudFormat::Obj), "has no vertices");
  EXPECT_EQ(complaint("", CloudFormat::Obj), "has no vertices");
}

TEST(ReadObj, SurvivesDamagedBytes) { expectSurvivesDamage(kMesh, CloudFormat::Obj); }

TEST(LooksLikeObj, NeedsAVertexAmongStatements) {
  EXPECT_TRUE(looksLikeObj(kMesh));
  EXPECT_TRUE(looksLikeObj("v 1 2 3\n"));
  EXPECT_FALSE(looksLikeObj("v x y z\n1 2 3 4\n"));
  EXPECT_FALSE(looksLikeObj("g x y z\n1 2 3 4\n"));
  EXPECT_FALSE(looksLikeObj("o part\ng side\n"));
}

}  // namespace
}  // namespace quel
