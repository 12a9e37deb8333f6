// Calibrations that other programs made, as the cameras of a head.
//
//   json     the file of cameras that this library writes                  names: those of the file
//   opencv   YAML, XML or JSON of OpenCV: intrinsics, and stereo pairs     names: those of the files
//   ros      camera_info YAML of ROS; poses come from elsewhere            names: camera_name
//   mrcal    .cameramodel                                                  names: those of the files
//   kalibr   camchain YAML                                                 names: cam0, cam1, ...
//   colmap   cameras.txt and images.txt, or with rigs.txt and frames.txt   names: those of the images, or of the
//   cameras
//
// What comes out is in millimetres, pixels count from the centre of the top-left pixel, and x_cam = R X + t. Unless it
// is to stay as it is, the world becomes the head's: its origin where the optical axes come closest, Z from there to
// the cameras, Y up in their images, X = Y x Z. Camera 0 is the uppermost, camera 1 the left, camera 2 the right one.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "quel/base/Result.h"
#include "quel/cameras/Camera.h"

namespace quel {

#pragma GCC visibility push(default)

enum class CalibrationFormat : std::int32_t { Json, OpenCv, Ros, Mrcal, Kalibr, Colmap };

/// What the tool calls a format, such as "opencv".
std::string_view calibrationFormatName(CalibrationFormat format);

/// All formats, in their order.
std::span<const CalibrationFormat> calibrationFormats();

/// A file and what it holds.
struct NamedText {
  std::filesystem::path file;
  std::string text;
};

/// That the cameras `first` and `second` stand so far from each other.
struct Baseline {
  std::string first;
  std::string second;
  double millimetres = 0.0;
};

struct ImportOptions {
  std::optional<std::array<std::int32_t, 2>> size = {};  ///< Width and height, where the files do not say.
  std::vector<std::string> cameras = {};                 ///< Names of three cameras; empty where there are no more.
  std::optional<double> millimetresPerUnit = {};         ///< Of lengths whose unit the files do not say.
  std::optional<Baseline> baseline = {};                 ///< Instead, for a scale that is arbitrary.
  bool fisheye = false;                                  ///< Four coefficients of OpenCV are those of a fisheye.
  bool keepWorld = false;                                ///< The world stays as the files have it.
  std::filesystem::path poses = {};                      ///< A file of poses, where the files have none.
};

struct ImportedCameras {
  std::array<Camera, 3> cameras;
  std::vector<std::string> remarks;  ///< What was taken for what, a sentence each.
};

/// The cameras of `files`; a folder stands for the files of COLMAP in it. Fails, with file, place and cause, where a
/// file cannot be read or is damaged, where a lens is none that a head takes (its name is told), where the files leave
/// open what an option must say, and where they do not hold three cameras with images of one size.
Result<ImportedCameras> importCameras(CalibrationFormat format, std::span<const std::filesystem::path> files,
                                      const ImportOptions& options = {});

/// The same of files that were read already. `options.poses` only names the file that `poses` is the text of.
Result<ImportedCameras> importTexts(CalibrationFormat format, std::span<const NamedText> files,
                                    const ImportOptions& options = {}, const std::string& poses = {});

#pragma GCC visibility pop

}  // namespace quel
