// Calibrations of other programs. Input: a letter that says the format and the options, then the files, each behind a
// line
// "%%" but the first one; of ROS the last one of four is that of the poses.
//
// Losses: all that is no camera of the three that are taken.
#include <cmath>

#include "fuzz/support/Fuzzing.h"
#include "quel/cameras/CameraFile.h"
#include "quel/formats/Import.h"

namespace {

using quel::CalibrationFormat;
using quel::Camera;

constexpr std::string_view kBetween = "\n%%\n";
// What the values of a document take beside its text: the shortest are two bytes.
constexpr std::size_t kTimesValues = 160;

std::vector<quel::NamedText> filesOf(std::string_view text, CalibrationFormat format) {
  constexpr const char* kNames[] = {"cameras.txt", "images.txt", "rigs.txt", "frames.txt"};
  std::vector<quel::NamedText> files;
  while (files.size() < std::size(kNames)) {
    const std::size_t end = std::min(text.find(kBetween), text.size());
    const std::size_t n = files.size();
    files.push_back({format == CalibrationFormat::Colmap ? kNames[n] : "f" + std::to_string(n) + ".yml",
                     std::string(text.substr(0, end))});
    if (end == text.size()) break;
    text.remove_prefix(end + kBetween.size());
  }
  return files;
}

quel::ImportOptions optionsOf(std::uint8_t letter, CalibrationFormat format) {
  quel::ImportOptions options;
  options.keepWorld = (letter & 0x08) != 0;
  options.fisheye = (letter & 0x10) != 0;
  options.size = {{640, 480}};
  if (format == CalibrationFormat::OpenCv) options.millimetresPerUnit = 25.4;
  if ((letter & 0x20) != 0) options.cameras = {"a", "b", "c"};
  if ((letter & 0x80) != 0) options = {};
  if (format == CalibrationFormat::Colmap) options.baseline = quel::Baseline{"a", "b", 100.0};
  return options;
}

void useCameras(const std::array<Camera, 3>& cameras) {
  for (const Camera& camera : cameras) {
    quelfuzz::require(camera.width == cameras[0].width && camera.height == cameras[0].height, "images have one size");
    quelfuzz::require(camera.width > 0 && camera.fx > 0.0 && camera.fy > 0.0, "a camera sees");
    quelfuzz::require(quel::whyNoLens(camera.lens).empty(), "a camera has a sound lens");
  }
}

// The own file holds all of them, bit by bit; in it they stand as they are, for their world was found already.
void readAgain(const std::array<Camera, 3>& cameras) {
  const std::string text = quel::textOfCameras(cameras);
  const auto again = quel::parseCameras(text);
  quelfuzz::require(again.ok(), "written cameras can be read");
  quelfuzz::require(quel::textOfCameras(again.value()) == text, "a camera stays what it was");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const auto formats = quel::calibrationFormats();
  const CalibrationFormat format = formats[(data[0] & 0x07) % formats.size()];
  std::vector<quel::NamedText> files = filesOf(quelfuzz::bytesOf(data, size).substr(1), format);
  quel::ImportOptions options = optionsOf(data[0], format);
  std::string poses;
  if (format == CalibrationFormat::Ros && files.size() == 4) {
    options.poses = "poses.json";
    poses = files.back().text;
    files.pop_back();
  }
  const quelfuzz::MemoryWatch watch;
  const auto imported = quel::importTexts(format, files, options, poses);
  watch.requireAtMost(kTimesValues, 0, size);
  quelfuzz::require(imported.ok() || !imported.error().cause.empty(), "a refused file says why");
  if (!imported) return 0;
  quelfuzz::require(!imported->remarks.empty(), "what was taken for what is said");
  useCameras(imported->cameras);
  readAgain(imported->cameras);
  return 0;
}
