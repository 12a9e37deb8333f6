// Temperature compensation: a corrected copy of a tensor by rates per degree.
#include <cstring>
#include <utility>

#include "quelcore/base/ModuleLog.h"
#include "quelcore/base/outOfMemory.h"
#include "quelcore/blocks/QmBlockCorrectionParameters.h"
#include "quelcore/tensor/QmReconsTensor.h"
#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelcore/tensor/smallAlgebra.h"
#include "quelplatform/prim_math/QmProjMat.h"

using quelcore::dot;
using quelcore::length;
using quelcore::multiply;

namespace {

constexpr quelcore::ModuleLog kLog{"QmReconsTensor"};

constexpr double kPi = 3.141592653589793;

/// Looks the rate `name` of a camera up. True when there is one; otherwise `rate` stays.
bool findRate(QmBlockCorrectionParameters& parameters, const qmWChar* name, unsigned camera, double& rate) {
  qmWString lookedUp = name;
  return parameters.GetParameter(lookedUp, camera, rate);
}

/// Adds rate times deltaT to `value`. True when there is such a rate.
bool shift(QmBlockCorrectionParameters& parameters, const qmWChar* name, unsigned camera, double deltaT,
           double& value) {
  double rate = 0.0;
  if (!findRate(parameters, name, camera, rate)) return false;
  value += rate * deltaT;
  return true;
}

void scale(double matrix[4][4], double factor) {
  for (int row = 0; row < 4; ++row) {
    for (int column = 0; column < 4; ++column) matrix[row][column] *= factor;
  }
}

double radians(double deltaT, double ratePerDegreeDeg) { return deltaT * ratePerDegreeDeg * kPi / 180.0; }

/// Turns R by the rates of a camera. True when there is one.
bool turn(QmBlockCorrectionParameters& parameters, double deltaT, unsigned camera, double R[3][3]) {
  double rx = 0.0;
  double ry = 0.0;
  double rz = 0.0;
  const bool foundX = findRate(parameters, u"rx", camera, rx);
  const bool foundY = findRate(parameters, u"ry", camera, ry);
  const bool foundZ = findRate(parameters, u"rz", camera, rz);
  if (!foundX && !foundY && !foundZ) return false;
  double M[3][3];
  double turned[3][3];
  qmMathRotationMatCreate(radians(deltaT, rx), radians(deltaT, ry), radians(deltaT, rz), M);
  multiply(M, R, turned);
  std::memcpy(R, turned, sizeof(turned));
  return true;
}

/// The base line from camera a to camera b, of length 1; zero where both stand in one place.
void baseLine(const double (&locations)[3][3], int a, int b, double u[3]) {
  for (int i = 0; i < 3; ++i) u[i] = locations[b][i] - locations[a][i];
  const double l = length(u);
  if (l == 0.0) return;
  for (int i = 0; i < 3; ++i) u[i] /= l;
}

struct BaseLineRate {
  const qmWChar* name;
  int a;
  int b;
};
constexpr BaseLineRate kBaseLineRates[] = {{u"D01", 0, 1}, {u"D02", 0, 2}, {u"D12", 1, 2}};

}  // namespace

bool QmReconsTensor::BuildCorrectedTensor(double atTemperature, QmBlockCorrectionParameters& parameters,
                                          QmReconsTensor& corrected) const {
  return quelcore::unlessOutOfMemory(false, [&] {
    if (&corrected == this) return QmReconsTensor(*this).BuildCorrectedTensor(atTemperature, parameters, corrected);
    corrected = *this;
    const double deltaT = atTemperature - temperature[TEMPERATURE_REFERENCE];
    for (unsigned camera = 0; camera < 3; ++camera) {
      if (!correctCamera(parameters, corrected, deltaT, camera)) return false;
    }
    return true;
  });
}

bool QmReconsTensor::BuildCorrectedTensor(const tag_qmImage* const* images, QmBlockCorrectionParameters& parameters,
                                          QmReconsTensor& corrected) const {
  if (images == nullptr || images[0] == nullptr) return false;
  return BuildCorrectedTensor(static_cast<double>(images[0]->temperature[TEMPERATURE_REFERENCE]), parameters,
                              corrected);
}

bool QmReconsTensor::correctCamera(QmBlockCorrectionParameters& parameters, QmReconsTensor& corrected,
                                   const double& deltaT, unsigned camera) const {
  double K[3][3];
  double Kinv[3][3];
  qmMathTransform pose;
  if (qmRTdecomposeProj(projections[camera], K, Kinv, pose.rotation, pose.translation) == 0) {
    kLog.write(quelcore::kLogError, "Failed decomposing tensor projection for tensor compensation");
    return false;
  }
  UpdatedCorrectedTensorInternalParams(parameters, corrected, deltaT, camera, K);
  UpdatedCorrectedTensorExternalParams(parameters, corrected, deltaT, camera, pose);

  double KR[3][3];
  double Kt[3];
  multiply(K, pose.rotation, KR);
  multiply(K, pose.translation, Kt);
  auto& projection = corrected.projections[camera];
  QmProjMat(KR, Kt).convert2qmMat4(projection);
  const double w = projection[2][3];
  if (w == 0.0) {
    kLog.write(quelcore::kLogError, "Invalid Proj matrix value - dividing by zero");
    return false;
  }
  scale(projection, 1.0 / w);
  auto& inLutFrame = corrected.projectionsInLutFrame[camera];
  qmMathMat4MultMat4(projection, lutFrameTransform, inLutFrame);
  scale(inLutFrame, 1.0 / inLutFrame[2][3]);  // Required: a 0 there is not tested for
  UpdatedCorrectedTensorDistortParams(parameters, corrected, deltaT, camera);
  return true;
}

void QmReconsTensor::UpdatedCorrectedTensorInternalParams(QmBlockCorrectionParameters& parameters,
                                                          QmReconsTensor& corrected, const double& deltaT,
                                                          unsigned camera, double K[3][3]) const {
  tag_qmDistortParams& first = corrected.distortParams[camera];
  tag_qmDistortParams& second = corrected.distortParams2[camera];
  shift(parameters, u"ax", camera, deltaT, K[0][0]);
  shift(parameters, u"ay", camera, deltaT, K[1][1]);
  if (shift(parameters, u"xp", camera, deltaT, K[0][2])) first.xp = second.xp = K[0][2];
  if (shift(parameters, u"yp", camera, deltaT, K[1][2])) first.yp = second.yp = K[1][2];
  shift(parameters, u"skew", camera, deltaT, K[0][1]);
}

void QmReconsTensor::UpdatedCorrectedTensorExternalParams(QmBlockCorrectionParameters& parameters,
                                                          QmReconsTensor& corrected, const double& deltaT,
                                                          unsigned camera, qmMathTransform& pose) const {
  bool moved = turn(parameters, deltaT, camera, pose.rotation);
  double L[3];
  qmMathCopyVec3ToVec3(cameraLocations[camera], L);
  for (const BaseLineRate& line : kBaseLineRates) {
    double D = 0.0;
    if (!findRate(parameters, line.name, camera, D)) continue;
    double u[3];
    baseLine(cameraLocations, line.a, line.b, u);
    for (int i = 0; i < 3; ++i) L[i] += u[i] * D * deltaT;
    moved = true;
  }
  if (!moved) return;
  for (int i = 0; i < 3; ++i) pose.translation[i] = dot(pose.rotation[i], L) * -1.0;
  qmMathCopyVec3ToVec3(L, corrected.cameraLocations[camera]);
}

void QmReconsTensor::UpdatedCorrectedTensorDistortParams(QmBlockCorrectionParameters& parameters,
                                                         QmReconsTensor& corrected, const double& deltaT,
                                                         unsigned camera) const {
  using Coefficient = double tag_qmDistortParams::*;
  const std::pair<const qmWChar*, Coefficient> rates[] = {{u"k1", &tag_qmDistortParams::k1},
                                                          {u"k2", &tag_qmDistortParams::k2},
                                                          {u"k3", &tag_qmDistortParams::k3},
                                                          {u"p1", &tag_qmDistortParams::p1},
                                                          {u"p2", &tag_qmDistortParams::p2}};
  for (const auto& [name, coefficient] : rates) {
    double rate = 0.0;
    if (!findRate(parameters, name, camera, rate)) continue;
    corrected.distortParams[camera].*coefficient += rate * deltaT;
    corrected.distortParams2[camera].*coefficient += rate * deltaT;
  }
}
