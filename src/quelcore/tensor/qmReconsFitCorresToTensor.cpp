#include "quelcore/tensor/qmReconsFitCorresToTensor.h"

#include <optional>

#include "quelcore/base/ModuleLog.h"
#include "quelcore/tensor/fitKernel.h"
#include "quelcore/tensor/projectionKernel.h"
#include "quelplatform/qmMath/qmMathSolve.h"

using quelcore::at;
using quelcore::Homogeneous;
using quelcore::normalised;
using quelcore::Position;
using quelcore::squaredDistance;
using quelcore::squaredDistances;
using quelcore::Transfer;
using quelcore::transferOf;

namespace {

constexpr quelcore::ModuleLog kLog{"qmReconsFitCorresToTensor"};

/// Where the search for the least cost starts: the largest float.
constexpr double kWorstCost = 3.4028234663852886e+38;

bool areCameras(std::int32_t r, std::int32_t b, std::int32_t c) {
  return quelcore::isCamera(r) && quelcore::isCamera(b) && quelcore::isCamera(c);
}

Transfer planarTransferOf(const tag_qmReconsTensorData& tensor, std::int32_t r, std::int32_t k, Position p) {
  return transferOf(tensor.planarTransfer[r][k], tensor.epipole[r][k], p);
}

/// The position in the image; false, with `out` untouched, where there is none.
bool imagePosition(const Homogeneous& position, double out[2]) {
  if (position.z == 0.0) return false;  // exact, no tolerance
  out[0] = position.x / position.z;
  out[1] = position.y / position.z;
  return true;
}

/// One target camera of a fit: how the point moves in it, and where it was measured.
struct Target {
  Transfer transfer;
  Position measured;
};

Target targetOf(const tag_qmReconsTensorData& tensor, const tag_qmRTCorres& corres, std::int32_t r, std::int32_t k,
                Position p) {
  return {planarTransferOf(tensor, r, k, p), normalised(tensor, corres, k)};
}

/// The condition R + A l + Bx dx + By dy = 0: a transferred coordinate equals the measured one `t`, cross-multiplied.
struct LinearCondition {
  double A, Bx, By, R;
};

LinearCondition conditionOf(const double Hi[3], const double H2[3], double ei, double e2, double t, Position p) {
  return {ei - t * e2, Hi[0] - t * H2[0], Hi[1] - t * H2[1], quelcore::rowTimes(Hi, p) - t * quelcore::rowTimes(H2, p)};
}

/// The normal equations of the four conditions and of dx^2 + dy^2, for (l, dx, dy).
struct NormalEquations {
  double M[9] = {};
  double g[3] = {};

  void add(const LinearCondition& condition) {
    const double row[3] = {condition.A, condition.Bx, condition.By};
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) M[3 * i + j] += 2.0 * (row[i] * row[j]);
      g[i] -= 2.0 * (row[i] * condition.R);
    }
  }

  void addDisplacement() {
    M[4] += 2.0;
    M[8] += 2.0;
  }
};

void addConditions(const tag_qmReconsTensorData& tensor, std::int32_t r, std::int32_t k, Position p, Position measured,
                   NormalEquations& equations) {
  const auto& H = tensor.planarTransfer[r][k];
  const auto& e = tensor.epipole[r][k];
  equations.add(conditionOf(H[0], H[2], e[0], e[2], measured.x, p));
  equations.add(conditionOf(H[1], H[2], e[1], e[2], measured.y, p));
}

bool solve(NormalEquations& equations, double solution[3]) {
  double* rowPointers[3];
  double** const rows = qmMathMatStaticInit(3, 3, rowPointers, equations.M);
  return qmMathSolveBySvd(rows, 3, 3, equations.g, 0, 0, solution) != 0;
}

}  // namespace

std::int32_t qmRTFitCorresToTensorPlanar(const tag_qmReconsTensorData& tensor, const tag_qmRTCorres& corres,
                                         std::int32_t refCam, std::int32_t camB, std::int32_t camC, double outRef[2],
                                         double outB[2], double outC[2], double& error, double& depth) {
  if (!areCameras(refCam, camB, camC)) return kLog.tracedFailure();
  const Position p = normalised(tensor, corres, refCam);
  outRef[0] = p.x;
  outRef[1] = p.y;
  const Target b = targetOf(tensor, corres, refCam, camB, p);
  const Target c = targetOf(tensor, corres, refCam, camC, p);

  const quelcore::Quartic Q = stationaryQuartic(b.transfer, b.measured, c.transfer, c.measured);
  std::int32_t count = 0;
  std::int32_t kind = 0;
  double unread[2] = {0.0, 0.0};
  double roots[4] = {0.0, 0.0, 0.0, 0.0};
  if (qmMathSolveQuartic(Q.c4, Q.c3, Q.c2, Q.c1, Q.c0, &count, &kind, &unread[0], &unread[1], roots) == 0) {
    return kLog.tracedFailure();
  }
  const std::optional<unsigned> candidates = quelcore::candidateEntries(kind, count);
  if (!candidates) return 0;

  const double squaredScale = tensor.imageScale[camB] * tensor.imageScale[camB];
  double best = kWorstCost;
  for (unsigned entry = 0; entry < 4; ++entry) {
    if ((*candidates >> entry & 1U) == 0) continue;
    if (!imagePosition(at(b.transfer, roots[entry]), outB)) return kLog.tracedFailure();
    if (!imagePosition(at(c.transfer, roots[entry]), outC)) return kLog.tracedFailure();
    const double cost = squaredDistances(outB, b.measured, outC, c.measured) * squaredScale;
    if (best > cost) {  // never for NaN; the first of equals stays
      depth = roots[entry];
      best = cost;
    }
  }
  error = best;
  if (!imagePosition(at(b.transfer, depth), outB)) return kLog.tracedFailure();
  if (!imagePosition(at(c.transfer, depth), outC)) return kLog.tracedFailure();
  depth /= tensor.planarDepthScale[refCam][camB];
  return 1;
}

std::int32_t qmRTFitCorresToTensorPlanarLinear(const tag_qmReconsTensorData& tensor, const tag_qmRTCorres& corres,
                                               std::int32_t refCam, std::int32_t camB, std::int32_t camC,
                                               double outRef[2], double outB[2], double outC[2], double& error,
                                               double& depth) {
  if (!areCameras(refCam, camB, camC)) return kLog.tracedFailure();
  const Position p = normalised(tensor, corres, refCam);
  const Position measuredB = normalised(tensor, corres, camB);
  const Position measuredC = normalised(tensor, corres, camC);
  NormalEquations equations;
  addConditions(tensor, refCam, camB, p, measuredB, equations);
  addConditions(tensor, refCam, camC, p, measuredC, equations);
  equations.addDisplacement();
  double solution[3] = {0.0, 0.0, 0.0};
  if (!solve(equations, solution)) return kLog.tracedFailure();

  const auto [parallax, dx, dy] = solution;
  depth = parallax;
  const Position moved = {p.x + dx, p.y + dy};
  outRef[0] = moved.x;
  outRef[1] = moved.y;
  if (!imagePosition(at(planarTransferOf(tensor, refCam, camB, moved), parallax), outB)) return kLog.tracedFailure();
  if (!imagePosition(at(planarTransferOf(tensor, refCam, camC, moved), parallax), outC)) return kLog.tracedFailure();
  const double sum = squaredDistances(outB, measuredB, outC, measuredC) + dx * dx + dy * dy;
  error = sum * (tensor.imageScale[camB] * tensor.imageScale[camB]);
  depth /= tensor.planarDepthScale[refCam][camB];
  return 1;
}

std::int32_t qmRTFitCorresToTensorSingular(const tag_qmReconsTensorData& tensor, const tag_qmRTCorres& corres,
                                           std::int32_t refCam, std::int32_t camB, double outB[2], double& error,
                                           double& depth) {
  if (!areCameras(refCam, camB, camB)) return kLog.tracedFailure();
  const Position p = normalised(tensor, corres, refCam);
  const Position q = normalised(tensor, corres, camB);
  const Transfer transfer = transferOf(tensor.singularTransfer[refCam][camB], tensor.epipole[refCam][camB], p);
  const std::optional<double> parallax = quelcore::nearestParallax(transfer, q);
  if (!parallax) return kLog.tracedFailure();
  depth = *parallax;
  const Homogeneous position = at(transfer, depth);
  outB[0] = position.x;
  outB[1] = position.y;
  if (!imagePosition(position, outB)) return kLog.tracedFailure();
  error = squaredDistance(outB, q) * (tensor.imageScale[camB] * tensor.imageScale[camB]);
  depth /= tensor.singularDepthScale[refCam][camB];
  return 1;
}
