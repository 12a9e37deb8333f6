#include "quel/clouds/Stl.h"

#include "quel/clouds/clouds_fixture.h"

namespace quel {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr const char* kFacet =
    "  facet normal 0 0 1\n    outer loop\n      vertex 0 0 0\n      vertex 1 0 0\n"
    "      vertex 0 1e0 0.5\n    endloop\n  endfacet\n";

std::string facetOf(const std::vector<std::array<float, 3>>& corners) {
  std::string facet(12, 'n');
  for (const auto& corner : corners) {
    for (const float value : corner) facet += bytesOf(value);
  }
  return facet + std::string(2, '\0');
}

std::string binary(const std::vector<std::string>& facets, std::string title = "made by hand") {
  title.resize(80);
  std::string file = title + bytesOf(static_cast<std::uint32_t>(facets.size()));
  for (const std::string& facet : facets) file += facet;
  return file;
}

const std::string kTwo =
    binary({facetOf({{0, 0, 0}, {1, 0, 0}, {0, 1, 0.5}}), facetOf({{0, 1, 0.5}, {1, 0, 0}, {1, 1, 2}})});

TEST(ReadStl, ReadsTextWithCornersOnce) {
  const std::string mesh = "solid part\n" + std::string(kFacet) +
                           "facet normal 0 0 0\r\nOUTER LOOP\nVERTEX 1 0 0\nVertex 0 1 0.5\nvertex -0 -0 7\nendloop\n"
                           "endfacet\nendsolid part\n";
  EXPECT_THAT(pointsOf(mesh, CloudFormat::Stl),
              ElementsAre(Vec3{0, 0, 0}, Vec3{1, 0, 0}, Vec3{0, 1, 0.5}, Vec3{0, 0, 7}));
}

TEST(ReadStl, ReadsSeveralSolids) {
  const std::string mesh = "solid a\n" + std::string(kFacet) + "endsolid a\nsolid b\nendsolid\n";
  EXPECT_EQ(pointsOf(mesh, CloudFormat::Stl).size(), 3u);
}

TEST(ReadStl, ReadsBinaryWithCornersOnce) {
  EXPECT_THAT(pointsOf(kTwo, CloudFormat::Stl),
              ElementsAre(Vec3{0, 0, 0}, Vec3{1, 0, 0}, Vec3{0, 1, 0.5}, Vec3{1, 1, 2}));
}

TEST(ReadStl, TakesZeroOfEitherSignForOnePlace) {
  EXPECT_EQ(pointsOf(binary({facetOf({{0, 0, 0}, {-0.0f, 0, -0.0f}, {1, 1, 1}})}), CloudFormat::Stl).size(), 2u);
}

TEST(ReadStl, KeepsAllPlacesOfALargeMesh) {
  std::vector<std::string> facets;
  for (int i = 0; i < 3000; ++i) {
    const auto x = static_cast<float>(i);
    facets.push_back(facetOf({{x, 0, 0}, {x + 1, 0, 0}, {x, 1, 0}}));
  }
  const std::vector<Vec3> points = pointsOf(binary(facets), CloudFormat::Stl);
  EXPECT_EQ(points.size(), 6001u);
  std::vector<Vec3> sorted = points;
  std::sort(sorted.begin(), sorted.end());
  EXPECT_EQ(std::adjacent_find(sorted.begin(), sorted.end()), sorted.end());
}

TEST(ReadStl, SaysWhatIsWrongWithTextAndWhere) {
  const std::string begin = "solid a\n";
  EXPECT_EQ(complaint(begin + "facet normal 0 0 1\nouter loop\nvertex 0 0\n", CloudFormat::Stl),
            "line 4: the line has too few values");
  EXPECT_EQ(complaint(begin + "facet normal 0 0 1\nouter loop\nvertex 0 0 x\n", CloudFormat::Stl),
            "line 4: \"x\" is no number");
  EXPECT_EQ(complaint(begin + "facet\nloop\n", CloudFormat::Stl), "line 3: must be \"outer\", and is \"loop\"");
  EXPECT_EQ(complaint(begin + std::string(kFacet) + "end\n", CloudFormat::Stl),
            "line 9: must be \"facet\" or \"endsolid\", and is \"end\"");
  EXPECT_EQ(complaint(begin + kFacet, CloudFormat::Stl), "line 8: the file ends behind it, without \"endsolid\"");
}

TEST(ReadStl, SaysWhatIsWrongWithBinary) {
  EXPECT_THAT(complaint(kTwo + "x", CloudFormat::Stl),
              HasSubstr("the header tells of 2 triangles, which make 184 bytes, and the file has 185"));
  EXPECT_THAT(complaint(std::string(80, 't') + bytesOf<std::uint32_t>(4000000000u), CloudFormat::Stl),
              HasSubstr("tells of 4000000000 triangles"));
  EXPECT_THAT(complaint("short", CloudFormat::Stl), HasSubstr("must begin with \"solid\" or a title of 80 bytes"));
}

TEST(ReadStl, RefusesEveryTruncation) {
  expectRefusedWhenCut(kTwo, CloudFormat::Stl, kTwo.size());
  const std::string text = "solid\n" + std::string(kFacet) + "endsolid";
  expectRefusedWhenCut(text, CloudFormat::Stl, text.size());
}

TEST(ReadStl, SurvivesDamagedBytes) {
  expectSurvivesDamage(kTwo, CloudFormat::Stl);
  expectSurvivesDamage("solid\n" + std::string(kFacet) + "endsolid", CloudFormat::Stl);
}

TEST(LooksLikeStl, KnowsBinaryThatCallsItselfSolid) {
  const std::string file = binary({facetOf({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}})}, "solid of something");
  EXPECT_TRUE(looksLikeStl(file, file.size()));
  EXPECT_EQ(pointsOf(file, CloudFormat::Stl).size(), 3u);
  EXPECT_FALSE(looksLikeStl(file, file.size() + 1));
}

TEST(LooksLikeStl, TakesNoTextForAMeshBecauseOfItsFirstWord) {
  EXPECT_TRUE(looksLikeStl("solid a\nfacet normal 0 0 1\n", 1000));
  EXPECT_FALSE(looksLikeStl("solid x y\n1 2 3\n", 1000));
}

}  // namespace
}  // namespace quel
