#include "quel/formats/Import.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <system_error>

#include "quel/cameras/CheckHead.h"
#include "quel/formats/FoundCameras.h"
#include "quel/formats/HeadWorld.h"

namespace quel {

namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t kMaxFileSize = std::uintmax_t{64} << 20;

struct Format {
  CalibrationFormat format;
  std::string_view name;
  FoundCameras (*read)(std::span<const NamedText> files, const ImportOptions& options);
};

// In the order of CalibrationFormat.
constexpr Format kFormats[] = {
    {CalibrationFormat::Json, "json", readJson},       {CalibrationFormat::OpenCv, "opencv", readOpenCv},
    {CalibrationFormat::Ros, "ros", readRos},          {CalibrationFormat::Mrcal, "mrcal", readMrcal},
    {CalibrationFormat::Kalibr, "kalibr", readKalibr}, {CalibrationFormat::Colmap, "colmap", readColmap}};

const Format& formatOf(CalibrationFormat format) { return kFormats[static_cast<std::size_t>(format)]; }

[[noreturn]] void refuse(const std::string& what, const fs::path& file = {}) {
  throw BadFile{{what, file.string(), {}}};
}

std::string namesOf(const std::vector<FoundCamera>& cameras) {
  constexpr std::size_t kMost = 12;
  std::string text;
  for (std::size_t i = 0; i < std::min(cameras.size(), kMost); ++i)
    text += (i == 0 ? "" : ", ") + cameras[i].camera.name;
  return cameras.size() > kMost ? text + ", ..." : text;
}

void refuseOneTwice(const std::vector<FoundCamera>& cameras) {
  for (const FoundCamera& one : cameras) {
    const auto isSame = [&](const FoundCamera& c) { return c.file == one.file && c.camera.name == one.camera.name; };
    if (!one.file.empty() && std::count_if(cameras.begin(), cameras.end(), isSame) > 1)
      refuse("is given twice", one.file);
  }
}

std::array<FoundCamera, 3> chosen(const FoundCameras& found, const ImportOptions& options) {
  const std::vector<FoundCamera>& all = found.cameras;
  if (options.cameras.empty()) {
    refuseOneTwice(all);
    if (all.size() == 3) return {all[0], all[1], all[2]};
    if (all.size() > 3)
      refuse("there are " + std::to_string(all.size()) + " cameras; choose three with --cameras A,B,C among " +
             namesOf(all));
    refuse("a head has three cameras, and the files hold " + std::to_string(all.size()) +
           (all.empty() ? "" : " (" + namesOf(all) + ")") +
           "; calibrate all three together and give the files of each");
  }
  if (options.cameras.size() != 3)
    refuse("a head has three cameras, so three names are chosen, not " + std::to_string(options.cameras.size()));
  std::array<FoundCamera, 3> result;
  for (std::size_t i = 0; i < 3; ++i) {
    const std::string& name = options.cameras[i];
    const auto isCalled = [&](const FoundCamera& c) { return c.camera.name == name; };
    const auto at = std::find_if(all.begin(), all.end(), isCalled);
    if (at == all.end()) refuse("there is no camera \"" + name + "\"; there are " + namesOf(all));
    if (std::count(options.cameras.begin(), options.cameras.end(), name) > 1)
      refuse("the camera \"" + name + "\" is chosen twice");
    if (std::count_if(all.begin(), all.end(), isCalled) > 1)
      refuse("there are two cameras \"" + name + "\"; give the files other names");
    result[i] = *at;
  }
  return result;
}

// Of the file of poses: {"cameras": [{"name", "rotation", "translation"}, ...]}. Their lengths have a unit of their
// own, so none of the calibration's poses stays beside them.
void givePoses(std::array<FoundCamera, 3>& cameras, const std::string& text) {
  for (FoundCamera& found : cameras) found.pose.reset();
  const Node node = parseDocument(text);
  for (const Field& entry : Field(node, "").at({"cameras"}).items()) {
    const std::string name = entry.at({"name"}).text();
    const std::vector<double> r = entry.at({"rotation", "R"}).numbers(9);
    const std::vector<double> t = entry.at({"translation", "T", "t"}).numbers(3);
    for (FoundCamera& found : cameras) {
      if (found.camera.name == name) found.pose = Pose{matrixOf(r), {t[0], t[1], t[2]}};
    }
  }
}

void requirePoses(const std::array<FoundCamera, 3>& cameras) {
  for (const FoundCamera& found : cameras) {
    if (found.pose) continue;
    refuse("the camera \"" + found.camera.name +
               "\" has no pose; give the poses with --poses FILE: {\"cameras\": [{\"name\": \"" + found.camera.name +
               "\", \"rotation\": [[1, 0, 0], [0, 1, 0], [0, 0, 1]], \"translation\": [0, 0, 0]}, ...]}, x_cam = R X + "
               "t in millimetres",
           found.file);
  }
}

std::string sizeText(std::int32_t width, std::int32_t height) {
  return std::to_string(width) + " x " + std::to_string(height);
}

void takeSize(FoundCamera& found, const std::array<std::int32_t, 2>& size) {
  Camera& camera = found.camera;
  if (camera.width != 0 && (camera.width != size[0] || camera.height != size[1]))
    refuse("the images of the camera \"" + camera.name + "\" have " + sizeText(camera.width, camera.height) +
               " pixels, and --size says " + sizeText(size[0], size[1]) + "; leave --size out",
           found.file);
  camera.width = size[0];
  camera.height = size[1];
}

void requireSizes(std::array<FoundCamera, 3>& cameras, const ImportOptions& options) {
  for (FoundCamera& found : cameras) {
    if (options.size) takeSize(found, *options.size);
    if (found.camera.width == 0) refuse("does not say how large the images are; say so with --size WxH", found.file);
  }
  const Camera& first = cameras[0].camera;
  for (const FoundCamera& found : cameras) {
    const Camera& camera = found.camera;
    if (camera.width == first.width && camera.height == first.height) continue;
    refuse("the cameras of a head have images of one size, but " + first.name + " has " +
           sizeText(first.width, first.height) + " and " + camera.name + " has " +
           sizeText(camera.width, camera.height) + " pixels; crop the images to one size and calibrate these");
  }
}

double distanceOf(const FoundCamera& a, const FoundCamera& b) {
  const Vec3 p = inverse(*a.pose).translation, q = inverse(*b.pose).translation;
  return std::hypot(p[0] - q[0], p[1] - q[1], p[2] - q[2]);
}

const FoundCamera& called(const std::vector<FoundCamera>& cameras, const std::string& name) {
  const auto at =
      std::find_if(cameras.begin(), cameras.end(), [&](const FoundCamera& c) { return c.camera.name == name; });
  if (at == cameras.end()) refuse("--baseline names the camera \"" + name + "\"; there are " + namesOf(cameras));
  if (!at->pose) refuse("--baseline needs a pose of the camera \"" + name + "\"");
  return *at;
}

void requireLength(double value, const char* what) {
  if (!(value > 0.0) || !std::isfinite(value)) refuse(std::string(what) + " must be a finite number above 0");
}

void requireScale(const ImportOptions& options) {
  if (options.millimetresPerUnit) requireLength(*options.millimetresPerUnit, "the millimetres of --unit");
  if (options.baseline) requireLength(options.baseline->millimetres, "the millimetres of --baseline");
  if (options.millimetresPerUnit && options.baseline)
    refuse("--baseline says what --unit says too; leave one of them out");
}

double unitOf(const FoundCameras& found, const ImportOptions& options) {
  if (!options.poses.empty()) {
    if (options.baseline) refuse("the poses of --poses have a scale of their own; leave --baseline out");
    return options.millimetresPerUnit.value_or(1.0);
  }
  if (found.millimetresPerUnit > 0.0) {
    if (options.baseline || options.millimetresPerUnit)
      refuse("the files say what their lengths are in; leave --unit and --baseline out");
    return found.millimetresPerUnit;
  }
  if (options.baseline) {
    const double distance =
        distanceOf(called(found.cameras, options.baseline->first), called(found.cameras, options.baseline->second));
    if (!(distance > 0.0)) refuse("--baseline names cameras that stand in one place");
    return options.baseline->millimetres / distance;
  }
  if (options.millimetresPerUnit) return *options.millimetresPerUnit;
  refuse(
      "the files do not say what their lengths are in; say so with --unit mm, cm, m or in, or with --baseline A,B=MM");
}

std::array<Camera, 3> posed(const std::array<FoundCamera, 3>& found, double unit) {
  std::array<Camera, 3> cameras;
  for (std::size_t i = 0; i < 3; ++i) {
    Camera& camera = cameras[i] = found[i].camera;
    camera.rotation = found[i].pose->rotation;
    for (std::size_t k = 0; k < 3; ++k) camera.translation[k] = unit * found[i].pose->translation[k];
    const std::string wrong = checkCamera(camera);
    if (!wrong.empty()) refuse("the camera \"" + camera.name + "\" " + wrong, found[i].file);
  }
  return cameras;
}

ImportedCameras imported(CalibrationFormat format, std::span<const NamedText> files, const ImportOptions& options,
                         const std::string& poses) {
  requireScale(options);
  FoundCameras found = formatOf(format).read(files, options);
  std::array<FoundCamera, 3> three = chosen(found, options);
  if (!options.poses.empty()) inFile(options.poses, [&] { givePoses(three, poses); });
  requireSizes(three, options);
  requirePoses(three);
  ImportedCameras result{posed(three, unitOf(found, options)), std::move(found.remarks)};
  const std::string wrong = takeHeadsPlace(result.cameras, options.keepWorld, result.remarks);
  if (!wrong.empty()) refuse(wrong);
  return result;
}

NamedText readText(const fs::path& file) {
  std::error_code failure;
  if (!fs::is_regular_file(file, failure)) refuse(failure ? failure.message() : "is no regular file", file);
  if (fs::file_size(file, failure) > kMaxFileSize) refuse("is larger than 64 MiB, so it is no calibration", file);
  std::ifstream in(file, std::ios::binary);
  std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  if (!in) refuse("cannot be read; check its permissions", file);
  return {file, std::move(text)};
}

// A folder stands for the files of a model in it.
std::vector<fs::path> filesIn(const fs::path& path) {
  std::error_code none;
  if (!fs::is_directory(path, none)) return {path};
  std::vector<fs::path> files;
  for (const char* name : {"cameras.txt", "images.txt", "rigs.txt", "frames.txt"}) {
    if (fs::exists(path / name, none)) files.push_back(path / name);
  }
  if (files.empty()) refuse("is a folder without cameras.txt and images.txt", path);
  return files;
}

std::vector<NamedText> textsOf(CalibrationFormat format, std::span<const fs::path> paths) {
  std::vector<NamedText> texts;
  for (const fs::path& path : paths) {
    const auto files = format == CalibrationFormat::Colmap ? filesIn(path) : std::vector<fs::path>{path};
    for (const fs::path& file : files) texts.push_back(readText(file));
  }
  return texts;
}

constexpr auto kAllFormats = [] {
  std::array<CalibrationFormat, std::size(kFormats)> formats{};
  for (std::size_t i = 0; i < formats.size(); ++i) formats[i] = kFormats[i].format;
  return formats;
}();

}  // namespace

std::string_view calibrationFormatName(CalibrationFormat format) { return formatOf(format).name; }

std::span<const CalibrationFormat> calibrationFormats() { return kAllFormats; }

Result<ImportedCameras> importTexts(CalibrationFormat format, std::span<const NamedText> files,
                                    const ImportOptions& options, const std::string& poses) {
  try {
    return imported(format, files, options, poses);
  } catch (const BadFile& bad) {
    return bad.error;
  }
}

Result<ImportedCameras> importCameras(CalibrationFormat format, std::span<const fs::path> files,
                                      const ImportOptions& options) {
  try {
    const std::vector<NamedText> texts = textsOf(format, files);
    return imported(format, texts, options, options.poses.empty() ? std::string() : readText(options.poses).text);
  } catch (const BadFile& bad) {
    return bad.error;
  }
}

}  // namespace quel
