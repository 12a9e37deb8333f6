#include "quel/cameras/HeadMaker.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

#include "quel/cameras/CameraTypes.h"
#include "quel/cameras/CheckHead.h"
#include "quel/cameras/Distortion.h"
#include "quel/cameras/Geometry.h"
#include "quel/cameras/HeadLuts.h"
#include "quel/cameras/ImageEdge.h"
#include "quel/cameras/LensLuts.h"
#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelplatform/qmDistort/DistortLutsManager.h"
#include "quelplatform/qmEnv/qmCamera.h"

namespace quel {

namespace {

constexpr std::int32_t kNewestVersion = -17;
constexpr double kUnknown = -1.0;

template <typename Matrix, std::size_t Rows, std::size_t Columns>
void store(const Matrix& from, double (&to)[Rows][Columns]) {
  for (std::size_t i = 0; i < Rows; ++i) {
    for (std::size_t k = 0; k < Columns; ++k) {
      to[i][k] = static_cast<double>(from(static_cast<Eigen::Index>(i), static_cast<Eigen::Index>(k)));
    }
  }
}

template <typename Vector, std::size_t Size>
void store(const Vector& from, double (&to)[Size]) {
  for (std::size_t i = 0; i < Size; ++i) to[i] = static_cast<double>(from[static_cast<Eigen::Index>(i)]);
}

RealMat4 withZeroRow(const RealMat34& projection) {
  RealMat4 result = RealMat4::Zero();
  result.topRows<3>() = projection;
  return result;
}

void fillNormalisation(tag_qmReconsTensorData& tensor, const Scene& scene, const std::array<View, 3>& views) {
  store(scene.centre, tensor.worldCentre);
  tensor.worldScale = static_cast<double>(scene.scale);
  for (std::size_t i = 0; i < 3; ++i) {
    store(views[i].imageCentre, tensor.imageCentre[i]);
    tensor.imageScale[i] = static_cast<double>(views[i].imageScale);
  }
}

void fillOwnPair(tag_qmReconsTensorData& tensor, const Scene& scene, const View& view, std::size_t i) {
  store(RealMat3::Identity(), tensor.planarTransfer[i][i]);
  store(RealMat3::Identity(), tensor.singularTransfer[i][i]);
  tensor.planarDepthScale[i][i] = 1.0;
  tensor.singularDepthScale[i][i] = 1.0;
  store(backToWorld(view, scene.plane), tensor.pairReconstruction[i][i]);
}

void fillPair(tag_qmReconsTensorData& tensor, const PairTables& pair, std::size_t a, std::size_t b) {
  store(pair.planar, tensor.planarTransfer[a][b]);
  store(pair.singular, tensor.singularTransfer[a][b]);
  store(pair.epipole, tensor.epipole[a][b]);
  tensor.planarDepthScale[a][b] = static_cast<double>(pair.planarScale);
  tensor.singularDepthScale[a][b] = static_cast<double>(pair.singularScale);
  store(pair.reconstruction, tensor.pairReconstruction[a][b]);
}

std::string fillPairs(tag_qmReconsTensorData& tensor, const Scene& scene, const std::array<View, 3>& views) {
  tensor.transferFlag = 1;
  tensor.planarFlag = 1;
  tensor.reconsFlag = 1;
  for (std::size_t a = 0; a < 3; ++a) {
    for (std::size_t b = 0; b < 3; ++b) {
      if (a == b) {
        fillOwnPair(tensor, scene, views[a], a);
        continue;
      }
      const PairTables pair = makePair(scene, views[a], views[b]);
      if (!pair.parallax) {
        return "cameras " + std::to_string(a) + " and " + std::to_string(b) +
               " see the scene's centre along one line, so they cannot measure its depth";
      }
      fillPair(tensor, pair, a, b);
    }
  }
  return {};
}

void fillProjections(tag_qmReconsTensorData& tensor, const std::array<View, 3>& views, const Mat4& lutFrame) {
  const RealMat4 worldFromLut =
      Eigen::Map<const Eigen::Matrix<double, 4, 4, Eigen::RowMajor>>(lutFrame[0].data()).cast<Real>();
  store(worldFromLut, tensor.lutFrameTransform);
  for (std::size_t i = 0; i < 3; ++i) {
    const RealMat34 projection = views[i].intrinsics * views[i].pose;
    store(withZeroRow(projection), tensor.projections[i]);
    store(withZeroRow(projection * worldFromLut), tensor.projectionsInLutFrame[i]);
    store(views[i].centre, tensor.cameraLocations[i]);
  }
  tensor.projectionsValid = 1;
}

// Height of the two lower cameras over the world's zero plane: what a load derives where a file lacks it.
double calibrationDistance(const double (&locations)[3][3]) {
  qmCameraOrder order{};
  qmGetCameraIndicesByLocations(locations, &order);
  return std::abs(0.5 * (locations[order.left][2] + locations[order.right][2]));
}

void fillBox(tag_qmReconsTensorData& tensor, const std::array<Camera, 3>& cameras, const HeadOptions& options) {
  double seen = HUGE_VAL;
  for (const Camera& camera : cameras) {
    seen = std::min({seen, 0.5 * camera.width / camera.fx, 0.5 * camera.height / camera.fy});
  }
  seen *= tensor.worldScale;
  const Vec3 half = options.boxHalfSize.value_or(Vec3{seen, seen, 0.4 * seen});
  tensor.reconstBoxCenterX = tensor.worldCentre[0];
  tensor.reconstBoxCenterY = tensor.worldCentre[1];
  tensor.reconstBoxCenterZ = tensor.worldCentre[2];
  tensor.reconstBoxHalfSizeX = half[0];
  tensor.reconstBoxHalfSizeY = half[1];
  tensor.reconstBoxHalfSizeZ = half[2];
}

void fillHeadParameters(tag_qmReconsTensorData& tensor, const HeadOptions& options) {
  tensor.version = kNewestVersion;
  tensor.numCameras = 3;
  for (std::size_t i = 0; i < 3; ++i) tensor.temperature[i] = options.temperature[i];
  tensor.workingDistance = tensor.worldScale;
  tensor.pixel2WorldRatio =
      (tensor.imageScale[0] + tensor.imageScale[1] + tensor.imageScale[2]) / (3.0 * tensor.worldScale);
  tensor.lensType = options.lensType;
  tensor.ccdPixelSize = options.ccdPixelSize;
  tensor.headParam4 = options.headParam4;
  tensor.calibDistance = calibrationDistance(tensor.cameraLocations);
  for (std::size_t i = 0; i < 3; ++i) {
    tensor.resultAvg[i] = tensor.resultStd[i] = tensor.resultMax[i] = kUnknown;
  }
  tensor.resultValue0 = tensor.resultValue1 = tensor.resultValue2 = kUnknown;
  tensor.resultInt = -1;
}

void fillIdentity(tag_qmReconsTensorData& tensor, const HeadOptions& options) {
  std::memcpy(tensor.machineId, options.machineId.data(), options.machineId.size());
  tensor.blockNumber = options.blockNumber;
  tensor.calibWord0 = options.calibWord0;
  tensor.imageTag = options.imageTag;
  tensor.calibWord2 = options.calibWord2;
  tensor.calibrationTimeStamp = options.calibrationTimeStamp;
}

// Exactly where the head's model allows it, else fitted where the fit is close enough, else in LUTs.
std::string fillLens(MadeHead& head, const Camera& camera, std::size_t i, const HeadOptions& options) {
  const Result<IdealBox> edge = idealEdge(camera);
  if (!edge) return edge.error().message();
  if (options.luts && camera.lens.model == LensModel::BrownConrady) {
    return moveIntoLuts(head, camera, i, options) ? "" : "needs LUT sets that cannot be made: out of memory";
  }
  DistortionFit& fit = head.distortion[i];
  head.tensor.distortParams[i] = head.tensor.distortParams2[i] = convertDistortion(camera, fit);
  return fit.maxPx <= kGreatestResidual ? "" : moveLensIntoLuts(head, camera, i, options, *edge);
}

std::string fillDistortion(MadeHead& head, const std::array<Camera, 3>& cameras, const HeadOptions& options) {
  for (std::size_t i = 0; i < 3; ++i) {
    const std::string wrong = fillLens(head, cameras[i], i, options);
    if (!wrong.empty()) return calledCamera(cameras, i) + " " + wrong;
  }
  return {};
}

// In doubles, as the record keeps it.
Eigen::Vector3d sceneCentre(const std::array<View, 3>& views, const HeadOptions& options) {
  if (options.sceneCentre) return Eigen::Vector3d(options.sceneCentre->data());
  return nearestToAxes(views, static_cast<Real>(options.workingDistance)).cast<double>();
}

}  // namespace

void LutRelease::operator()(const tag_qmDistortLuts* luts) const {
  DistortLutsManager::getManager().distortLutsReleaseRef(luts);
}

Result<MadeHead> makeHead(const std::array<Camera, 3>& cameras, const HeadOptions& options) {
  std::string wrong = checkOptions(options);
  if (wrong.empty()) wrong = checkCameras(cameras);
  if (!wrong.empty()) return Error{wrong};

  std::array<View, 3> views = {makeView(cameras[0]), makeView(cameras[1]), makeView(cameras[2])};
  const RealVec3 centre = sceneCentre(views, options).cast<Real>();
  wrong = checkScene(views, centre);
  if (!wrong.empty()) return Error{wrong};

  MadeHead head{};
  tag_qmReconsTensorData& tensor = head.tensor;
  const Scene scene = makeScene(views, centre);
  fillNormalisation(tensor, scene, views);
  wrong = fillPairs(tensor, scene, views);
  if (!wrong.empty()) return Error{wrong};
  fillProjections(tensor, views, options.lutFrameTransform);
  fillHeadParameters(tensor, options);
  fillIdentity(tensor, options);
  fillBox(tensor, cameras, options);
  wrong = fillDistortion(head, cameras, options);
  if (!wrong.empty()) return Error{wrong};
  tensor.ohType = *cameraTypeOfSize(cameras[0].width, cameras[0].height);
  tensor.imageWidth = cameras[0].width;
  tensor.imageHeight = cameras[0].height;
  return head;
}

}  // namespace quel
