// What the readers of calibrations have in common. Hidden in the library. They throw `BadFile`.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "quel/formats/Document.h"
#include "quel/formats/Import.h"
#include "quel/formats/Poses.h"

namespace quel {

/// A camera of a file: its matrix and lens are set; the size is 0 and the pose absent where the file does not say.
struct FoundCamera {
  Camera camera;
  std::optional<Pose> pose = {};  ///< Camera from world, lengths in the units of the file.
  std::filesystem::path file = {};
};

/// The cameras of some files. Units are those of the files: millimetres where they say so, else `unit` is 0.
struct FoundCameras {
  std::vector<FoundCamera> cameras = {};
  double millimetresPerUnit = 0.0;
  std::vector<std::string> remarks = {};
};

/// Runs `read` on the document of `file`; what it throws gets the file's name.
template <typename Read>
auto inFile(const std::filesystem::path& file, Read read) {
  try {
    return read();
  } catch (BadFile& bad) {
    if (bad.error.file.empty()) bad.error.file = file.string();
    throw;
  }
}

/// Gives `camera` the lens of OpenCV with these 4, 5, 8, 12 or 14 coefficients, in its order. What the usual lens holds
/// becomes that one.
void setOpenCvLens(Camera& camera, const std::vector<double>& coefficients, const Field& field);

/// The same for the four of a fisheye.
void setFisheyeLens(Camera& camera, const std::vector<double>& coefficients, const Field& field);

/// The camera's matrix from one of 3 x 3.
void setMatrix(Camera& camera, const Field& field);

/// Refuses skew in the matrix `field` of a lens that OpenCV projects without it, so that it would be a guess.
void refuseSkew(const Camera& camera, const Field& field);

/// The camera's matrix from fx, fy, cx, cy.
void setFocals(Camera& camera, std::span<const double> values);

/// A side of an image.
std::int32_t sideOf(const Field& field);

/// The lenses of the formats that are not read, in words of a refusal.
std::string unreadLens(const std::string& name);

FoundCameras readOpenCv(std::span<const NamedText> files, const ImportOptions& options);
FoundCameras readRos(std::span<const NamedText> files, const ImportOptions& options);
FoundCameras readMrcal(std::span<const NamedText> files, const ImportOptions& options);
FoundCameras readKalibr(std::span<const NamedText> files, const ImportOptions& options);
FoundCameras readColmap(std::span<const NamedText> files, const ImportOptions& options);
FoundCameras readJson(std::span<const NamedText> files, const ImportOptions& options);

}  // namespace quel
