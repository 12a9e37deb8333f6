#include "quel/cameras/CameraFile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "quel/base/Letters.h"

namespace quel {

namespace {

using nlohmann::json;

constexpr std::uintmax_t kMaxFileSize = 64u << 20;
constexpr std::int64_t kMaxImageSize = 65535;

struct BadKey {
  std::string message;
};

[[noreturn]] void refuse(const std::string& key, const std::string& what) { throw BadKey{key + ": " + what}; }

const json& member(const json& object, const std::string& where, const char* key) {
  if (!object.is_object()) refuse(where, "must be an object");
  const auto found = object.find(key);
  if (found == object.end()) refuse(where + "." + key, "is missing");
  return *found;
}

double asNumber(const json& value, const std::string& where) {
  if (!value.is_number()) refuse(where, "must be a number");
  const double number = value.get<double>();
  if (!std::isfinite(number)) refuse(where, "must be finite");
  return number;
}

double number(const json& object, const std::string& where, const char* key) {
  return asNumber(member(object, where, key), where + "." + key);
}

double numberOrZero(const json& object, const std::string& where, const char* key) {
  return object.contains(key) ? number(object, where, key) : 0.0;
}

double positive(const json& object, const std::string& where, const char* key) {
  const double value = number(object, where, key);
  if (value <= 0.0) refuse(where + "." + key, "must be greater than 0");
  return value;
}

std::int32_t imageSize(const json& object, const std::string& where, const char* key) {
  const json& value = member(object, where, key);
  const bool whole = value.is_number_integer() && value >= 1 && value <= kMaxImageSize;
  if (!whole) refuse(where + "." + key, "must be a whole number of pixels from 1 to 65535");
  return value.get<std::int32_t>();
}

Vec3 vector(const json& value, const std::string& where) {
  if (!value.is_array() || value.size() != 3) refuse(where, "must be 3 numbers");
  Vec3 result{};
  for (std::size_t i = 0; i < 3; ++i) result[i] = asNumber(value[i], where + "[" + std::to_string(i) + "]");
  return result;
}

Mat3 matrix(const json& value, const std::string& where) {
  if (!value.is_array() || value.size() != 3) refuse(where, "must be 3 rows of 3 numbers");
  Mat3 result{};
  for (std::size_t i = 0; i < 3; ++i) result[i] = vector(value[i], where + "[" + std::to_string(i) + "]");
  return result;
}

std::string joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

// Text is no property: people leave notes. But a number in quotation marks is one, and so is what has the name of one.
bool isNote(const std::string& key, const json& value, const std::vector<std::string>& known) {
  if (!value.is_string()) return false;
  const std::string text = value.get<std::string>();
  char* end = nullptr;
  std::strtod(text.c_str(), &end);
  const bool isNumber = end != text.c_str() && *end == '\0';
  return !isNumber && std::find(known.begin(), known.end(), lowerCase(key)) == known.end();
}

// A key that nobody reads would be a property that the camera has and the head has not.
void refuseOthers(const json& object, const std::string& where, const std::vector<std::string>& known, bool notes) {
  for (const auto& [key, value] : object.items()) {
    if (std::find(known.begin(), known.end(), key) != known.end() || (notes && isNote(key, value, known))) continue;
    refuse(where + key, "is no key that is known here; known are " + joined(known));
  }
}

// A note that says what translations are in would be a property, too, and a wrong one but for millimetres.
void refuseOtherUnits(const json& object, const std::string& where) {
  for (const char* key : {"unit", "units"}) {
    if (object.value(key, json("mm")) == "mm") continue;
    refuse(where + key, "must be \"mm\"; give translations in millimetres");
  }
}

std::string namesOfModels() {
  std::string text;
  for (const LensModel model : lensModels()) {
    const bool last = model == lensModels().back();
    text += (text.empty() ? "\"" : last ? " or \"" : ", \"") + std::string(lensModelName(model)) + '"';
  }
  return text;
}

LensModel modelOf(const json& distortion, const std::string& inside) {
  const json name = distortion.value("model", json("brown-conrady-normalised"));
  const auto model = name.is_string() ? lensModelNamed(name.get<std::string>()) : std::nullopt;
  if (!model) refuse(inside + ".model", "must be " + namesOfModels());
  return *model;
}

void readBrownConrady(const json& distortion, const std::string& inside, Camera& camera) {
  refuseOthers(distortion, inside + ".", {"model", "k1", "k2", "k3", "p1", "p2"}, false);
  camera.k1 = numberOrZero(distortion, inside, "k1");
  camera.k2 = numberOrZero(distortion, inside, "k2");
  camera.k3 = numberOrZero(distortion, inside, "k3");
  camera.p1 = numberOrZero(distortion, inside, "p1");
  camera.p2 = numberOrZero(distortion, inside, "p2");
}

std::int32_t smallNumber(const json& object, const std::string& where, const char* key) {
  const json& value = member(object, where, key);
  if (!value.is_number_integer() || value < 0 || value > kMaxImageSize)
    refuse(where + "." + key, "must be a whole number");
  return value.get<std::int32_t>();
}

void readSplines(const json& distortion, const std::string& inside, Lens& lens) {
  refuseOthers(distortion, inside + ".", {"model", "order", "columns", "rows", "fov_x_deg", "control_points"}, false);
  lens.grid = {smallNumber(distortion, inside, "order"), smallNumber(distortion, inside, "columns"),
               smallNumber(distortion, inside, "rows"), number(distortion, inside, "fov_x_deg")};
  const json& points = member(distortion, inside, "control_points");
  if (!points.is_array()) refuse(inside + ".control_points", "must be a list of numbers, two for each point");
  for (std::size_t i = 0; i < points.size(); ++i) {
    lens.parameters.push_back(asNumber(points[i], inside + ".control_points[" + std::to_string(i) + "]"));
  }
}

// What a model does not say of itself is 0, as for the usual one.
void readNamed(const json& distortion, const std::string& inside, Lens& lens) {
  std::vector<std::string> known = {"model"};
  for (const std::string_view name : lensParameterNames(lens.model)) known.emplace_back(name);
  refuseOthers(distortion, inside + ".", known, false);
  for (std::size_t i = 1; i < known.size(); ++i) {
    lens.parameters.push_back(numberOrZero(distortion, inside, known[i].c_str()));
  }
}

void readDistortion(const json& object, const std::string& where, Camera& camera) {
  if (!object.contains("distortion")) return;
  const json& distortion = object["distortion"];
  const std::string inside = where + ".distortion";
  if (!distortion.is_object()) refuse(inside, "must be an object");
  camera.lens.model = modelOf(distortion, inside);
  if (camera.lens.model == LensModel::BrownConrady) {
    readBrownConrady(distortion, inside, camera);
  } else if (camera.lens.model == LensModel::SplinedStereographic) {
    readSplines(distortion, inside, camera.lens);
  } else {
    readNamed(distortion, inside, camera.lens);
  }
  const std::string wrong = whyNoLens(camera.lens);
  if (!wrong.empty()) refuse(inside, wrong);
}

Camera readCamera(const json& object, const std::string& where) {
  if (!object.is_object()) refuse(where, "must be an object");
  refuseOthers(object, where + ".",
               {"name", "width", "height", "fx", "fy", "cx", "cy", "skew", "distortion", "rotation", "translation",
                "intrinsics_views", "intrinsics_rms_px"},
               true);
  refuseOtherUnits(object, where + ".");
  Camera camera;
  if (object.contains("name")) {
    if (!object["name"].is_string()) refuse(where + ".name", "must be text");
    camera.name = object["name"].get<std::string>();
  }
  camera.width = imageSize(object, where, "width");
  camera.height = imageSize(object, where, "height");
  camera.fx = positive(object, where, "fx");
  camera.fy = positive(object, where, "fy");
  camera.cx = number(object, where, "cx");
  camera.cy = number(object, where, "cy");
  camera.skew = numberOrZero(object, where, "skew");
  readDistortion(object, where, camera);
  camera.rotation = matrix(member(object, where, "rotation"), where + ".rotation");
  camera.translation = vector(member(object, where, "translation"), where + ".translation");
  return camera;
}

std::vector<Camera> readAll(const json& document) {
  if (!document.is_object()) refuse("the document", "must be an object with the key \"cameras\"");
  refuseOtherUnits(document, "");
  refuseOthers(document, "", {"cameras", "corners"}, true);
  const auto found = document.find("cameras");
  if (found == document.end()) refuse("cameras", "is missing");
  if (!found->is_array()) refuse("cameras", "must be a list of 3 cameras");
  std::vector<Camera> result;
  for (std::size_t i = 0; i < found->size(); ++i) {
    result.push_back(readCamera((*found)[i], "cameras[" + std::to_string(i) + "]"));
  }
  return result;
}

std::array<Camera, 3> threeOf(const json& document) {
  const auto found = document.is_object() ? document.find("cameras") : document.end();
  if (document.is_object() && found != document.end() && found->is_array() && found->size() != 3) {
    refuse("cameras", "must hold 3 cameras, one for each view of the head, and holds " + std::to_string(found->size()));
  }
  std::vector<Camera> all = readAll(document);
  return {std::move(all[0]), std::move(all[1]), std::move(all[2])};
}

// Of a key that stands twice the reader of JSON would take the last one. Objects further down than those of a camera
// are none of ours.
json documentOf(const std::string& text) {
  std::array<std::set<std::string>, 4> keys;
  std::size_t level = 0;
  return json::parse(text, [&](int, json::parse_event_t event, json& value) {
    if (event == json::parse_event_t::object_start && level++ < keys.size()) keys[level - 1].clear();
    if (event == json::parse_event_t::object_end) --level;
    const bool isOurs = event == json::parse_event_t::key && level <= keys.size();
    if (isOurs && !keys[level - 1].insert(value.get<std::string>()).second) {
      throw BadKey{"the key " + value.dump() + " stands twice in one object"};
    }
    return true;
  });
}

template <typename Cameras>
Result<Cameras> parsed(const std::string& text, Cameras (*read)(const json& document)) {
  try {
    return read(documentOf(text));
  } catch (const BadKey& bad) {
    return Error{bad.message};
  } catch (const json::exception& bad) {
    return Error{std::string("is no valid JSON: ") + bad.what()};
  }
}

}  // namespace

Result<std::array<Camera, 3>> parseCameras(const std::string& text) { return parsed(text, threeOf); }

Result<std::vector<Camera>> parseCameraList(const std::string& text) { return parsed(text, readAll); }

Result<std::array<Camera, 3>> readCameras(const std::filesystem::path& path) {
  std::error_code failure;
  if (!std::filesystem::is_regular_file(path, failure)) {
    return Error{failure ? failure.message() : "is no regular file", path.string()};
  }
  if (std::filesystem::file_size(path, failure) > kMaxFileSize) {
    return Error{"is larger than 64 MB, so it is no camera file", path.string()};
  }
  std::ifstream in(path, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  if (!in) return Error{"cannot be read; check its permissions", path.string()};
  Result<std::array<Camera, 3>> result = parseCameras(text);
  if (!result) return Error{result.error().cause, path.string(), result.error().place};
  return result;
}

}  // namespace quel
