// .cameramodel of mrcal: a Python literal with the lens by its name, and the pose as a rotation vector and a
// translation in metres that take points of the reference into the camera.
#include <charconv>
#include <map>

#include "quel/formats/FoundCameras.h"

namespace quel {

namespace {

constexpr double kMillimetresPerMetre = 1000.0;
constexpr std::string_view kPrefix = "LENSMODEL_";

// What stands behind "KEY=" in a name such as SPLINED_STEREOGRAPHIC_order=3_Nx=30_Ny=20_fov_x_deg=170.
std::int32_t settingOf(std::string_view name, std::string_view key, const Field& model) {
  const std::size_t at = name.find("_" + std::string(key) + "=");
  std::int32_t value = 0;
  if (at != std::string_view::npos) {
    const char* begin = name.data() + at + key.size() + 2;
    const char* end = name.data() + name.size();
    const auto [stop, failure] = std::from_chars(begin, end, value);
    if (failure == std::errc() && (stop == end || *stop == '_')) return value;
  }
  model.refuse("must have \"" + std::string(key) + "=\" and a whole number in its name");
}

Lens splinedLens(std::string_view name, const std::vector<double>& values, const Field& model) {
  Lens lens{LensModel::SplinedStereographic, {}, {}};
  lens.grid = {settingOf(name, "order", model), settingOf(name, "Nx", model), settingOf(name, "Ny", model),
               static_cast<double>(settingOf(name, "fov_x_deg", model))};
  lens.parameters.assign(values.begin() + 4, values.end());
  return lens;
}

// How many numbers stand behind fx, fy, cx, cy.
std::optional<std::size_t> countOf(std::string_view name) {
  static const std::map<std::string_view, std::size_t> kCounts = {
      {"PINHOLE", 0}, {"STEREOGRAPHIC", 0}, {"OPENCV4", 4}, {"OPENCV5", 5},
      {"OPENCV8", 8}, {"OPENCV12", 12},     {"CAHVOR", 5}};
  const auto found = kCounts.find(name);
  if (found == kCounts.end()) return std::nullopt;
  return found->second;
}

void setLens(Camera& camera, const Field& document) {
  const Field model = document.at({"lensmodel", "lens_model"});
  const Field field = document.at({"intrinsics"});
  const std::string full = model.text();
  if (!full.starts_with(kPrefix)) model.refuse("must be the name of a lens, such as LENSMODEL_OPENCV8");
  const std::string_view name = std::string_view(full).substr(kPrefix.size());
  const bool isSplined = name.starts_with("SPLINED_STEREOGRAPHIC_");
  const auto count = countOf(name);
  if (!count && !isSplined) model.refuse(unreadLens(full));

  const std::vector<double> values = field.matrix().values;
  if (values.size() < 4 || (count && values.size() != *count + 4)) {
    field.refuse("must be " + std::to_string(count.value_or(0) + 4) + " numbers, and holds " +
                 std::to_string(values.size()));
  }
  setFocals(camera, values);
  const std::vector<double> more(values.begin() + 4, values.end());
  if (isSplined) {
    camera.lens = splinedLens(name, values, model);
  } else if (name == "STEREOGRAPHIC") {
    camera.lens = {LensModel::Stereographic, {}, {}};
  } else if (name == "CAHVOR") {
    camera.lens = {LensModel::Cahvor, more, {}};
  } else {
    setOpenCvLens(camera, more, field);
  }
}

FoundCamera cameraOf(const NamedText& file) {
  const Node node = parseDocument(file.text);
  const Field document(node, "");
  FoundCamera found;
  found.file = file.file;
  Camera& camera = found.camera;
  camera.name = file.file.stem().string();
  setLens(camera, document);
  const std::vector<Field> size = document.at({"imagersize"}).items();
  if (size.size() != 2) document.at({"imagersize"}).refuse("must be two numbers of pixels");
  camera.width = sideOf(size[0]);
  camera.height = sideOf(size[1]);
  const std::vector<double> p = document.at({"extrinsics", "rt_cam_ref"}).numbers(6);
  found.pose = Pose{rotationOfRodrigues({p[0], p[1], p[2]}), {p[3], p[4], p[5]}};
  return found;
}

}  // namespace

FoundCameras readMrcal(std::span<const NamedText> files, const ImportOptions&) {
  FoundCameras result;
  result.millimetresPerUnit = kMillimetresPerMetre;
  for (const NamedText& file : files) {
    result.cameras.push_back(inFile(file.file, [&] { return cameraOf(file); }));
  }
  return result;
}

}  // namespace quel
