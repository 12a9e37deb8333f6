#include "quelcore/tensor/qmReconsFitCorresToTensor.h"

#include <optional>

#include "quelcore/base/ModuleLog.h"
#include "quelcore/tensor/fitKernel.h"
#include "quelcore/tensor/projectionKernel.h"
#include "quelplatform/qmMath/qmMathSolve.h"

using quelcore::at;
using quelcore::Homogeneous;
using quelcore::normalised;
using quelcore::Pair;
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
  const Position image = quelcore::quotient(position.x, position.y, position.z);
  out[0] = image.x;
  out[1] = image.y;
  return true;
}

/// Rows 0 and 1 of a column.
Pair columnOf(const double H[3][3], int column) { return Pair{H[0][column], H[1][column]}; }

/// H (p, 1) + l E divided by its third component, x and y side by side; false, with `out` untouched, where that is 0.
bool transferred(const double H[3][3], const double e[3], Position p, double l, double out[2]) {
  const double w = quelcore::rowTimes(H[2], p) + l * e[2];
  if (w == 0.0) return false;  // exact, no tolerance
  const Pair fixed = (columnOf(H, 0) * p.x + columnOf(H, 1) * p.y) + columnOf(H, 2);
  const Pair image = (fixed + l * Pair{e[0], e[1]}) / w;
  out[0] = image[0];
  out[1] = image[1];
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

/// The conditions R + A l + Bx dx + By dy = 0 of one camera: a transferred coordinate equals the measured one,
/// cross-multiplied, in x and in y.
struct LinearConditions {
  Pair A, Bx, By, R;
};

LinearConditions conditionsOf(const double H[3][3], const double e[3], Position measured, Position p) {
  const Pair t = {measured.x, measured.y};
  const Pair column0 = columnOf(H, 0), column1 = columnOf(H, 1);
  return {Pair{e[0], e[1]} - t * e[2], column0 - t * H[2][0], column1 - t * H[2][1],
          ((column0 * p.x + column1 * p.y) + columnOf(H, 2)) - t * quelcore::rowTimes(H[2], p)};
}

/// The sums of the normal equations of both cameras' conditions for (l, dx, dy), half of them: of the products, and of
/// the right-hand side. They run over the conditions one after the other.
struct NormalEquations {
  double AA = 0.0, ABx = 0.0, ABy = 0.0, BxBx = 0.0, BxBy = 0.0, ByBy = 0.0, AR = 0.0, BxR = 0.0, ByR = 0.0;

  void add(const LinearConditions& c) {
    addBoth(c.A * c.A, AA);
    addBoth(c.A * c.Bx, ABx);
    addBoth(c.A * c.By, ABy);
    addBoth(c.Bx * c.Bx, BxBx);
    addBoth(c.Bx * c.By, BxBy);
    addBoth(c.By * c.By, ByBy);
    subtractBoth(c.A * c.R, AR);
    subtractBoth(c.Bx * c.R, BxR);
    subtractBoth(c.By * c.R, ByR);
  }

 private:
  static void addBoth(Pair products, double& sum) { sum = (sum + products[0]) + products[1]; }
  static void subtractBoth(Pair products, double& sum) { sum = (sum - products[0]) - products[1]; }
};

bool solve(const NormalEquations& q, double solution[3]) {
  const double ABx = 2.0 * q.ABx, ABy = 2.0 * q.ABy, BxBy = 2.0 * q.BxBy;
  double M[9] = {2.0 * q.AA, ABx, ABy, ABx, 2.0 * q.BxBx + 2.0, BxBy, ABy, BxBy, 2.0 * q.ByBy + 2.0};  // dx^2 + dy^2
  const double g[3] = {2.0 * q.AR, 2.0 * q.BxR, 2.0 * q.ByR};
  double* rowPointers[3];
  double** const rows = qmMathMatStaticInit(3, 3, rowPointers, M);
  return qmMathSolveBySvd(rows, 3, 3, g, 0, 0, solution) != 0;
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
  const auto& HB = tensor.planarTransfer[refCam][camB];
  const auto& HC = tensor.planarTransfer[refCam][camC];
  const double *eB = tensor.epipole[refCam][camB], *eC = tensor.epipole[refCam][camC];
  equations.add(conditionsOf(HB, eB, measuredB, p));
  equations.add(conditionsOf(HC, eC, measuredC, p));
  double solution[3] = {0.0, 0.0, 0.0};
  if (!solve(equations, solution)) return kLog.tracedFailure();

  const auto [parallax, dx, dy] = solution;
  depth = parallax;
  const Position moved = {p.x + dx, p.y + dy};
  outRef[0] = moved.x;
  outRef[1] = moved.y;
  if (!transferred(HB, eB, moved, parallax, outB)) return kLog.tracedFailure();
  if (!transferred(HC, eC, moved, parallax, outC)) return kLog.tracedFailure();
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
