// Writes cameras as JSON.
#include <nlohmann/json.hpp>

#include "quel/cameras/CameraFile.h"

namespace quel {

namespace {

using Json = nlohmann::ordered_json;

Json distortionOf(const Camera& camera) {
  const Lens& lens = camera.lens;
  Json json = {{"model", lensModelName(lens.model)}};
  if (lens.model == LensModel::BrownConrady) {
    json.update({{"k1", camera.k1}, {"k2", camera.k2}, {"k3", camera.k3}, {"p1", camera.p1}, {"p2", camera.p2}});
  } else if (lens.model == LensModel::SplinedStereographic) {
    json["order"] = lens.grid.order;
    json["columns"] = lens.grid.columns;
    json["rows"] = lens.grid.rows;
    json["fov_x_deg"] = lens.grid.fovDegrees;
    json["control_points"] = lens.parameters;
  } else {
    const auto names = lensParameterNames(lens.model);
    for (std::size_t i = 0; i < names.size(); ++i) json[std::string(names[i])] = lens.parameters[i];
  }
  return json;
}

Json jsonOf(const Camera& camera) {
  Json json;
  json["name"] = camera.name;
  json["width"] = camera.width;
  json["height"] = camera.height;
  json["fx"] = camera.fx;
  json["fy"] = camera.fy;
  json["cx"] = camera.cx;
  json["cy"] = camera.cy;
  json["skew"] = camera.skew;
  json["distortion"] = distortionOf(camera);
  json["rotation"] = camera.rotation;
  json["translation"] = camera.translation;
  return json;
}

}  // namespace

// A camera a block, its members a line each, as people like to read them.
std::string textOfCameras(std::span<const Camera> cameras) {
  std::string text = "{\"cameras\": [";
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    text += i == 0 ? "\n  {" : ",\n  {";
    bool first = true;
    const Json json = jsonOf(cameras[i]);
    for (const auto& [key, value] : json.items()) {
      text += (first ? "\"" : ",\n   \"") + key + "\": " + value.dump(-1, ' ', false, Json::error_handler_t::replace);
      first = false;
    }
    text += "}";
  }
  return text + "\n]}\n";
}

}  // namespace quel
