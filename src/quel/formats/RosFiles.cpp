// camera_info of ROS, as calibrators write it and as a message prints it. It has no pose: that of the rectified pair in
// its projection is another camera's.
#include "quel/formats/FoundCameras.h"

namespace quel {

namespace {

void setLens(Camera& camera, const Field& document) {
  const Field model = document.at({"distortion_model"});
  const Field field = document.at({"distortion_coefficients", "D", "d"});
  const std::vector<double> coefficients = field.matrix().values;
  const std::string name = model.text();
  if (name == "plumb_bob" || name == "rational_polynomial") {
    const std::size_t most = name == "plumb_bob" ? 5 : 14;
    if (coefficients.size() > most) field.refuse("must be 4 or 5 coefficients of plumb_bob");
    setOpenCvLens(camera, coefficients, field);
  } else if (name == "equidistant" || name == "fisheye") {
    setFisheyeLens(camera, coefficients, field);
  } else if (!name.empty() || !coefficients.empty()) {
    model.refuse(unreadLens(name));
  }
}

FoundCamera cameraOf(const NamedText& file) {
  const Node node = parseDocument(file.text);
  const Field document(node, "");
  FoundCamera found;
  found.file = file.file;
  Camera& camera = found.camera;
  const auto name = document.find({"camera_name"});
  camera.name = name && !name->text().empty() ? name->text() : file.file.stem().string();
  camera.width = sideOf(document.at({"image_width", "width"}));
  camera.height = sideOf(document.at({"image_height", "height"}));
  const Field matrix = document.at({"camera_matrix", "K", "k"});
  setMatrix(camera, matrix);
  setLens(camera, document);
  refuseSkew(camera, matrix);
  return found;
}

}  // namespace

FoundCameras readRos(std::span<const NamedText> files, const ImportOptions&) {
  FoundCameras result;
  for (const NamedText& file : files) {
    result.cameras.push_back(inFile(file.file, [&] { return cameraOf(file); }));
  }
  return result;
}

}  // namespace quel
