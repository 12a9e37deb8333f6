#include "models/Health.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "files/Values.h"
#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelplatform/qmDistort/qmDistortEmbedded.h"

namespace queltool {

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

constexpr double kRotationTolerance = 1e-9;
constexpr double kClosurePx = 1e-6;
constexpr int kImageStep = 16;

Check make(const char* key, const char* what, Verdict verdict, std::string finding) {
  return {key, what, verdict, std::move(finding)};
}

template <typename T>
bool allFinite(const T& numbers) {
  const auto* first = reinterpret_cast<const double*>(&numbers);
  return std::all_of(first, first + sizeof(T) / sizeof(double), [](double value) { return std::isfinite(value); });
}

bool allFinite(const tag_qmDistortParams& p) {
  return allFinite(std::array<double, 7>{p.k1, p.k2, p.k3, p.p1, p.p2, p.xp, p.yp}) && allFinite(p.distortExtra);
}

Check checkFinite(const tag_qmReconsTensorData& t) {
  struct Group {
    const char* name;
    bool finite;
  };
  bool distortion = true;
  for (int i = 0; i < 3; ++i)
    distortion = distortion && allFinite(t.distortParams[i]) && allFinite(t.distortParams2[i]);
  const Group groups[] = {
      {"tensorCoefficients", allFinite(t.tensorCoefficients) && allFinite(t.tensorCoefficients2)},
      {"image normalisation", allFinite(t.imageCentre) && allFinite(t.imageScale)},
      {"epipole", allFinite(t.epipole)},
      {"planarTransfer", allFinite(t.planarTransfer) && allFinite(t.planarDepthScale)},
      {"singularTransfer", allFinite(t.singularTransfer) && allFinite(t.singularDepthScale)},
      {"auxiliary transfers", allFinite(t.auxTransfer0) && allFinite(t.auxTransfer1) && allFinite(t.auxTransfer2)},
      {"reconsCoefficients", allFinite(t.reconsCoefficients)},
      {"pairReconstruction", allFinite(t.pairReconstruction)},
      {"viewMatrices", allFinite(t.viewMatrices)},
      {"world normalisation", allFinite(t.worldCentre) && std::isfinite(t.worldScale)},
      {"temperature", allFinite(t.temperature)},
      {"head parameters", allFinite(std::array<double, 5>{t.pixel2WorldRatio, t.workingDistance, t.lensType,
                                                          t.ccdPixelSize, t.headParam4})},
      {"projections", allFinite(t.projections) && allFinite(t.projectionsInLutFrame)},
      {"distortion", distortion},
      {"camera locations", allFinite(t.cameraLocations) && std::isfinite(t.calibDistance)},
      {"reconstruction box",
       allFinite(std::array<double, 6>{t.reconstBoxCenterX, t.reconstBoxHalfSizeX, t.reconstBoxCenterY,
                                       t.reconstBoxHalfSizeY, t.reconstBoxCenterZ, t.reconstBoxHalfSizeZ})},
      {"lutFrameTransform", allFinite(t.lutFrameTransform)},
  };
  std::string bad;
  for (const Group& group : groups) {
    if (!group.finite) bad += std::string(bad.empty() ? "" : ", ") + group.name;
  }
  if (bad.empty()) return make("finite", "all numbers are finite", Verdict::Good, "");
  return make("finite", "all numbers are finite", Verdict::Bad, "not finite: " + bad);
}

// How far R Rt is from the identity, at most, per entry.
double rotationError(const double (&r)[3][3]) {
  double most = 0.0;
  for (int i = 0; i < 3; ++i) {
    for (int k = 0; k < 3; ++k) {
      double sum = i == k ? -1.0 : 0.0;
      for (int n = 0; n < 3; ++n) sum += r[i][n] * r[k][n];
      most = std::max(most, std::abs(sum));
    }
  }
  return most;
}

Check checkProjections(const tag_qmReconsTensorData& t) {
  const char* what = "projections are proper cameras";
  if (t.projectionsValid != 1) return make("projections", what, Verdict::Bad, "there are none");
  double most = 0.0;
  for (int i = 0; i < 3; ++i) {
    double k[3][3];
    double inverse[3][3];
    double r[3][3];
    double translation[3];
    if (qmRTdecomposeProj(t.projections[i], k, inverse, r, translation) != 1) {
      return make("projections", what, Verdict::Bad, fmt::format("that of camera {} cannot be decomposed", i));
    }
    most = std::max(most, rotationError(r));
  }
  const bool good = most <= kRotationTolerance;
  return make("projections", what, good ? Verdict::Good : Verdict::Bad,
              fmt::format("rotations are orthogonal to {:.1e}", most));
}

Check checkOrder(const tag_qmReconsTensorData& t) {
  qmCameraOrder order{};
  qmGetCameraIndicesByLocations(t.cameraLocations, &order);
  const std::string found = fmt::format("upper {}, left {}, right {}", order.upper, order.left, order.right);
  if (order.upper == 0) return make("camera_order", "camera 0 is the uppermost", Verdict::Good, found);
  return make("camera_order", "camera 0 is the uppermost", Verdict::Warning,
              found + "; a file of this head older than version -9 would not load");
}

std::vector<Vec3> pointsOfBox(const tag_qmReconsTensorData& t) {
  const auto half = [&t](double size) { return size > 0.0 ? size : t.reconstBoxHalfSizeZ; };
  std::vector<Vec3> points = {{t.reconstBoxCenterX, t.reconstBoxCenterY, t.reconstBoxCenterZ}};
  for (const double u : {-1.0, 1.0}) {
    for (const double v : {-1.0, 1.0}) {
      for (const double w : {-1.0, 1.0}) {
        points.push_back({t.reconstBoxCenterX + u * half(t.reconstBoxHalfSizeX),
                          t.reconstBoxCenterY + v * half(t.reconstBoxHalfSizeY),
                          t.reconstBoxCenterZ + w * t.reconstBoxHalfSizeZ});
      }
    }
  }
  return points;
}

Vec2 pinhole(const double (&projection)[4][4], const Vec3& p) {
  Vec3 uvw{};
  for (std::size_t i = 0; i < 3; ++i) {
    uvw[i] = projection[i][0] * p[0] + projection[i][1] * p[1] + projection[i][2] * p[2] + projection[i][3];
  }
  return {uvw[0] / uvw[2], uvw[1] / uvw[2]};
}

double distance(const Vec2& a, const Vec2& b) { return std::hypot(a[0] - b[0], a[1] - b[1]); }

// NaN stays: a figure that cannot be had must not pass as good.
double larger(double a, double b) { return a > b || std::isnan(a) ? a : b; }

Verdict closureVerdict(double px) { return px <= kClosurePx ? Verdict::Good : Verdict::Bad; }

Check checkMetricForm(const tag_qmReconsTensorData& t) {
  const char* what = "metric tables give the projections";
  double derived[3][4][4];
  if (t.reconsFlag != 1) return make("metric_form", what, Verdict::Warning, "the file has no metric tables");
  if (qmRTComputeProjections(&t, derived) != 1) {
    return make("metric_form", what, Verdict::Bad, "no projections can be derived from them");
  }
  double most = 0.0;
  for (const Vec3& point : pointsOfBox(t)) {
    for (int i = 0; i < 3; ++i)
      most = larger(most, distance(pinhole(t.projections[i], point), pinhole(derived[i], point)));
  }
  return make("metric_form", what, closureVerdict(most), fmt::format("{:.1e} px apart at most", most));
}

using Row = std::array<double, 3>;

Row normalised(const tag_qmReconsTensorData& t, int camera, const Vec2& pixel) {
  return {(pixel[0] - t.imageCentre[camera][0]) / t.imageScale[camera],
          (pixel[1] - t.imageCentre[camera][1]) / t.imageScale[camera], 1.0};
}

Row rotated(const double (&m)[3][3], const Row& p) {
  Row result{};
  for (std::size_t i = 0; i < 3; ++i) result[i] = m[i][0] * p[0] + m[i][1] * p[1] + m[i][2] * p[2];
  return result;
}

// Pixels by which the image in b lies beside the line of H p + l E over all l.
double besideLine(const tag_qmReconsTensorData& t, const double (&transfer)[3][3], int a, int b, const Vec3& point) {
  const Row m = rotated(transfer, normalised(t, a, pinhole(t.projections[a], point)));
  const double(&e)[3] = t.epipole[a][b];
  const Row line = {m[1] * e[2] - m[2] * e[1], m[2] * e[0] - m[0] * e[2], m[0] * e[1] - m[1] * e[0]};
  const Row seen = normalised(t, b, pinhole(t.projections[b], point));
  const double off = line[0] * seen[0] + line[1] * seen[1] + line[2];
  return t.imageScale[b] * std::abs(off) / std::hypot(line[0], line[1]);
}

// Planar parallax of a world point by the metric tables: row 3 over row 2 of the inverse, times the pair's unit.
bool planarParallax(const tag_qmReconsTensorData& t, int a, int b, const Vec3& point, double& parallax) {
  double inverse[4][4];
  if (qmMathMat4Inv(t.pairReconstruction[a][b], inverse) != 1) return false;
  const double p[4] = {(point[0] - t.worldCentre[0]) / t.worldScale, (point[1] - t.worldCentre[1]) / t.worldScale,
                       (point[2] - t.worldCentre[2]) / t.worldScale, 1.0};
  double rows[2] = {0.0, 0.0};
  for (int k = 0; k < 4; ++k) {
    rows[0] += inverse[2][k] * p[k];
    rows[1] += inverse[3][k] * p[k];
  }
  parallax = rows[1] / rows[0] * t.planarDepthScale[a][b];
  return true;
}

// Pixels between the image in b and where planar transfer puts the point at its true parallax.
double planarError(const tag_qmReconsTensorData& t, int a, int b, const Vec3& point) {
  double parallax = 0.0;
  if (!planarParallax(t, a, b, point, parallax)) return kNan;
  Row m = rotated(t.planarTransfer[a][b], normalised(t, a, pinhole(t.projections[a], point)));
  for (std::size_t i = 0; i < 3; ++i) m[i] += parallax * t.epipole[a][b][i];
  const Vec2 seen = pinhole(t.projections[b], point);
  return distance(
      {m[0] / m[2] * t.imageScale[b] + t.imageCentre[b][0], m[1] / m[2] * t.imageScale[b] + t.imageCentre[b][1]}, seen);
}

template <typename Error>
double overPairs(const tag_qmReconsTensorData& t, Error error) {
  double most = 0.0;
  for (const Vec3& point : pointsOfBox(t)) {
    for (int a = 0; a < 3; ++a) {
      for (int b = 0; b < 3; ++b) {
        if (a != b) most = larger(most, error(a, b, point));
      }
    }
  }
  return most;
}

Check checkPlanarForm(const tag_qmReconsTensorData& t) {
  const double most = overPairs(t, [&t](int a, int b, const Vec3& point) { return planarError(t, a, b, point); });
  return make("planar_form", "planar transfer agrees with the projections", closureVerdict(most),
              fmt::format("{:.1e} px apart at most", most));
}

Check checkSingularForm(const tag_qmReconsTensorData& t) {
  const double most = overPairs(
      t, [&t](int a, int b, const Vec3& point) { return besideLine(t, t.singularTransfer[a][b], a, b, point); });
  return make("singular_form", "singular transfer agrees with the projections", closureVerdict(most),
              fmt::format("{:.1e} px beside the epipolar line at most", most));
}

Check checkDistortion(const tag_qmReconsTensorData& t) {
  const char* what = "distortion is one-to-one over the image";
  if (t.imageWidth <= 0) return make("distortion", what, Verdict::Warning, "the camera type has no known image size");
  std::string found;
  for (int camera = 0; camera < 3; ++camera) {
    std::size_t failed = 0;
    std::size_t tried = 0;
    for (int y = 0; y < t.imageHeight + kImageStep; y += kImageStep) {
      for (int x = 0; x < t.imageWidth + kImageStep; x += kImageStep) {
        const double pixel[2] = {std::min(x, t.imageWidth - 1) * 1.0, std::min(y, t.imageHeight - 1) * 1.0};
        double ideal[2];
        ++tried;
        if (quelplatform::undistortOnePt(pixel, &t.distortParams[camera], nullptr, ideal) != 1) ++failed;
      }
    }
    if (failed != 0) found += fmt::format("camera {}: {} of {} pixels have no ideal one; ", camera, failed, tried);
  }
  if (found.empty()) return make("distortion", what, Verdict::Good, fmt::format("tried every {} px", kImageStep));
  return make("distortion", what, Verdict::Bad, found + "the model folds over there");
}

}  // namespace

std::vector<Check> checkHealth(const tag_qmReconsTensorData& tensor) {
  std::vector<Check> checks = {checkFinite(tensor), checkProjections(tensor)};
  if (worstOf(checks) == Verdict::Bad) return checks;
  checks.push_back(checkOrder(tensor));
  checks.push_back(checkMetricForm(tensor));
  checks.push_back(checkPlanarForm(tensor));
  checks.push_back(checkSingularForm(tensor));
  checks.push_back(checkDistortion(tensor));
  return checks;
}

Verdict worstOf(const std::vector<Check>& checks) {
  Verdict worst = Verdict::Good;
  for (const Check& check : checks) worst = std::max(worst, check.verdict);
  return worst;
}

const char* nameOf(Verdict verdict) {
  switch (verdict) {
    case Verdict::Good:
      return "good";
    case Verdict::Warning:
      return "warning";
    case Verdict::Bad:
      return "bad";
  }
  return "";
}

}  // namespace queltool
