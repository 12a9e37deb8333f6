// Doors of the way back from a projection: intrinsics and pose, rays of pixels, camera positions and their order. The
// arithmetic is in cameraKernel.
#include <utility>

#include "quelcore/base/ModuleLog.h"
#include "quelcore/tensor/cameraKernel.h"
#include "quelcore/tensor/projectionKernel.h"
#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelcore/tensor/smallAlgebra.h"
#include "quelplatform/qmEnv/qmParam.h"

using quelcore::copyMat3;
using quelcore::Decomposed;
using quelcore::length;
using quelcore::multiply;

namespace {

constexpr quelcore::ModuleLog kLog{"qmReconsTensorCore"};

constexpr std::int32_t kStatusNoInverse = 2;
constexpr std::int32_t kStatusCameraOrder = 8;

bool flagParameter(const char* key, bool byDefault) {
  _qmBool flag = byDefault ? 1 : 0;
  qmEnvGetParam2qmBool(key, 0, &flag);
  return flag != 0;
}

double calibrationDistance(const tag_qmReconsTensorData& tensor, const qmCameraOrder& order) {
  if (flagParameter("qmRTnewCalibProjCalib", false)) return length(tensor.cameraLocations[0]);
  const double distance = 0.5 * (tensor.cameraLocations[order.left][2] + tensor.cameraLocations[order.right][2]);
  return distance < 0.0 ? distance * -1.0 : distance;
}

}  // namespace

std::int32_t qmRTdecomposeProj(const double projection[4][4], double K[3][3], double Kinv[3][3], double R[3][3],
                               double t[3]) {
  if (projection == nullptr || K == nullptr || Kinv == nullptr || R == nullptr || t == nullptr)
    return kLog.tracedFailure();
  quelcore::CameraModel model;
  const Decomposed reached = quelcore::decompose(projection, model);
  if (reached != Decomposed::Nothing) copyMat3(model.K, K);
  if (reached != Decomposed::Everything) return kLog.tracedFailure();
  copyMat3(model.Kinv, Kinv);
  copyMat3(model.R, R);
  qmMathCopyVec3ToVec3(model.t, t);
  return 1;
}

std::int32_t qmRTGetInverseProjForCameraByProj(const double projection[4][4], double inverse[3][3],
                                               std::int32_t* status) {
  if (projection == nullptr || inverse == nullptr) return kLog.tracedFailure();
  double A[3][3];
  double b[3];
  quelcore::splitProjection(projection, A, b);
  if (qmMathMat3Inv(A, inverse) != 0) return 1;
  if (status != nullptr) *status = kStatusNoInverse;
  return 0;
}

std::int32_t qmRTGetInverseProjForCamera(const tag_qmReconsTensorData* tensor, std::int32_t camera,
                                         double inverse[3][3], std::int32_t* status) {
  if (tensor == nullptr || !quelcore::isCamera(camera)) return kLog.tracedFailure();
  return qmRTGetInverseProjForCameraByProj(tensor->projections[camera], inverse, status);
}

std::int32_t qmRTget3dRaysFromImgPts(const tag_qmReconsTensorData* tensor, std::uint64_t count,
                                     const double (*pixels)[2], std::int32_t camera, double origin[3],
                                     double (*rays)[3]) {
  if (tensor == nullptr || origin == nullptr || !quelcore::isCamera(camera)) return kLog.tracedFailure();
  if (tensor->projectionsValid != 1) return kLog.tracedFailure();
  if (count != 0 && (pixels == nullptr || rays == nullptr)) return kLog.tracedFailure();
  qmMathCopyVec3ToVec3(tensor->cameraLocations[camera], origin);
  double M[3][3];
  if (qmRTGetInverseProjForCamera(tensor, camera, M, nullptr) == 0) return kLog.tracedFailure();
  for (std::uint64_t n = 0; n < count; ++n) {
    if (!quelcore::rayThrough(M, pixels[n], rays[n])) return kLog.tracedFailure();
  }
  return 1;
}

std::int32_t qmRTtranform3dRays(const qmMathTransform* transform, std::uint64_t count, double origin[3],
                                double (*rays)[3]) {
  if (transform == nullptr) return 1;
  if (origin != nullptr) {
    double moved[3];
    qmMathTransformVec3(transform, origin, moved);
    qmMathCopyVec3ToVec3(moved, origin);
  }
  if (rays == nullptr) return 1;
  for (std::uint64_t n = 0; n < count; ++n) {
    double turned[3];
    multiply(transform->rotation, rays[n], turned);
    qmMathCopyVec3ToVec3(turned, rays[n]);
  }
  return 1;
}

std::int32_t qmRTfillCameraLocations(tag_qmReconsTensorData* tensor, std::int32_t* status) {
  if (tensor == nullptr) return kLog.tracedFailure();
  for (std::int32_t camera = 0; camera < 3; ++camera) {
    double inverse[3][3];
    if (qmRTGetInverseProjForCamera(tensor, camera, inverse, status) == 0) return 0;
    const auto& P = tensor->projections[camera];
    const double minusB[3] = {-P[0][3], -P[1][3], -P[2][3]};
    multiply(inverse, minusB, tensor->cameraLocations[camera]);
  }
  return 1;
}

std::int32_t qmRTfillLocsAndCalibDist(tag_qmReconsTensorData* tensor, std::int32_t* status) {
  if (qmRTfillCameraLocations(tensor, status) == 0) return 0;
  qmCameraOrder order;
  qmGetCameraIndicesByLocations(tensor->cameraLocations, &order);
  tensor->calibDistance = calibrationDistance(*tensor, order);
  if (flagParameter("qmRTnewCalibCheckCamOrder", true) && order.upper != 0) {
    // Required: level 0 although it fails the call, and the text as it is.
    kLog.write(quelcore::kLogInformation,
               "!!!!!!!!! camera 0 is not the upper cammera !!!!!!!!!  Current camera order is: %d %d %d", order.upper,
               order.left, order.right);
    if (status != nullptr) *status = kStatusCameraOrder;
    return 0;
  }
  return 1;
}

std::int32_t qmGetCameraIndicesByLocations(const double locations[3][3], qmCameraOrder* order) {
  if (locations == nullptr || order == nullptr) return 1;
  const double y0 = locations[0][1];
  const double y1 = locations[1][1];
  const double y2 = locations[2][1];
  order->upper = 0;
  if (y1 > y0 || y2 > y0) order->upper = y2 > y1 ? 2 : 1;
  order->left = (order->upper + 1) % 3;
  order->right = (order->upper + 2) % 3;
  if (locations[order->left][0] > locations[order->right][0]) std::swap(order->left, order->right);
  return 1;
}

void calcPixel2WorldRatio(double workingDistance, double focalLength, double ccdPixelSize, double* ratio) {
  if (ratio == nullptr) return;
  *ratio = quelcore::pixelToWorldRatio(workingDistance, focalLength, ccdPixelSize);
}

void qmReconsGetLensPixel2WorldRatio(const tag_qmReconsTensorData* tensor, double focalLength, double* ratio) {
  if (tensor == nullptr) return;
  calcPixel2WorldRatio(tensor->workingDistance, focalLength, tensor->ccdPixelSize, ratio);
}
