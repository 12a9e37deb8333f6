// The rig of testing/peers: its files in every format, and where the peers see its points.
#pragma once

#include <gmock/gmock.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "quel/formats/Import.h"
#include "testing/PeerFigures.h"

namespace quel::testing {

struct RigCase {
  std::string name;
  CalibrationFormat format = CalibrationFormat::Json;
  std::vector<NamedText> files = {};
  std::vector<Vec3> points = {};
  nlohmann::json pixels = {};  ///< By the cameras' names, in the order of the points.
  ImportOptions options = {};
  std::string poses = {};
};

inline CalibrationFormat formatNamed(const std::string& name) {
  for (const CalibrationFormat format : calibrationFormats()) {
    if (calibrationFormatName(format) == name) return format;
  }
  ADD_FAILURE() << name;
  return CalibrationFormat::Json;
}

inline RigCase rigCaseOf(const nlohmann::json& entry, const nlohmann::json& points) {
  RigCase result;
  result.name = entry["name"];
  result.format = formatNamed(entry["format"]);
  for (const auto& file : entry["files"]) result.files.push_back({file["name"].get<std::string>(), file["text"]});
  const nlohmann::json& options = entry["options"];
  result.points = options.value("points", points).get<std::vector<Vec3>>();
  result.pixels = entry["pixels"];
  if (options.contains("unit")) result.options.millimetresPerUnit = options["unit"].get<double>();
  if (options.contains("poses")) {
    result.options.poses = "poses.json";
    result.poses = options["poses"];
  }
  result.options.keepWorld = true;
  return result;
}

inline std::vector<RigCase> rigCasesOf(const std::string& text) {
  std::vector<RigCase> cases;
  const auto rig = nlohmann::json::parse(text);
  for (const auto& entry : rig["cases"]) cases.push_back(rigCaseOf(entry, rig["points"]));
  EXPECT_EQ(cases.size(), 27u);
  return cases;
}

/// All cases, kept and fresh ones.
inline std::vector<RigCase> rigCases() {
  std::vector<RigCase> cases;
  for (const std::string& text : figuresOfPeers(QUEL_PEERS, "rig")) {
    for (RigCase& each : rigCasesOf(text)) cases.push_back(std::move(each));
  }
  return cases;
}

/// The one of that name, as it is kept.
inline RigCase rigCase(const std::string& name) {
  static const std::vector<RigCase> kCases = rigCasesOf(readFile(QUEL_PEERS "/rig.json"));
  for (const RigCase& each : kCases) {
    if (each.name == name) return each;
  }
  ADD_FAILURE() << "no case " << name;
  return {};
}

inline std::array<Camera, 3> imported(const RigCase& rig) {
  const auto result = importTexts(rig.format, rig.files, rig.options, rig.poses);
  if (!result) ADD_FAILURE() << rig.name << ": " << result.error().message();
  return result.ok() ? result.value().cameras : std::array<Camera, 3>{};
}

/// The largest distance between what a camera and the peer see.
inline double misses(const Camera& camera, const RigCase& rig) {
  const auto pixels = rig.pixels[camera.name].get<std::vector<Vec2>>();
  EXPECT_EQ(pixels.size(), rig.points.size());
  double most = 0.0;
  for (std::size_t n = 0; n < pixels.size(); ++n) {
    const Vec2 seen = distortedPixel(camera, idealPixel(camera, rig.points[n]));
    const double distance = std::hypot(seen[0] - pixels[n][0], seen[1] - pixels[n][1]);
    most = distance <= most ? most : distance;  // A distance that is no number stays.
  }
  return most;
}

}  // namespace quel::testing
