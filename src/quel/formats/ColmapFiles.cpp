// A sparse model of COLMAP as text. Poses (qw qx qy qz, t) take points of the world into the camera, or into the rig;
// the centre of the top-left pixel is (0.5, 0.5).
#include <algorithm>
#include <map>

#include "quel/formats/ColmapText.h"
#include "quel/formats/FoundCameras.h"

namespace quel {

namespace {

constexpr double kHalfPixel = 0.5;

// How the parameters of a model become a camera: those of the matrix in front, the others in `lens`.
struct Model {
  bool oneFocal;
  std::size_t others;
  void (*setLens)(Camera& camera, const std::vector<double>& p);
};

void setOpenCv(Camera& camera, std::vector<double> p) {
  p.resize(14, 0.0);
  camera.lens = {LensModel::OpenCv, std::move(p), {}};
}

void setBrownConrady(Camera& camera, const std::vector<double>& p) {
  camera.k1 = p[0];
  camera.k2 = p.size() > 1 ? p[1] : 0.0;
  camera.p1 = p.size() > 2 ? p[2] : 0.0;
  camera.p2 = p.size() > 3 ? p[3] : 0.0;
}

void setFullOpenCv(Camera& camera, const std::vector<double>& p) {
  if (p[5] != 0.0 || p[6] != 0.0 || p[7] != 0.0) return setOpenCv(camera, p);
  setBrownConrady(camera, {p[0], p[1], p[2], p[3]});
  camera.k3 = p[4];
}

void setFisheye(Camera& camera, const std::vector<double>& p) {
  camera.lens = {LensModel::OpenCvFisheye, p, {}};
  camera.lens.parameters.resize(4, 0.0);
}

const std::map<std::string, Model>& models() {
  static const std::map<std::string, Model> kModels = {
      {"SIMPLE_PINHOLE", {true, 0, [](Camera&, const std::vector<double>&) {}}},
      {"PINHOLE", {false, 0, [](Camera&, const std::vector<double>&) {}}},
      {"SIMPLE_RADIAL", {true, 1, setBrownConrady}},
      {"RADIAL", {true, 2, setBrownConrady}},
      {"OPENCV", {false, 4, setBrownConrady}},
      {"FULL_OPENCV", {false, 8, setFullOpenCv}},
      {"OPENCV_FISHEYE", {false, 4, setFisheye}},
      {"SIMPLE_RADIAL_FISHEYE", {true, 1, setFisheye}},
      {"RADIAL_FISHEYE", {true, 2, setFisheye}},
      {"FOV",
       {false, 1,
        [](Camera& c, const std::vector<double>& p) {
          c.lens = {LensModel::Fov, p, {}};
        }}},
      {"THIN_PRISM_FISHEYE", {false, 8, [](Camera& c, const std::vector<double>& p) {
                                c.lens = {LensModel::ThinPrismFisheye, p, {}};
                              }}}};
  return kModels;
}

// CAMERA_ID MODEL WIDTH HEIGHT PARAMS...
Camera cameraOf(WordLine& line) {
  const std::string name = line.word("a camera's model");
  const auto model = models().find(name);
  if (model == models().end()) line.refuse(unreadLens(name));
  Camera camera;
  const std::int64_t sides[] = {line.whole("a width"), line.whole("a height")};
  for (const std::int64_t side : sides) {
    if (side < 1 || side > 65535) line.refuse("a side of an image must be 1 to 65535 pixels");
  }
  camera.width = static_cast<std::int32_t>(sides[0]);
  camera.height = static_cast<std::int32_t>(sides[1]);
  const std::vector<double> p = line.numbers("a parameter");
  const std::size_t ofMatrix = model->second.oneFocal ? 3 : 4;
  if (p.size() != ofMatrix + model->second.others) {
    line.refuse("a camera " + name + " has " + std::to_string(ofMatrix + model->second.others) + " parameters, not " +
                std::to_string(p.size()));
  }
  camera.fx = p[0];
  camera.fy = p[ofMatrix - 3];
  camera.cx = p[ofMatrix - 2] - kHalfPixel;
  camera.cy = p[ofMatrix - 1] - kHalfPixel;
  model->second.setLens(camera, {p.begin() + static_cast<std::ptrdiff_t>(ofMatrix), p.end()});
  return camera;
}

struct Image {
  std::string name;
  std::int64_t camera = 0;
  Pose pose;
};

// A sensor of a rig with its pose before the rig.
struct Sensor {
  std::int64_t camera = 0;
  Pose pose;
};

struct ColmapModel {
  std::map<std::int64_t, Camera> cameras = {};
  std::map<std::int64_t, Image> images = {};
  std::map<std::int64_t, std::vector<Sensor>> rigs = {};
  bool hasFrames = false;
};

void readCameras(const NamedText& file, ColmapModel& model) {
  LineReader lines(file.text);
  for (auto next = lines.nextFilled(); next; next = lines.nextFilled()) {
    WordLine& line = *next;
    const std::int64_t id = line.whole("a camera's number");
    if (!model.cameras.emplace(id, cameraOf(line)).second)
      line.refuse("the camera " + std::to_string(id) + " stands twice");
  }
}

// X Y POINT3D_ID for each point. Without the empty line of an image without points the next image would be taken for
// it.
void skipPoints(WordLine line) {
  std::size_t count = 0;
  std::string last;
  for (; !line.atEnd(); ++count) last = line.word("a point");
  if (count % 3 != 0 || (count > 0 && !finiteNumber(last)))
    line.refuse("must be the points of the image before it, three numbers each, or be empty");
}

// IMAGE_ID QW QX QY QZ TX TY TZ CAMERA_ID NAME, each followed by a line of its points, which may be empty.
void readImages(const NamedText& file, ColmapModel& model) {
  LineReader lines(file.text);
  for (auto next = lines.nextFilled(); next; next = lines.nextFilled()) {
    WordLine& line = *next;
    const std::int64_t id = line.whole("an image's number");
    Image image;
    image.pose = line.pose();
    image.camera = line.whole("a camera's number");
    image.name = line.word("a name");
    while (!line.atEnd()) image.name += " " + line.word("a name");
    if (!model.images.emplace(id, image).second) line.refuse("the image " + std::to_string(id) + " stands twice");
    if (const auto points = lines.next()) skipPoints(*points);
  }
}

bool isCamera(WordLine& line) {
  const std::string type = line.word("a sensor's type");
  if (type != "CAMERA" && type != "IMU")
    line.refuse("a sensor must be CAMERA or IMU, and is \"" + type.substr(0, 40) + "\"");
  return type == "CAMERA";
}

// RIG_ID NUM_SENSORS REF_TYPE REF_ID, then for each other sensor TYPE ID HAS_POSE [QW QX QY QZ TX TY TZ].
void readRigs(const NamedText& file, ColmapModel& model) {
  LineReader lines(file.text);
  for (auto next = lines.nextFilled(); next; next = lines.nextFilled()) {
    WordLine& line = *next;
    const std::int64_t id = line.whole("a rig's number");
    const std::int64_t count = line.whole("a count of sensors");
    std::vector<Sensor> sensors;
    for (std::int64_t n = 0; n < count; ++n) {
      const bool isOne = isCamera(line);
      Sensor sensor;
      sensor.camera = line.whole("a sensor's number");
      if (n > 0) {
        const bool hasPose = line.whole("whether there is a pose (0 or 1)") != 0;
        if (!hasPose && isOne) line.refuse("the camera " + std::to_string(sensor.camera) + " has no pose in its rig");
        if (hasPose) sensor.pose = line.pose();
      }
      const auto isSame = [&](const Sensor& other) { return other.camera == sensor.camera; };
      if (isOne && std::any_of(sensors.begin(), sensors.end(), isSame))
        line.refuse("the camera " + std::to_string(sensor.camera) + " stands twice in its rig");
      if (isOne) sensors.push_back(sensor);
    }
    if (!model.rigs.emplace(id, std::move(sensors)).second)
      line.refuse("the rig " + std::to_string(id) + " stands twice");
  }
}

// FRAME_ID RIG_ID QW QX QY QZ TX TY TZ NUM_DATA, then TYPE SENSOR_ID DATA_ID for each. The images take their poses from
// here.
void readFrames(const NamedText& file, ColmapModel& model) {
  LineReader lines(file.text);
  for (auto next = lines.nextFilled(); next; next = lines.nextFilled()) {
    WordLine& line = *next;
    line.whole("a frame's number");
    const auto rig = model.rigs.find(line.whole("a rig's number"));
    if (rig == model.rigs.end()) line.refuse("names a rig that rigs.txt does not have");
    const Pose rigFromWorld = line.pose();
    const std::int64_t count = line.whole("a count of images");
    for (std::int64_t n = 0; n < count; ++n) {
      const bool isOne = isCamera(line);
      const std::int64_t sensor = line.whole("a sensor's number");
      const auto image = model.images.find(line.whole("an image's number"));
      if (!isOne) continue;
      const auto found =
          std::find_if(rig->second.begin(), rig->second.end(), [&](const Sensor& s) { return s.camera == sensor; });
      if (found == rig->second.end()) line.refuse("names a camera that its rig does not have");
      if (image == model.images.end()) line.refuse("names an image that images.txt does not have");
      image->second.camera = sensor;
      image->second.pose = after(found->pose, rigFromWorld);
    }
  }
  model.hasFrames = true;
}

struct Kind {
  const char* name;
  void (*read)(const NamedText& file, ColmapModel& model);
};

// In the order in which each needs those before it.
constexpr Kind kKinds[] = {
    {"cameras.txt", readCameras}, {"images.txt", readImages}, {"rigs.txt", readRigs}, {"frames.txt", readFrames}};

const NamedText* fileNamed(std::span<const NamedText> files, const char* name) {
  const auto found =
      std::find_if(files.begin(), files.end(), [&](const NamedText& f) { return f.file.filename() == name; });
  return found == files.end() ? nullptr : &*found;
}

void refuseOthers(std::span<const NamedText> files) {
  for (const NamedText& file : files) {
    const auto isNamed = [&](const Kind& kind) { return file.file.filename() == kind.name; };
    if (std::any_of(std::begin(kKinds), std::end(kKinds), isNamed)) continue;
    throw BadFile{{"is none of cameras.txt, images.txt, rigs.txt and frames.txt; export the model as text",
                   file.file.string(),
                   {}}};
  }
}

// A model of rigs alone has the poses of cameras too.
void requireModel(std::span<const NamedText> files) {
  if (fileNamed(files, "cameras.txt") == nullptr) throw BadFile{{"the model lacks cameras.txt; give that file too"}};
  if (fileNamed(files, "images.txt") == nullptr && fileNamed(files, "rigs.txt") == nullptr)
    throw BadFile{{"the model lacks images.txt; give that file too"}};
}

FoundCamera found(const ColmapModel& model, std::int64_t id, const std::string& name, const Pose& pose) {
  const auto camera = model.cameras.find(id);
  if (camera == model.cameras.end())
    throw BadFile{{name + " has the camera " + std::to_string(id) + ", which cameras.txt does not have"}};
  FoundCamera result{camera->second, pose, {}};
  result.camera.name = name;
  return result;
}

}  // namespace

FoundCameras readColmap(std::span<const NamedText> files, const ImportOptions&) {
  refuseOthers(files);
  requireModel(files);
  ColmapModel model;
  for (const Kind& kind : kKinds) {
    const NamedText* file = fileNamed(files, kind.name);
    if (file != nullptr) inFile(file->file, [&] { kind.read(*file, model); });
  }
  FoundCameras result;
  if (model.images.empty() && model.rigs.size() == 1) {
    for (const Sensor& sensor : model.rigs.begin()->second) {
      const std::string name = "camera" + std::to_string(sensor.camera);
      result.cameras.push_back(found(model, sensor.camera, name, sensor.pose));
    }
  } else {
    for (const auto& [id, image] : model.images)
      result.cameras.push_back(found(model, image.camera, image.name, image.pose));
  }
  if (model.hasFrames) result.remarks.emplace_back("poses are those of the rigs in their frames");
  return result;
}

}  // namespace quel
