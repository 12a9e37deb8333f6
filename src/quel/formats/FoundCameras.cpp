#include "quel/formats/FoundCameras.h"

#include <algorithm>
#include <cmath>

#include "quel/cameras/CameraFile.h"

namespace quel {

void setOpenCvLens(Camera& camera, const std::vector<double>& coefficients, const Field& field) {
  const std::size_t count = coefficients.size();
  if (count != 0 && count != 4 && count != 5 && count != 8 && count != 12 && count != 14) {
    field.refuse("must be 4, 5, 8, 12 or 14 coefficients, and holds " + std::to_string(count));
  }
  std::vector<double> k = coefficients;
  k.resize(14, 0.0);
  if (std::all_of(k.begin() + 5, k.end(), [](double value) { return value == 0.0; })) {
    camera.k1 = k[0];
    camera.k2 = k[1];
    camera.p1 = k[2];
    camera.p2 = k[3];
    camera.k3 = k[4];
    return;
  }
  camera.lens = {LensModel::OpenCv, std::move(k), {}};
}

void setFisheyeLens(Camera& camera, const std::vector<double>& coefficients, const Field& field) {
  if (coefficients.size() != 4) {
    field.refuse("must be the 4 coefficients of a fisheye, and holds " + std::to_string(coefficients.size()));
  }
  camera.lens = {LensModel::OpenCvFisheye, coefficients, {}};
}

void setMatrix(Camera& camera, const Field& field) {
  const std::vector<double> k = field.numbers(9);
  if (k[3] != 0.0 || k[6] != 0.0 || k[7] != 0.0 || k[8] != 1.0) {
    field.refuse("must be a camera's matrix [fx s cx; 0 fy cy; 0 0 1]");
  }
  setFocals(camera, std::vector<double>{k[0], k[4], k[2], k[5]});
  camera.skew = k[1];
}

void refuseSkew(const Camera& camera, const Field& field) {
  if (camera.skew == 0.0 || camera.lens.model == LensModel::OpenCvFisheye) return;
  field.refuse("has a skew, which OpenCV leaves out where it projects; set it to 0, or give the cameras as json");
}

void setFocals(Camera& camera, std::span<const double> values) {
  camera.fx = values[0];
  camera.fy = values[1];
  camera.cx = values[2];
  camera.cy = values[3];
}

std::int32_t sideOf(const Field& field) { return field.wholeNumber(1, 65535); }

std::string unreadLens(const std::string& name) {
  return "is the lens \"" + name.substr(0, 60) + "\", which is not read; calibrate with another, or convert it";
}

FoundCameras readJson(std::span<const NamedText> files, const ImportOptions&) {
  FoundCameras found;
  found.millimetresPerUnit = 1.0;
  for (const NamedText& file : files) {
    const auto cameras = parseCameraList(file.text);
    if (!cameras) throw BadFile{{cameras.error().cause, file.file.string(), {}}};
    for (const Camera& camera : cameras.value()) {
      found.cameras.push_back({camera, Pose{camera.rotation, camera.translation}, file.file});
    }
  }
  return found;
}

}  // namespace quel
