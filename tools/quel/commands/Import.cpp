// `quel import`: from calibrations of other programs to a file of cameras.
#include <fmt/core.h>

#include <charconv>
#include <cmath>
#include <memory>

#include "commands/Calibrations.h"
#include "commands/Commands.h"
#include "commands/Units.h"
#include "files/Failure.h"
#include "files/Files.h"
#include "models/CameraTypes.h"
#include "quel/cameras/CameraFile.h"
#include "quel/cameras/CameraTypes.h"
#include "quel/formats/Import.h"

namespace queltool {

namespace {

struct Arguments {
  std::string format;
  std::vector<std::filesystem::path> files;
  std::filesystem::path out;
  std::string size;
  std::vector<std::string> cameras;
  std::string unit;
  std::string baseline;
  std::filesystem::path poses;
  bool fisheye = false;
  bool keepWorld = false;
  bool addCameraType = false;
};

std::optional<double> numberIn(std::string_view text) {
  double value = 0.0;
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (failure != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) return std::nullopt;
  return value;
}

std::optional<std::array<std::int32_t, 2>> sizeOf(const std::string& text) {
  const std::size_t cross = text.find('x');
  if (cross == std::string::npos) return std::nullopt;
  std::array<std::int32_t, 2> size{};
  const char* const begins[] = {text.data(), text.data() + cross + 1};
  const char* const ends[] = {text.data() + cross, text.data() + text.size()};
  for (std::size_t i = 0; i < 2; ++i) {
    const auto [end, failure] = std::from_chars(begins[i], ends[i], size[i]);
    if (failure != std::errc() || end != ends[i] || size[i] < 1 || size[i] > 65535) return std::nullopt;
  }
  return size;
}

std::optional<quel::Baseline> baselineOf(const std::string& text) {
  const std::size_t comma = text.find(','), equals = text.rfind('=');
  if (comma == std::string::npos || equals == std::string::npos || equals < comma) return std::nullopt;
  const auto millimetres = numberIn(std::string_view(text).substr(equals + 1));
  if (!millimetres || *millimetres <= 0.0) return std::nullopt;
  return quel::Baseline{text.substr(0, comma), text.substr(comma + 1, equals - comma - 1), *millimetres};
}

std::string sizeText(const std::string& text) {
  return sizeOf(text) ? "" : "must be two numbers of pixels such as 1280x1024, and is \"" + text + "\"";
}

std::string baselineText(const std::string& text) {
  return baselineOf(text) ? "" : "must be two names and a length such as left,right=250, and is \"" + text + "\"";
}

quel::ImportOptions optionsOf(const Arguments& arguments) {
  quel::ImportOptions options;
  if (!arguments.size.empty()) options.size = sizeOf(arguments.size);
  options.cameras = arguments.cameras;
  if (!arguments.unit.empty()) options.millimetresPerUnit = millimetresOf(arguments.unit);
  if (!arguments.baseline.empty()) options.baseline = baselineOf(arguments.baseline);
  options.fisheye = arguments.fisheye;
  options.keepWorld = arguments.keepWorld;
  options.poses = arguments.poses;
  return options;
}

void tellType(const quel::Camera& camera, bool add) {
  if (add) return addCameraType(camera.width, camera.height);
  if (quel::cameraTypeOfSize(camera.width, camera.height)) return;
  fmt::print("  no camera type has images of {} x {} pixels, and a head needs one; --add-camera-type adds it\n",
             camera.width, camera.height);
}

void run(const Arguments& arguments) {
  if (!arguments.unit.empty() && !arguments.baseline.empty())
    throw WrongUsage("--baseline", "says what --unit says too");
  const auto imported = quel::importCameras(formatNamed(arguments.format), arguments.files, optionsOf(arguments));
  if (!imported) throw Failure(imported.error().message());
  writeWholeFile(arguments.out, quel::textOfCameras(imported.value().cameras));
  fmt::print("{}: written\n", arguments.out.string());
  for (const std::string& remark : imported.value().remarks) fmt::print("  {}\n", remark);
  tellType(imported.value().cameras[0], arguments.addCameraType);
}

}  // namespace

void defineImport(Command& command) {
  auto arguments = std::make_shared<Arguments>();
  command.option("FORMAT", arguments->format, "What made the calibration").required().oneOf(namesOfFormats());
  command.input("FILE", arguments->files, "Its files; for colmap also the folder of a model in text").required();
  command.output("-o,--out", arguments->out, "The file of cameras to write", ".json", Replaces::OtherFiles).required();
  command.option("--size", arguments->size, "Width and height of the images, where the files do not say")
      .check(sizeText, "WxH");
  command.option("--cameras", arguments->cameras, "The three that are taken, by name, where there are more")
      .separatedBy(',')
      .count(3, 3);
  command.option("--unit", arguments->unit, "What lengths are in, where the files do not say").oneOf(namesOfUnits());
  command
      .option("--baseline", arguments->baseline, "Instead: how far two cameras stand from each other, in millimetres")
      .check(baselineText, "A,B=MM");
  command.input("--poses", arguments->poses, "Poses in JSON, where the files have none");
  command.flag("--fisheye", arguments->fisheye, "Four coefficients of OpenCV are those of a fisheye");
  command.flag("--keep-world", arguments->keepWorld, "Leave the world as the files have it");
  command.flag("--add-camera-type", arguments->addCameraType,
               "Add the size of the images to the camera types, if there is none of it");
  command.footer(
      "\nFORMAT is json (a file of cameras), opencv (YAML, XML or JSON: a file for each camera, with R and T or with "
      "the\n"
      "stereo pairs behind them, or two stereo pairs), ros (camera_info, with --poses), mrcal (.cameramodel), kalibr\n"
      "(camchain) or colmap (cameras.txt and images.txt, rigs.txt and frames.txt). Cameras are named as in the files, "
      "or\n"
      "as the files are. The head's world has its origin where the optical axes come closest, Z from there to the\n"
      "cameras and Y up in their images; camera 0 is the uppermost, 1 the left, 2 the right one.\n"
      "Poses are {\"cameras\": [{\"name\", \"rotation\" (3 rows), \"translation\"}, ...]}, x_cam = R X + t in "
      "millimetres.\n\n"
      "Example:\n"
      "  quel import json cameras.json -o again.json --keep-world");
  command.runs(arguments, run);
}

}  // namespace queltool
