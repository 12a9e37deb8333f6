#include "nominal/NominalFile.h"

#include <fstream>

#include "files/Failure.h"
#include "files/TemporaryFolder.h"
#include "nominal/meshes_fixture.h"

namespace queltool {
namespace {

using ::testing::HasSubstr;

class ReadNominal : public ::testing::Test {
 protected:
  std::string make(const std::string& name, const std::string& content) {
    const std::string file = (folder_.path() / name).string();
    std::ofstream(file, std::ios::binary) << content;
    return file;
  }

  std::string complaint(const NominalFile& file) try {
    readNominal(file);
    return "accepted";
  } catch (const Failure& failure) {
    return failure.what();
  }

  TemporaryFolder folder_;
};

TEST_F(ReadNominal, ReadsAMeshInTheUnitThatIsSaid) {
  const std::string file = make("a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  const auto nominal = readNominal({file, 25.4});
  EXPECT_EQ(nominal->title(), "mesh of 1 triangles");
  EXPECT_DOUBLE_EQ(nominal->size(), 25.4 * std::sqrt(2.0));
  EXPECT_DOUBLE_EQ(nearestOf(*nominal, {5, 5, 3}).deviation, 3.0);
}

TEST_F(ReadNominal, ReadsACloudWithNormalsOrWithAViewpoint) {
  const std::string named = make("n.csv", "x,y,z,nx,ny,nz\n0,0,0,0,0,1\n");
  EXPECT_DOUBLE_EQ(nearestOf(*readNominal({named}), {0, 0, -3}).deviation, -3.0);
  const std::string bare = make("p.xyz", "0 0 0\n1 0 0\n0 1 0\n1 1 0\n");
  EXPECT_DOUBLE_EQ(nearestOf(*readNominal({bare, 1.0, Vec3{0, 0, -9}}), {0, 0, -3}).deviation, 3.0);
  EXPECT_EQ(complaint({bare}),
            bare + ": is a cloud without normals, which does not tell its outside; give --viewpoint X,Y,Z");
}

TEST_F(ReadNominal, TellsFileAndCauseOfAFailure) {
  EXPECT_THAT(complaint({(folder_.path() / "absent.stl").string()}), HasSubstr("there is no such file"));
  const std::string flat = make("flat.obj", "v 0 0 0\nv 1 1 1\nv 2 2 2\nf 1 2 3\n");
  EXPECT_EQ(complaint({flat}), flat + ": has no triangle with an area");
  const std::string damaged = make("damaged.obj", "v 0 0 0\nv 1 1 1\nv 2 2 2\nf 1 2 4\n");
  EXPECT_EQ(complaint({damaged}), damaged + ", line 4: a face names vertex 4, and there are 3");
}

}  // namespace
}  // namespace queltool
