#include "models/Examples.h"

#include <cmath>

#include "files/Files.h"

namespace queltool {

namespace fs = std::filesystem;

namespace {

void makeEmptyFile(const fs::path& file) {
  makeFolder(file.parent_path());
  if (!fs::exists(file)) writeWholeFile(file, "");
}

}  // namespace

// The rotations are by the angle whose sine is 0.28 and whose cosine is 0.96, so they are exact as they stand.
std::string exampleCameras() {
  const auto camera = [](const char* name, const char* rotation) {
    return std::string("  {\"name\": \"") + name +
           "\", \"width\": 1280, \"height\": 1024,\n"
           "   \"fx\": 2400, \"fy\": 2400, \"cx\": 639.5, \"cy\": 511.5, \"skew\": 0,\n"
           "   \"distortion\": {\"model\": \"brown-conrady-normalised\",\n"
           "                  \"k1\": -0.1, \"k2\": 0.02, \"k3\": 0, \"p1\": 0, \"p2\": 0},\n"
           "   \"rotation\": " +
           rotation + ", \"translation\": [0, 0, 600]}";
  };
  return "{\"cameras\": [\n" + camera("top", "[[1, 0, 0], [0, -0.96, 0.28], [0, -0.28, -0.96]]") + ",\n" +
         camera("left", "[[0.96, 0, 0.28], [0, -1, 0], [0.28, 0, -0.96]]") + ",\n" +
         camera("right", "[[0.96, 0, -0.28], [0, -1, 0], [-0.28, 0, -0.96]]") + "\n]}\n";
}

std::vector<Vec3> exampleCloud() {
  constexpr int kHalfWidth = 60, kHalfHeight = 45;  // Steps of one millimetre.
  constexpr double kHeight = 0.12, kWave = 20.0;
  std::vector<Vec3> points;
  for (int y = -kHalfHeight; y <= kHalfHeight; ++y) {
    for (int x = -kHalfWidth; x <= kHalfWidth; ++x) {
      const double z = kHeight * std::cos(x / kWave) * std::cos(y / kWave);
      points.push_back({static_cast<double>(x), static_cast<double>(y), z});
    }
  }
  return points;
}

std::string exampleCorrections() {
  return R"(<?xml version="1.0" encoding="UTF-8"?>
<BlockCorrectionParameters>
  <BlockParameter Name="ax" CameraId="0" Value="0.0125"/>
  <BlockParameter Name="ay" CameraId="0" Value="0.0125"/>
  <BlockParameter Name="xp" CameraId="1" Value="-0.004"/>
  <BlockParameter Name="d01" CameraId="1" Value="0.0008"/>
</BlockCorrectionParameters>
)";
}

std::string exampleMaterials() { return "QmM1\n1\n3 50 2\nAluminium 0.35 1.2 0.8 1\nSteel 0.3 1.5 0.9 2\n"; }

std::string exampleGlobalMaterials() {
  return R"(<?xml version="1.0" encoding="UTF-8"?>
<QuelmetraDataFile VersionFile="1.0">
  <ConfigTable Type="GLOBAL_MATERIALS">
    <OpticalHeadModel Type="OH2002">
      <Lens Type="50">
        <Material Name="Steel">
          <Process Name="milled" Param1="0.25" Param2="1.5" Param3="3"/>
        </Material>
      </Lens>
    </OpticalHeadModel>
  </ConfigTable>
</QuelmetraDataFile>
)";
}

std::string exampleOperations() {
  return R"(<?xml version="1.0" encoding="UTF-8"?>
<QuelmetraDataFile VersionFile="1.00">
  <Operation ID="7" Type="COP"><Tiles Size="3">1 2 5 </Tiles></Operation>
  <Operation ID="8" Type="COP"/>
</QuelmetraDataFile>
)";
}

void makeExampleStore(const fs::path& folder) {
  const fs::path part = folder / "car" / "door";
  makeEmptyFile(part / "part.qmp");
  makeEmptyFile(part / "s1" / "setup.qms");
  makeEmptyFile(part / "s2" / "autosetup.qms");
}

}  // namespace queltool
