#include "quel/cameras/CameraTypes.h"

#include "quelplatform/qmEnv/qmCamera.h"

namespace quel {

namespace {

constexpr std::int32_t kLastTypeSearched = 1000;
constexpr std::int32_t kFirstFreeType = 9;

}  // namespace

std::optional<std::int32_t> cameraTypeOfSize(std::int32_t width, std::int32_t height) {
  const auto hasSize = [&](std::int32_t type) {
    CameraInfo info{};
    return getCameraInfo(static_cast<OH_CAMERA_TYPE>(type), info) && info.width == width && info.height == height;
  };
  if (hasSize(getDefCameraType())) return getDefCameraType();
  for (std::int32_t type = 1; type <= kLastTypeSearched; ++type) {
    if (hasSize(type)) return type;
  }
  return std::nullopt;
}

std::string newCameraType(std::int32_t width, std::int32_t height) {
  std::int32_t type = kFirstFreeType;
  CameraInfo info{};
  while (type < kLastTypeSearched && getCameraInfo(static_cast<OH_CAMERA_TYPE>(type), info)) ++type;
  const std::string size = std::to_string(width) + " x " + std::to_string(height);
  return "[Camera " + std::to_string(type) + "]\nName = Head of " + size + "\nWidth = " + std::to_string(width) +
         "\nHeight = " + std::to_string(height);
}

}  // namespace quel
