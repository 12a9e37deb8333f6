// The camchain of Kalibr: cameras in a row, each with its pose before the one in front of it, in metres.
#include <algorithm>

#include "quel/formats/FoundCameras.h"

namespace quel {

namespace {

constexpr double kMillimetresPerMetre = 1000.0;

void setLens(Camera& camera, const Field& entry) {
  const Field model = entry.at({"camera_model"});
  if (model.text() != "pinhole") model.refuse(unreadLens(model.text()));
  setFocals(camera, entry.at({"intrinsics"}).numbers(4));
  const Field distortion = entry.at({"distortion_model"});
  const std::string name = distortion.text();
  if (name == "none") return;
  const Field field = entry.at({"distortion_coeffs"});
  if (name == "radtan") {
    setOpenCvLens(camera, field.numbers(4), field);
  } else if (name == "equi") {
    setFisheyeLens(camera, field.numbers(4), field);
  } else {
    distortion.refuse(unreadLens(name));
  }
}

Pose poseOf(const Field& field) {
  const Matrix matrix = field.matrix();
  if (matrix.rows != 4 || matrix.columns != 4) field.refuse("must be 4 rows of 4 numbers");
  const std::vector<double>& m = matrix.values;
  if (m[12] != 0.0 || m[13] != 0.0 || m[14] != 0.0 || m[15] != 1.0) field.refuse("must end in the row 0 0 0 1");
  return {{{{m[0], m[1], m[2]}, {m[4], m[5], m[6]}, {m[8], m[9], m[10]}}}, {m[3], m[7], m[11]}};
}

FoundCamera cameraOf(const Field& entry) {
  FoundCamera found;
  found.camera.name = entry.name();
  setLens(found.camera, entry);
  const std::vector<Field> size = entry.at({"resolution"}).items();
  if (size.size() != 2) entry.at({"resolution"}).refuse("must be two numbers of pixels");
  found.camera.width = sideOf(size[0]);
  found.camera.height = sideOf(size[1]);
  return found;
}

void addChain(const NamedText& file, FoundCameras& result) {
  const Node node = parseDocument(file.text);
  const Field document(node, "");
  if (!document.isMap()) document.refuse("must have the keys cam0, cam1, ...");
  for (std::size_t n = 0; document.has("cam" + std::to_string(n)); ++n) {
    const std::string name = "cam" + std::to_string(n);
    const Field entry = document.at({name});
    FoundCamera found = cameraOf(entry);
    found.file = file.file;
    found.pose = n == 0 ? Pose{} : after(poseOf(entry.at({"T_cn_cnm1"})), *result.cameras.back().pose);
    result.cameras.push_back(std::move(found));
  }
  if (result.cameras.empty()) document.refuse("has no key cam0");
}

}  // namespace

FoundCameras readKalibr(std::span<const NamedText> files, const ImportOptions&) {
  FoundCameras result;
  result.millimetresPerUnit = kMillimetresPerMetre;
  if (files.size() != 1) throw BadFile{{"a camchain is one file, and " + std::to_string(files.size()) + " are given"}};
  inFile(files.front().file, [&] { addChain(files.front(), result); });
  return result;
}

}  // namespace quel
