#include "quel/clouds/Surface.h"

#include <filesystem>
#include <fstream>

#include "quel/base/TemporaryFolder.h"
#include "quel/clouds/Faces.h"
#include "quel/clouds/clouds_fixture.h"

namespace quel {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

Surface surfaceOf(const std::string& content, CloudFormat format) {
  const auto surface = parseSurface(content, format);
  EXPECT_TRUE(surface.ok()) << surface.error().message();
  return surface ? surface.value() : Surface{};
}

std::string refusal(const std::string& content, CloudFormat format) {
  const auto surface = parseSurface(content, format);
  return surface ? "accepted" : surface.error().message();
}

std::string asciiFacet(const char* normal, const char* corners = "vertex 0 0 0\nvertex 1 0 0\nvertex 0 1 0\n") {
  return std::string("facet ") + normal + "\nouter loop\n" + corners + "endloop\nendfacet\n";
}

template <typename T>
std::string turned(T value) {
  std::string bytes = bytesOf(value);
  std::reverse(bytes.begin(), bytes.end());
  return bytes;
}

std::string binaryStl(const std::vector<std::array<float, 12>>& facets, std::string title = "") {
  title.resize(80);
  std::string file = title + bytesOf(static_cast<std::uint32_t>(facets.size()));
  for (const auto& facet : facets) {
    for (const float value : facet) file += bytesOf(value);
    file += std::string(2, '\0');
  }
  return file;
}

const std::vector<std::array<float, 12>> kTwoFacets = {{0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0},
                                                       {0, 0, -2, 1, 0, 0, 0, 1, 0, 1, 1, 0}};

constexpr const char* kPlyVertices = "element vertex 4\nproperty float x\nproperty float y\nproperty float z\n";

std::string ply(const std::string& format, const std::string& elements, const std::string& data) {
  return "ply\nformat " + format + " 1.0\n" + elements + "end_header\n" + data;
}

std::string asciiPly(const std::string& faces, std::size_t count = 1) {
  return ply("ascii",
             kPlyVertices + ("element face " + std::to_string(count)) + "\nproperty list uchar int vertex_indices\n",
             "0 0 0\n1 0 0\n1 1 0\n0 1 0\n" + faces);
}

TEST(ReadSurface, ReadsBinaryStlWithItsNormalsAndJoinsCorners) {
  for (const char* title : {"made by hand", "solid as ascii files begin"}) {
    const Surface surface = surfaceOf(binaryStl(kTwoFacets, title), CloudFormat::Stl);
    EXPECT_THAT(surface.vertices, ElementsAre(Vec3{0, 0, 0}, Vec3{1, 0, 0}, Vec3{0, 1, 0}, Vec3{1, 1, 0}));
    EXPECT_THAT(surface.facets, ElementsAre(Facet{0, 1, 2}, Facet{1, 2, 3}));
    EXPECT_THAT(surface.facetNormals, ElementsAre(Vec3{0, 0, 1}, Vec3{0, 0, -2}));
    EXPECT_THAT(surface.vertexNormals, IsEmpty());
  }
}

TEST(ReadSurface, ReadsTheDialectsOfAsciiStl) {
  const std::string upper =
      "SOLID PART\nFACET NORMAL 0 0 1\nOUTER LOOP\nVERTEX 0 0 0\nVERTEX 1 0 0\nVERTEX 0 1 0\nENDLOOP\nENDFACET\n"
      "ENDSOLID PART\n";
  const std::string crlf =
      "solid part\r\n\tfacet\tnormal\t0 0 1\r\n\r\n\touter\tloop\r\n\t\tvertex\t0 0 0\r\n\t\tvertex 1.0e0 0 0\r\n"
      "\t\tvertex 0 +1E+00 0\r\n\r\n\tendloop\r\n\tendfacet\r\n\r\nendsolid\r\n\r\n";
  const std::string nameless = "solid\n" + asciiFacet("normal 0 0 1") + "endsolid";
  const std::string blanks = "\n\n  solid a  \n\n" + asciiFacet("normal 0.0E0  0 1 ") + "\nendsolid a\n\n\n";
  for (const std::string& file : {upper, crlf, nameless, blanks}) {
    const Surface surface = surfaceOf(file, CloudFormat::Stl);
    EXPECT_THAT(surface.vertices, ElementsAre(Vec3{0, 0, 0}, Vec3{1, 0, 0}, Vec3{0, 1, 0})) << file;
    EXPECT_THAT(surface.facets, ElementsAre(Facet{0, 1, 2})) << file;
    EXPECT_THAT(surface.facetNormals, ElementsAre(Vec3{0, 0, 1})) << file;
  }
}

TEST(ReadSurface, JoinsTheSolidsOfAnAsciiStl) {
  const std::string solid = "solid\n" + asciiFacet("normal 0 0 1") + "endsolid\n";
  EXPECT_THAT(surfaceOf(solid + solid, CloudFormat::Stl).facets, ElementsAre(Facet{0, 1, 2}, Facet{0, 1, 2}));
}

TEST(ReadSurface, TakesNormalsOfStlThatAreNoneForZero) {
  for (const char* normal : {"normal", "", "normal 1 0", "normal a b c", "Normal 0 0 0"}) {
    const Surface surface = surfaceOf("solid\n" + asciiFacet(normal) + "endsolid\n", CloudFormat::Stl);
    EXPECT_THAT(surface.facetNormals, ElementsAre(Vec3{0, 0, 0})) << normal;
  }
  const Surface unknown = surfaceOf("solid\n" + asciiFacet("normal nan NaN -nan") + "endsolid\n", CloudFormat::Stl);
  ASSERT_EQ(unknown.facetNormals.size(), 1u);
  EXPECT_TRUE(std::isnan(unknown.facetNormals[0][0]));
}

TEST(ReadSurface, RefusesStlWithoutATriangleOrWithACornerThatIsNoPoint) {
  EXPECT_EQ(refusal("solid\nendsolid\n", CloudFormat::Stl), "holds no points");
  EXPECT_EQ(refusal(binaryStl({}), CloudFormat::Stl), "holds no points");
  auto facets = kTwoFacets;
  facets[1][7] = std::numeric_limits<float>::infinity();
  EXPECT_EQ(refusal(binaryStl(facets), CloudFormat::Stl), "triangle 1 of 2: a corner is no finite point");
  facets[0][3] = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(refusal(binaryStl(facets), CloudFormat::Stl), "triangle 0 of 2: a corner is no finite point");
  EXPECT_TRUE(parseCloud(binaryStl(facets), CloudFormat::Stl).ok());
}

TEST(ReadSurface, RefusesCountsThatTheFileCannotHold) {
  std::string stl(80, ' ');
  stl += bytesOf(std::uint32_t{100'000'000}) + std::string(16, '\0');
  EXPECT_THAT(refusal(stl, CloudFormat::Stl), HasSubstr("tells of 100000000 triangles"));
  EXPECT_THAT(refusal(asciiPly("3 0 1 2\n", 100'000'000), CloudFormat::Ply), HasSubstr("100000000 x \"face\""));
  EXPECT_THAT(refusal(ply("binary_little_endian",
                          "element vertex 0\nproperty float x\nproperty float y\nproperty float "
                          "z\nelement face 1\nproperty list uint int vertex_index\n",
                          bytesOf(100'000'000u) + "abcd"),
                      CloudFormat::Ply),
              StartsWith("face 0 of 1: "));
  EXPECT_THAT(refusal("OFF 3 100000000 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n", CloudFormat::Off),
              StartsWith("line 5: face 1 of 100000000: the file ends"));
}

TEST(ReadSurface, ReadsFacesOfPlyInAscii) {
  const Surface surface = surfaceOf(asciiPly("3 0 1 2\n3 0 2 3\n", 2), CloudFormat::Ply);
  EXPECT_EQ(surface.vertices.size(), 4u);
  EXPECT_THAT(surface.facets, ElementsAre(Facet{0, 1, 2}, Facet{0, 2, 3}));
  EXPECT_THAT(surface.remarks, IsEmpty());
}

TEST(ReadSurface, ReadsFacesOfPlyInBothOrdersOfBytesAndInFrontOfTheVertices) {
  const std::string header =
      "element face 1\nproperty uchar red\nproperty list ushort uint vertex_index\nproperty list uchar float texcoord\n"
      "element vertex 3\nproperty double x\nproperty short y\nproperty float z\n";
  const auto data = [](auto bytes) {
    std::string all = "r" + bytes(std::uint16_t{3}) + bytes(2u) + bytes(0u) + bytes(1u) + "\x01" + bytes(0.5f);
    for (const std::int16_t y : std::initializer_list<std::int16_t>{1, 2, 3}) {
      all += bytes(0.5) + bytes(y) + bytes(-1.0f);
    }
    return all;
  };
  const std::string little = ply("binary_little_endian", header, data([](auto value) { return bytesOf(value); }));
  const std::string big = ply("binary_big_endian", header, data([](auto value) { return turned(value); }));
  for (const std::string& file : {little, big}) {
    const Surface surface = surfaceOf(file, CloudFormat::Ply);
    EXPECT_THAT(surface.vertices, ElementsAre(Vec3{0.5, 1, -1}, Vec3{0.5, 2, -1}, Vec3{0.5, 3, -1}));
    EXPECT_THAT(surface.facets, ElementsAre(Facet{2, 0, 1}));
    for (std::size_t size = 0; size < file.size(); ++size) {
      EXPECT_NE(refusal(file.substr(0, size), CloudFormat::Ply), "accepted") << size;
    }
  }
}

TEST(ReadSurface, RefusesFacesOfPlyThatAreNoneWithTheirPlace) {
  EXPECT_EQ(refusal(asciiPly("3 0 1 4\n"), CloudFormat::Ply),
            "line 14: face 0 of 1: 4 is none of the 4 vertices, which count from 0 on");
  EXPECT_THAT(refusal(asciiPly("3 0 1 -1\n"), CloudFormat::Ply), HasSubstr("face 0 of 1: -1 is none"));
  EXPECT_THAT(refusal(asciiPly("3 0 1 nan\n"), CloudFormat::Ply), HasSubstr("nan is none"));
  EXPECT_THAT(refusal(asciiPly("3 0 1 1.5\n"), CloudFormat::Ply), HasSubstr("1.5 is none"));
  EXPECT_THAT(refusal(asciiPly("2 0 1\n"), CloudFormat::Ply), HasSubstr("a face has 2 corners, and needs three"));
  EXPECT_THAT(refusal(asciiPly("3 0 1\n"), CloudFormat::Ply), HasSubstr("too few values"));
  EXPECT_THAT(refusal(asciiPly("3 0 1 2\n3 0 1 2\n"), CloudFormat::Ply), HasSubstr("stands behind the 1 x \"face\""));
}

TEST(ReadSurface, RefusesACornerOfAFaceThatIsNoPointAndKeepsOtherVertices) {
  const std::string elements = std::string(kPlyVertices) + "element face 1\nproperty list uchar int vertex_indices\n";
  EXPECT_EQ(refusal(ply("ascii", elements, "0 0 0\n1 0 0\nnan 1 0\n0 1 0\n3 0 1 2\n"), CloudFormat::Ply),
            "vertex 2 of 4, a corner of a face, is no finite point");
  EXPECT_EQ(refusal(ply("ascii", elements, "0 0 0\n1 0 0\nnan 1 0\n0 1 0\n3 0 1 3\n"), CloudFormat::Ply), "accepted");
}

TEST(ReadSurface, CutsFacesOfMoreCornersAndTellsOfThoseThatAreNotConvex) {
  const Surface square = surfaceOf(asciiPly("4 0 1 2 3\n"), CloudFormat::Ply);
  EXPECT_THAT(square.facets, ElementsAre(Facet{0, 1, 2}, Facet{0, 2, 3}));
  EXPECT_THAT(square.remarks,
              ElementsAre("1 faces have more than three corners and are cut into triangles from the first"));
  const Surface dart = surfaceOf("OFF 4 1 0\n0 0 0\n4 0 0\n1 1 0\n0 4 0\n4 1 2 3 0\n", CloudFormat::Off);
  EXPECT_THAT(dart.facets, ElementsAre(Facet{1, 2, 3}, Facet{1, 3, 0}));
  EXPECT_THAT(dart.remarks, ElementsAre(HasSubstr("1 of them are not convex")));
  const Surface both =
      surfaceOf("OFF 4 3 0\n0 0 0\n4 0 0\n1 1 0\n0 4 0\n3 0 1 2\n4 0 1 2 3\n4 1 2 3 0\n", CloudFormat::Off);
  EXPECT_THAT(both.remarks, ElementsAre("2 faces have more than three corners and are cut into triangles from the "
                                        "first; 1 of them are not convex, and their triangles overlap"));
}

TEST(ReadSurface, ReadsNormalsOfVertices) {
  const std::string six =
      "property float x\nproperty float y\nproperty float z\nproperty float nx\nproperty float ny\nproperty float nz\n";
  const std::string mixed = "element vertex 1\nproperty list uchar int more\n" + six;
  EXPECT_THAT(surfaceOf(ply("ascii", "element vertex 1\n" + six, "1 2 3 4 5 6\n"), CloudFormat::Ply).vertexNormals,
              ElementsAre(Vec3{4, 5, 6}));
  EXPECT_THAT(surfaceOf(ply("ascii", mixed, "2 9 9 1 2 3 4 5 6\n"), CloudFormat::Ply).vertexNormals,
              ElementsAre(Vec3{4, 5, 6}));
  std::string rows;
  for (float n = 1; n < 13; ++n) rows += bytesOf(n);
  const Surface binary = surfaceOf(ply("binary_little_endian", "element vertex 2\n" + six, rows), CloudFormat::Ply);
  EXPECT_THAT(binary.vertices, ElementsAre(Vec3{1, 2, 3}, Vec3{7, 8, 9}));
  EXPECT_THAT(binary.vertexNormals, ElementsAre(Vec3{4, 5, 6}, Vec3{10, 11, 12}));
  EXPECT_THAT(surfaceOf(asciiPly("3 0 1 2\n"), CloudFormat::Ply).vertexNormals, IsEmpty());
}

TEST(ReadSurface, ReadsNormalsOfPcdInEachForm) {
  const std::string header =
      "VERSION .7\nFIELDS normal_x x y z normal_y normal_z\nSIZE 4 4 4 4 4 4\nTYPE F F F F F F\nPOINTS 2\nDATA ";
  std::string rows;
  for (float n = 1; n < 13; ++n) rows += bytesOf(n);
  std::string columns;
  for (float n = 1; n < 7; ++n) columns += bytesOf(n) + bytesOf(n + 6);
  // LZF: a count below 32 says how many bytes more than one stand as they are.
  std::string packed;
  for (std::size_t at = 0; at < columns.size(); at += 16) packed += '\x0F' + columns.substr(at, 16);
  const std::string sizes =
      bytesOf(static_cast<std::uint32_t>(packed.size())) + bytesOf(static_cast<std::uint32_t>(columns.size()));
  for (const std::string& file : {header + "ascii\n1 2 3 4 5 6\n7 8 9 10 11 12\n", header + "binary\n" + rows,
                                  header + "binary_compressed\n" + sizes + packed}) {
    const Surface surface = surfaceOf(file, CloudFormat::Pcd);
    EXPECT_THAT(surface.vertices, ElementsAre(Vec3{2, 3, 4}, Vec3{8, 9, 10}));
    EXPECT_THAT(surface.vertexNormals, ElementsAre(Vec3{1, 5, 6}, Vec3{7, 11, 12}));
  }
}

TEST(ReadSurface, ReadsNormalsOfTextsThatNameThem) {
  const Surface named = surfaceOf("nx,x,y,z,NY,nz\n1,2,3,4,5,6\n,8,9,10,11,12\n", CloudFormat::Csv);
  EXPECT_THAT(named.vertices, ElementsAre(Vec3{2, 3, 4}, Vec3{8, 9, 10}));
  ASSERT_EQ(named.vertexNormals.size(), 2u);
  EXPECT_EQ(named.vertexNormals[0], (Vec3{1, 5, 6}));
  EXPECT_TRUE(std::isnan(named.vertexNormals[1][0]));
  EXPECT_THAT(surfaceOf("x,y,z,nx\n1,2,3,4\n", CloudFormat::Csv).vertexNormals, IsEmpty());
  EXPECT_THAT(surfaceOf("1 2 3 4 5 6\n", CloudFormat::Xyz).vertexNormals, IsEmpty());
  EXPECT_THAT(refusal("x,y,z,nx,ny,nz\n1,2,3,a,5,6\n", CloudFormat::Csv), StartsWith("line 2: "));
  EXPECT_THAT(refusal("", CloudFormat::Csv), StartsWith("holds no points"));
}

TEST(ReadSurface, ReadsFacesOfObjByAnyForm) {
  const std::string vertices = "v 0 0 0\nv 1 0 0\nv 1 1 0\n";
  const std::string behind = "v 0 1 0\nvt 0 0\nvn 0 0 1\nvn 0 0 2\n";
  const Surface surface = surfaceOf(vertices + "f 1 2 4\n" + behind +
                                        "f 1/1 2/1 3/1\nf 1//1 2//2 3//1\nf 1/1/2 3/1/1 4/1/-1\nf -4 -2 -1\n"
                                        "f 1 2 \\\n 3 \\\n4\nf 1/ 2/ 3\n",
                                    CloudFormat::Obj);
  EXPECT_THAT(surface.facets, ElementsAre(Facet{0, 1, 3}, Facet{0, 1, 2}, Facet{0, 1, 2}, Facet{0, 2, 3},
                                          Facet{0, 2, 3}, Facet{0, 1, 2}, Facet{0, 2, 3}, Facet{0, 1, 2}));
  EXPECT_THAT(surface.vertexNormals, ElementsAre(Vec3{0, 0, 1}, Vec3{0, 0, 2}, Vec3{0, 0, 1}, Vec3{0, 0, 2}));
}

TEST(ReadSurface, TakesNormalsOfObjOnlyWhereEachVertexHasOne) {
  EXPECT_THAT(surfaceOf("v 0 0 0\nvn 0 0 1\nv 1 0 0\nvn 0 1 0\n", CloudFormat::Obj).vertexNormals,
              ElementsAre(Vec3{0, 0, 1}, Vec3{0, 1, 0}));
  EXPECT_THAT(surfaceOf("v 0 0 0\nv 1 0 0\nvn 0 1 0\n", CloudFormat::Obj).vertexNormals, IsEmpty());
  EXPECT_THAT(surfaceOf("v 0 0 0\nv 1 0 0\nv 0 1 0\nvn 0 0 1\nf 1//1 2//1 3\n", CloudFormat::Obj).vertexNormals,
              IsEmpty());
  EXPECT_THAT(surfaceOf("v 0 0 0\nv 1 0 0\nv 0 1 0\nvn 0 0 1\nf 1//1 2//1 3//9\n", CloudFormat::Obj).vertexNormals,
              IsEmpty());
}

TEST(ReadSurface, RefusesFacesOfObjThatAreNoneWithTheirLine) {
  const std::string vertices = "v 0 0 0\nv 1 0 0\nv 1 1 0\n";
  const auto said = [&](const char* face) { return refusal(vertices + face + "\nf 1 2 3\n", CloudFormat::Obj); };
  EXPECT_EQ(said("f 1 2 4"), "line 4: a face names vertex 4, and there are 3");
  EXPECT_EQ(said("f 1 2 0"), "line 4: \"0\" is no number of a vertex");
  EXPECT_EQ(said("f 1 2 -4"), "line 4: \"-4\" is no number of a vertex");
  EXPECT_EQ(said("f 1 2 x"), "line 4: \"x\" is no number of a vertex");
  EXPECT_EQ(said("f 1 2 3//0"), "line 4: \"0\" is no number of a vertex");
  EXPECT_EQ(said("f 1 2"), "line 4: a face has 2 corners, and needs three");
  EXPECT_THAT(said("f 1 2 99999999999"), StartsWith("line 4: "));
  EXPECT_EQ(said("vn 1 2"), "line 4: the line has too few values");
}

TEST(ReadSurface, ReadsFacesOfOff) {
  const std::string file = "OFF\n4 2 0\n0 0 0\n1 0 0\n1 1 0\n0 1 0\n3 0 1 2 255 0 0\n# one more\n3 0 2 3\n";
  EXPECT_THAT(surfaceOf(file, CloudFormat::Off).facets, ElementsAre(Facet{0, 1, 2}, Facet{0, 2, 3}));
  EXPECT_THAT(refusal("OFF 3 1 0\n0 0 0\n1 0 0\n1 1 0\n3 0 1 3\n", CloudFormat::Off),
              StartsWith("line 5: face 0 of 1: 3 is none"));
  EXPECT_EQ(refusal("OFF 3 1 0\n0 0 0\n1 0 0\n1 1 0\nx 0 1 3\n", CloudFormat::Off),
            "line 5: \"x\" is no count of corners");
}

TEST(ReadSurface, RefusesPlyOfStripsOrWithoutVertices) {
  EXPECT_THAT(refusal(ply("ascii",
                          std::string(kPlyVertices) + "element tristrips 1\nproperty list int int "
                                                      "vertex_indices\n",
                          "0 0 0\n1 0 0\n1 1 0\n0 1 0\n4 0 1 2 3\n"),
                      CloudFormat::Ply),
              HasSubstr("strips of triangles"));
  EXPECT_EQ(
      refusal(ply("ascii", "element face 1\nproperty list uchar int vertex_indices\n", "3 0 1 2\n"), CloudFormat::Ply),
      "has no element \"vertex\"");
  EXPECT_THAT(refusal(ply("ascii", std::string(kPlyVertices) + "element face 1\nproperty int colour\n",
                          "0 0 0\n1 0 0\n1 1 0\n0 1 0\n7\n"),
                      CloudFormat::Ply),
              HasSubstr("a face has no list vertex_indices"));
}

TEST(ReadSurface, HasTheVerticesOfTheCloud) {
  for (const auto& [content, format] :
       {std::pair(binaryStl(kTwoFacets), CloudFormat::Stl), std::pair(asciiPly("4 0 1 2 3\n"), CloudFormat::Ply),
        std::pair(std::string("2\n1 2 3\n4 5 6\n"), CloudFormat::Pts),
        std::pair(std::string("x,y,z,nx,ny,nz\n1,2,3,0,0,1\n"), CloudFormat::Csv)}) {
    EXPECT_EQ(surfaceOf(content, format).vertices, pointsOf(content, format));
  }
}

TEST(ReadSurface, TakesTheUnitThatTheCallerSaysWhereTheContentTellsNone) {
  EXPECT_EQ(parseSurface(binaryStl(kTwoFacets), CloudFormat::Stl, 25.4)->vertices[1], (Vec3{25.4, 0, 0}));
  const auto text = parseSurface("x,y_cm,z,nx,ny,nz\n1,2,3,0,0,1\n", CloudFormat::Csv, 1000.0);
  EXPECT_THAT(text->vertices, ElementsAre(Vec3{1000, 20, 3000}));
  EXPECT_THAT(text->vertexNormals, ElementsAre(Vec3{0, 0, 1000}));
}

TEST(ReadSurface, SurvivesAnyDamage) {
  std::mt19937_64 random = quel::testing::testRandom();
  const std::pair<std::string, CloudFormat> good[] = {
      {binaryStl(kTwoFacets), CloudFormat::Stl},
      {"solid\n" + asciiFacet("normal 0 0 1") + "endsolid\n", CloudFormat::Stl},
      {asciiPly("3 0 1 2\n4 0 1 2 3\n", 2), CloudFormat::Ply},
      {"v 0 0 0\nv 1 0 0\nv 1 1 0\nvn 0 0 1\nf 1//1 2//1 \\\n -1//-1\n", CloudFormat::Obj},
      {"OFF 3 1 0\n0 0 0\n1 0 0\n1 1 0\n3 0 1 2\n", CloudFormat::Off}};
  for (const auto& [content, format] : good) {
    ASSERT_EQ(refusal(content, format), "accepted");
    for (int n = 0; n < 5000; ++n) {
      std::string damaged = content;
      for (int k = 0; k < 3; ++k) damaged[random() % damaged.size()] = static_cast<char>(random());
      const auto surface = parseSurface(damaged, format);
      if (!surface) {
        EXPECT_FALSE(surface.error().cause.empty());
        continue;
      }
      EXPECT_LE(surface->facets.size(), damaged.size());
      for (const Facet& facet : surface->facets) {
        EXPECT_LT(*std::max_element(facet.begin(), facet.end()), surface->vertices.size());
      }
    }
  }
}

TEST(ReadSurface, TellsFileAndPlaceOfAFailure) {
  TemporaryFolder folder;
  ASSERT_TRUE(folder.make().ok());
  const std::filesystem::path file = folder.path() / "part.obj";
  std::ofstream(file) << "v 0 0 0\nv 1 0 0\nv 1 1 0\nf 1 2 9\n";
  const auto damaged = readSurface(file);
  ASSERT_FALSE(damaged.ok());
  EXPECT_EQ(damaged.error().message(), file.string() + ", line 4: a face names vertex 9, and there are 3");
  std::ofstream(file) << "v 0 0 0\nv 1 0 0\nv 1 1 0\nf 1 2 3\n";
  const auto sound = readSurface(file);
  ASSERT_TRUE(sound.ok());
  EXPECT_THAT(sound->facets, ElementsAre(Facet{0, 1, 2}));
  EXPECT_FALSE(readSurface(folder.path() / "absent.stl").ok());
}

TEST(FirstAtPlace, FindsTheFirstPointOfEachPlace) {
  EXPECT_THAT(firstAtPlace(
                  std::vector<Vec3>{{1, 2, 3}, {0, 0, 0}, {1, 2, 3}, {-0.0, 0, -0.0}, {1, 2, 4}, {1, 2, 3}, {1, 2, 3}}),
              ElementsAre(0u, 1u, 0u, 1u, 4u, 0u, 0u));
  EXPECT_THAT(firstAtPlace({}), IsEmpty());
}

TEST(Faces, RefuseVerticesThatAFacetCannotName) {
  Faces faces(std::uint64_t{1} << 33);
  EXPECT_NO_THROW(faces.addCorner(4294967295.0));
  EXPECT_THROW(faces.addCorner(4294967296.0), Error);
}

}  // namespace
}  // namespace quel
