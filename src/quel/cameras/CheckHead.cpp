#include "quel/cameras/CheckHead.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "quel/cameras/CameraTypes.h"
#include "quelplatform/qmEnv/QmWorkPlaceEmbedded.h"

namespace quel {

namespace {

// How far a rotation given in decimals may be from a rotation, per entry of its product with its transpose.
constexpr double kRotationTolerance = 1e-6;
// Cameras nearer to each other than this share of the working distance stand in one place.
constexpr Real kSamePlace = 1e-9L;
// A camera this near to the reference plane, as a share of its distance, cannot be related to the plane.
constexpr Real kOnPlane = 1e-3L;

bool isRotation(const Mat3& r) {
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t k = 0; k < 3; ++k) {
      if (!(std::abs(dot(r[i], r[k]) - (i == k ? 1.0 : 0.0)) <= kRotationTolerance)) return false;
    }
  }
  const Vec3 cross = {r[0][1] * r[1][2] - r[0][2] * r[1][1], r[0][2] * r[1][0] - r[0][0] * r[1][2],
                      r[0][0] * r[1][1] - r[0][1] * r[1][0]};
  return dot(cross, r[2]) > 0.0;
}

bool allFinite(std::initializer_list<double> values) {
  return std::all_of(values.begin(), values.end(), [](double value) { return std::isfinite(value); });
}

std::string sizeText(const Camera& camera) {
  return std::to_string(camera.width) + " x " + std::to_string(camera.height);
}

std::string askForType(const Camera& camera) {
  const std::filesystem::path table = std::filesystem::path(quelplatform::homeDirectory()) / "cameras.ini";
  return "no camera type has images of " + sizeText(camera) + " pixels; add one to " + table.string() + ":\n" +
         newCameraType(camera.width, camera.height);
}

bool identifierLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

}  // namespace

std::string checkCamera(const Camera& c) {
  if (!allFinite({c.fx, c.fy, c.cx, c.cy, c.skew})) return "has intrinsics that are not finite";
  if (c.fx <= 0.0 || c.fy <= 0.0) return "has a focal length that is not greater than 0";
  if (c.width <= 0 || c.height <= 0) return "has no image size";
  if (!allFinite({c.k1, c.k2, c.k3, c.p1, c.p2})) return "has distortion coefficients that are not finite";
  if (!allFinite({c.translation[0], c.translation[1], c.translation[2]})) return "has a translation that is not finite";
  const std::string lens = whyNoLens(c.lens);
  if (!lens.empty()) return "has no sound lens: " + lens;
  if (!isRotation(c.rotation)) {
    return "has a rotation that is none: its rows must be of length 1, at right angles, and right-handed to 1e-6";
  }
  return {};
}

std::string calledCamera(const std::array<Camera, 3>& cameras, std::size_t i) {
  const std::string number = "camera " + std::to_string(i);
  return cameras[i].name.empty() ? number : number + " (" + cameras[i].name + ")";
}

std::string checkOptions(const HeadOptions& o) {
  const std::string& id = o.machineId;
  if (id.empty() || id.size() > sizeof(tag_qmReconsTensorData::machineId) ||
      !std::all_of(id.begin(), id.end(), identifierLetter)) {
    return "the machine identifier must be 1 to 8 letters, digits or '_', and is \"" + id + "\"";
  }
  if (o.blockNumber < 1) return "the block number must be 1 or more, and is " + std::to_string(o.blockNumber);
  if (!(o.workingDistance > 0.0) || !std::isfinite(o.workingDistance)) {
    return "the working distance must be greater than 0";
  }
  if (o.sceneCentre && !allFinite({(*o.sceneCentre)[0], (*o.sceneCentre)[1], (*o.sceneCentre)[2]})) {
    return "the scene's centre must be finite";
  }
  if (o.luts &&
      (!(o.luts->pitch >= 1.0) || !std::isfinite(o.luts->pitch) || o.luts->layers < 1 || o.luts->layers > 64)) {
    return "LUTs need a pitch of 1 pixel or more, and 1 to 64 layers";
  }
  return {};
}

std::string checkCameras(const std::array<Camera, 3>& cameras) {
  for (std::size_t i = 0; i < 3; ++i) {
    const std::string wrong = checkCamera(cameras[i]);
    if (!wrong.empty()) return calledCamera(cameras, i) + " " + wrong;
  }
  for (std::size_t i = 1; i < 3; ++i) {
    if (cameras[i].width != cameras[0].width || cameras[i].height != cameras[0].height) {
      return "the cameras of a head have images of one size, but " + calledCamera(cameras, 0) + " has " +
             sizeText(cameras[0]) + " and " + calledCamera(cameras, i) + " has " + sizeText(cameras[i]) + " pixels";
    }
  }
  return cameraTypeOfSize(cameras[0].width, cameras[0].height) ? std::string() : askForType(cameras[0]);
}

std::string checkScene(const std::array<View, 3>& views, const RealVec3& centre) {
  RealVec3 normal = RealVec3::Zero();
  for (const View& view : views) normal += view.axis;
  normal.normalize();
  for (std::size_t i = 0; i < 3; ++i) {
    const RealVec3 toScene = centre - views[i].centre;
    const std::string camera = "camera " + std::to_string(i);
    if (!(views[i].axis.dot(toScene) > 0.0L)) {
      return "the scene's centre lies behind " + camera +
             "; check that rotation and translation take world points into the camera, which looks along its z axis";
    }
    if (!(normal.dot(toScene) > kOnPlane * toScene.norm())) {
      return camera + " stands in or behind the plane through the scene that the head is referred to";
    }
    const View& next = views[(i + 1) % 3];
    if ((next.centre - views[i].centre).norm() <= kSamePlace * toScene.norm()) {
      return camera + " and camera " + std::to_string((i + 1) % 3) + " stand in one place";
    }
  }
  return {};
}

}  // namespace quel
