#include "quel/cameras/Lens.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

namespace quel {

namespace {

using Names = std::span<const std::string_view>;

constexpr std::array<LensModel, 9> kModels = {
    LensModel::BrownConrady,  LensModel::OpenCv,           LensModel::OpenCvFisheye,
    LensModel::Stereographic, LensModel::Cahvor,           LensModel::SplinedStereographic,
    LensModel::Fov,           LensModel::ThinPrismFisheye, LensModel::HeadPolynomial};

constexpr std::array<std::string_view, 14> kOpenCv = {"k1", "k2", "p1", "p2", "k3", "k4",   "k5",
                                                      "k6", "s1", "s2", "s3", "s4", "tauX", "tauY"};
constexpr std::array<std::string_view, 4> kFisheye = {"k1", "k2", "k3", "k4"};
constexpr std::array<std::string_view, 5> kCahvor = {"alpha", "beta", "r0", "r1", "r2"};
constexpr std::array<std::string_view, 1> kFov = {"omega"};
constexpr std::array<std::string_view, 8> kThinPrism = {"k1", "k2", "p1", "p2", "k3", "k4", "sx1", "sy1"};
constexpr std::array<std::string_view, 12> kPolynomial = {"k1", "k2", "k3", "p1", "p2", "xp",
                                                          "yp", "e0", "e1", "e2", "e3", "option"};

struct Description {
  std::string_view name;
  Names parameters;
};

// In the order of LensModel.
const std::array<Description, 9> kDescriptions = {{{"brown-conrady-normalised", {}},
                                                   {"opencv", kOpenCv},
                                                   {"opencv-fisheye", kFisheye},
                                                   {"stereographic", {}},
                                                   {"cahvor", kCahvor},
                                                   {"splined-stereographic", {}},
                                                   {"fov", kFov},
                                                   {"thin-prism-fisheye", kThinPrism},
                                                   {"head-polynomial", kPolynomial}}};

const Description& descriptionOf(LensModel model) { return kDescriptions[static_cast<std::size_t>(model)]; }

constexpr std::int32_t kLeastNodes = 4;
constexpr std::int32_t kMostNodes = 1000;

std::string whyNoGrid(const SplineGrid& grid) {
  if (grid.order != 2 && grid.order != 3) return "a splined lens is of order 2 or 3";
  const auto isCount = [](std::int32_t n) { return n >= kLeastNodes && n <= kMostNodes; };
  if (!isCount(grid.columns) || !isCount(grid.rows)) {
    return "a splined lens has 4 to 1000 columns and rows of control points";
  }
  if (!(grid.fovDegrees > 0.0 && grid.fovDegrees < 360.0))
    return "a splined lens sees more than 0 and less than 360 degrees";
  return {};
}

// The tilted sensor: the image is projected from a plane that is turned about x by tauX and then about y by tauY.
Vec2 tilted(const Vec2& p, double tauX, double tauY) {
  const double cx = std::cos(tauX), sx = std::sin(tauX), cy = std::cos(tauY), sy = std::sin(tauY);
  const Mat3 turn = {{{cy, sy * sx, -sy * cx}, {0.0, cx, sx}, {sy, -cy * sx, cy * cx}}};
  const Vec3 q = {dot(turn[0], {p[0], p[1], 1.0}), dot(turn[1], {p[0], p[1], 1.0}), dot(turn[2], {p[0], p[1], 1.0})};
  return {(turn[2][2] * q[0] - turn[0][2] * q[2]) / q[2], (turn[2][2] * q[1] - turn[1][2] * q[2]) / q[2]};
}

Vec2 openCv(std::span<const double> k, const Vec2& p) {
  const auto [x, y] = p;
  const double r2 = x * x + y * y, r4 = r2 * r2, r6 = r4 * r2;
  const double radial = (1.0 + k[0] * r2 + k[1] * r4 + k[4] * r6) / (1.0 + k[5] * r2 + k[6] * r4 + k[7] * r6);
  const Vec2 flat = {x * radial + 2.0 * k[2] * x * y + k[3] * (r2 + 2.0 * x * x) + k[8] * r2 + k[9] * r4,
                     y * radial + k[2] * (r2 + 2.0 * y * y) + 2.0 * k[3] * x * y + k[10] * r2 + k[11] * r4};
  return k[12] == 0.0 && k[13] == 0.0 ? flat : tilted(flat, k[12], k[13]);
}

// theta (x, y) / r, which is (x, y) on the axis.
Vec2 equidistant(const Vec2& p) {
  const double r = std::hypot(p[0], p[1]);
  const double scale = r > 0.0 ? std::atan(r) / r : 1.0;
  return {scale * p[0], scale * p[1]};
}

Vec2 fisheye(std::span<const double> k, const Vec2& p) {
  const Vec2 u = equidistant(p);
  const double t = u[0] * u[0] + u[1] * u[1];
  const double scale = 1.0 + t * (k[0] + t * (k[1] + t * (k[2] + t * k[3])));
  return {scale * u[0], scale * u[1]};
}

Vec2 thinPrismFisheye(std::span<const double> k, const Vec2& p) {
  const auto [x, y] = equidistant(p);
  const double t = x * x + y * y;
  const double scale = 1.0 + t * (k[0] + t * (k[1] + t * (k[4] + t * k[5])));
  return {x * scale + 2.0 * k[2] * x * y + k[3] * (t + 2.0 * x * x) + k[6] * t,
          y * scale + 2.0 * k[3] * x * y + k[2] * (t + 2.0 * y * y) + k[7] * t};
}

Vec2 stereographic(const Vec2& p) {
  const double scale = 2.0 / (std::sqrt(p[0] * p[0] + p[1] * p[1] + 1.0) + 1.0);
  return {scale * p[0], scale * p[1]};
}

Vec2 cahvor(std::span<const double> k, const Vec2& p) {
  const Vec3 o = {std::sin(k[0]) * std::cos(k[1]), std::sin(k[1]), std::cos(k[0]) * std::cos(k[1])};
  const Vec3 ray = {p[0], p[1], 1.0};
  const double along = dot(ray, o);
  const double tau = dot(ray, ray) / (along * along) - 1.0;
  const double mu = k[2] + tau * (k[3] + tau * k[4]);
  const auto moved = [&](std::size_t i) { return ray[i] + mu * (ray[i] - along * o[i]); };
  return {moved(0) / moved(2), moved(1) / moved(2)};
}

// tan(r) / r-like functions lose their digits next to the axis, where the two series take over.
Vec2 fov(double omega, const Vec2& p) {
  constexpr double kSmall = 1e-4;
  const double r2 = p[0] * p[0] + p[1] * p[1];
  double scale = 0.0;
  if (omega * omega < kSmall) {
    scale = 1.0 + omega * omega / 12.0 - omega * omega * r2 / 3.0;
  } else {
    const double slope = 2.0 * std::tan(omega / 2.0);
    const double bend = slope * slope * r2;
    scale = bend < kSmall * kSmall ? slope / omega * (1.0 - bend / 3.0)
                                   : std::atan(slope * std::sqrt(r2)) / (std::sqrt(r2) * omega);
  }
  return {scale * p[0], scale * p[1]};
}

// Where a position falls in the grid along one axis: the first of `count` control points and their weights.
struct SplineAxis {
  std::int32_t first;
  std::int32_t count;
  std::array<double, 4> weights;
};

SplineAxis cubicAxis(double place, std::int32_t nodes) {
  const std::int32_t node = std::clamp(static_cast<std::int32_t>(place), 1, nodes - 3);
  const double x = place - node, x2 = x * x, x3 = x2 * x;
  return {node - 1,
          4,
          {(1.0 - 3.0 * x + 3.0 * x2 - x3) / 6.0, (4.0 - 6.0 * x2 + 3.0 * x3) / 6.0,
           (1.0 + 3.0 * x + 3.0 * x2 - 3.0 * x3) / 6.0, x3 / 6.0}};
}

SplineAxis quadraticAxis(double place, std::int32_t nodes) {
  const std::int32_t node = std::clamp(static_cast<std::int32_t>(place + 0.5), 1, nodes - 2);
  const double x = place - node;
  return {node - 1,
          3,
          {(4.0 * x * x - 4.0 * x + 1.0) / 8.0, (3.0 - 4.0 * x * x) / 4.0, (4.0 * x * x + 4.0 * x + 1.0) / 8.0, 0.0}};
}

Vec2 splined(const Lens& lens, const Vec2& p) {
  constexpr double kQuarterDegree = 3.14159265358979323846 / 720.0;
  const SplineGrid& grid = lens.grid;
  const Vec2 u = stereographic(p);
  // Cubic splines need a whole interval beyond either edge, quadratic ones half of one.
  const double perUnit = (grid.columns - grid.order) / (4.0 * std::tan(grid.fovDegrees * kQuarterDegree));
  const Vec2 place = {u[0] * perUnit + 0.5 * (grid.columns - 1), u[1] * perUnit + 0.5 * (grid.rows - 1)};
  if (!(std::abs(place[0]) < 1e6 && std::abs(place[1]) < 1e6)) return {std::nan(""), std::nan("")};
  const auto axis = grid.order == 3 ? cubicAxis : quadraticAxis;
  const SplineAxis x = axis(place[0], grid.columns), y = axis(place[1], grid.rows);
  Vec2 result = u;
  for (std::int32_t row = 0; row < y.count; ++row) {
    for (std::int32_t column = 0; column < x.count; ++column) {
      const double weight = y.weights[static_cast<std::size_t>(row)] * x.weights[static_cast<std::size_t>(column)];
      const auto at = 2 * static_cast<std::size_t>((y.first + row) * grid.columns + x.first + column);
      result[0] += weight * lens.parameters[at];
      result[1] += weight * lens.parameters[at + 1];
    }
  }
  return result;
}

}  // namespace

std::string_view lensModelName(LensModel model) { return descriptionOf(model).name; }

std::optional<LensModel> lensModelNamed(std::string_view name) {
  const auto found =
      std::find_if(kModels.begin(), kModels.end(), [&](LensModel m) { return lensModelName(m) == name; });
  if (found == kModels.end()) return std::nullopt;
  return *found;
}

std::span<const LensModel> lensModels() { return kModels; }

std::span<const std::string_view> lensParameterNames(LensModel model) { return descriptionOf(model).parameters; }

std::string whyNoLens(const Lens& lens) {
  std::size_t count = lensParameterNames(lens.model).size();
  if (lens.model == LensModel::SplinedStereographic) {
    std::string wrong = whyNoGrid(lens.grid);
    if (!wrong.empty()) return wrong;
    count = 2 * static_cast<std::size_t>(lens.grid.columns) * static_cast<std::size_t>(lens.grid.rows);
  }
  if (lens.parameters.size() != count) {
    return "a lens \"" + std::string(lensModelName(lens.model)) + "\" has " + std::to_string(count) +
           " parameters, not " + std::to_string(lens.parameters.size());
  }
  const bool finite =
      std::all_of(lens.parameters.begin(), lens.parameters.end(), [](double p) { return std::isfinite(p); });
  return finite ? std::string() : "a parameter of the lens is not finite";
}

Vec2 bent(const Lens& lens, const Vec2& p) {
  const std::span<const double> k = lens.parameters;
  switch (lens.model) {
    case LensModel::OpenCv:
      return openCv(k, p);
    case LensModel::OpenCvFisheye:
      return fisheye(k, p);
    case LensModel::Stereographic:
      return stereographic(p);
    case LensModel::Cahvor:
      return cahvor(k, p);
    case LensModel::SplinedStereographic:
      return splined(lens, p);
    case LensModel::Fov:
      return fov(k[0], p);
    case LensModel::ThinPrismFisheye:
      return thinPrismFisheye(k, p);
    case LensModel::BrownConrady:
    case LensModel::HeadPolynomial:
      break;
  }
  return p;
}

}  // namespace quel
