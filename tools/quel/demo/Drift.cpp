#include "demo/Drift.h"

#include <fmt/core.h>

#include <Eigen/Geometry>
#include <cmath>
#include <numbers>
#include <utility>

#include "files/Failure.h"
#include "files/Files.h"
#include "models/Compensation.h"
#include "quelcore/tensor/qmReconsTensorCore.h"

namespace queltool {

namespace {

using Eigen::AngleAxisd;
using Eigen::Vector3d;

constexpr double kDegrees = 15.0;

// What changes with one degree.
struct Rates {
  double focal;    // Pixels.
  Vec2 principal;  // Pixels.
  Vec3 turn;       // Degrees, about the axes of the camera.
  Vec3 base;       // Millimetres along the base lines 0-1, 0-2 and 1-2.
  double k1;       // Of the distortion in pixels.
};

constexpr std::array<Rates, 3> kRates = {{
    {0.0064, {0.021, -0.013}, {4e-4, -7e-4, 2e-4}, {-0.0011, 0.0004, 0.0}, 2.1e-10},
    {0.0071, {-0.017, 0.024}, {-6e-4, 3e-4, 5e-4}, {0.0013, 0.0, -0.0006}, 1.6e-10},
    {0.0058, {0.012, 0.019}, {5e-4, 6e-4, -3e-4}, {0.0, 0.0009, 0.0008}, -1.9e-10},
}};

std::array<std::pair<const char*, double>, 11> namedRates(const Rates& r) {
  return {{{"ax", r.focal},
           {"ay", r.focal},
           {"xp", r.principal[0]},
           {"yp", r.principal[1]},
           {"rx", r.turn[0]},
           {"ry", r.turn[1]},
           {"rz", r.turn[2]},
           {"D01", r.base[0]},
           {"D02", r.base[1]},
           {"D12", r.base[2]},
           {"k1", r.k1}}};
}

std::string correctionTable() {
  std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<BlockCorrectionParameters>\n";
  for (std::size_t camera = 0; camera < 3; ++camera) {
    for (const auto& [name, rate] : namedRates(kRates[camera])) {
      xml += fmt::format("  <BlockParameter Name=\"{}\" CameraId=\"{}\" Value=\"{}\"/>\n", name, camera, rate);
    }
  }
  return xml + "</BlockCorrectionParameters>\n";
}

Vector3d place(const quel::Camera& camera) { return Vector3d(quel::centreOf(camera).data()); }

double radians(double degrees) { return degrees * std::numbers::pi / 180.0; }

// A lens keeps its distortion in pixels, but for k1; the camera's coefficients are in units of its focal length.
void warmLens(quel::Camera& camera, const Rates& rates, double degrees) {
  const double growth = (camera.fx + rates.focal * degrees) / camera.fx;
  camera.fx += rates.focal * degrees;
  camera.fy += rates.focal * degrees;
  camera.cx += rates.principal[0] * degrees;
  camera.cy += rates.principal[1] * degrees;
  camera.k1 = camera.k1 * growth * growth + rates.k1 * degrees * camera.fx * camera.fx;
  camera.k2 *= std::pow(growth, 4);
  camera.k3 *= std::pow(growth, 6);
  camera.p1 *= growth;
  camera.p2 *= growth;
}

void warmPose(quel::Camera& camera, const Rates& rates, const Vector3d& centre, double degrees) {
  const Eigen::Matrix3d turn = (AngleAxisd(radians(rates.turn[2] * degrees), Vector3d::UnitZ()) *
                                AngleAxisd(radians(rates.turn[1] * degrees), Vector3d::UnitY()) *
                                AngleAxisd(radians(rates.turn[0] * degrees), Vector3d::UnitX()))
                                   .toRotationMatrix();
  Eigen::Matrix3d rotation;
  for (int row = 0; row < 3; ++row) {
    rotation.row(row) = Vector3d(camera.rotation[static_cast<std::size_t>(row)].data()).transpose();
  }
  rotation = turn * rotation;
  const Vector3d translation = -(rotation * centre);
  for (int row = 0; row < 3; ++row) {
    const auto i = static_cast<std::size_t>(row);
    camera.rotation[i] = {rotation(row, 0), rotation(row, 1), rotation(row, 2)};
    camera.translation[i] = translation[row];
  }
}

std::array<quel::Camera, 3> warmed(const std::array<quel::Camera, 3>& cold, double degrees) {
  const Vector3d lines[3] = {(place(cold[1]) - place(cold[0])).normalized(),
                             (place(cold[2]) - place(cold[0])).normalized(),
                             (place(cold[2]) - place(cold[1])).normalized()};
  std::array<quel::Camera, 3> warm = cold;
  for (std::size_t i = 0; i < 3; ++i) {
    Vector3d centre = place(cold[i]);
    for (std::size_t line = 0; line < 3; ++line) centre += lines[line] * (kRates[i].base[line] * degrees);
    warmLens(warm[i], kRates[i], degrees);
    warmPose(warm[i], kRates[i], centre, degrees);
  }
  return warm;
}

std::array<double, 3> driftOf(const QmReconsTensor& head, const std::array<quel::Camera, 3>& warm,
                              const std::vector<Corner>& corners) {
  std::array<double, 3> rms{};
  for (std::size_t i = 0; i < 3; ++i) {
    double sum = 0.0;
    for (const Corner& corner : corners) {
      double pixel[2];
      const int camera = static_cast<int>(i);
      if (qmRTProjectPointtoImage(head, corner.board.data(), camera, PROJECT_EXACT, pixel) != 1) {
        throw Failure(fmt::format("a corner of the board does not project into camera {}", i));
      }
      const Vec2 truth = quel::distortedPixel(warm[i], quel::idealPixel(warm[i], corner.board));
      sum += std::pow(pixel[0] - truth[0], 2) + std::pow(pixel[1] - truth[1], 2);
    }
    rms[i] = std::sqrt(sum / static_cast<double>(corners.size()));
  }
  return rms;
}

}  // namespace

DriftRun runDrift(const std::array<quel::Camera, 3>& cameras, const QmReconsTensor& block,
                  const std::vector<Corner>& corners, const std::filesystem::path& table) {
  writeWholeFile(table, correctionTable());
  const double temperature = block.temperature[TEMPERATURE_REFERENCE] + kDegrees;
  const Compensated compensated = compensate(block, table, temperature);
  const std::array<quel::Camera, 3> warm = warmed(cameras, kDegrees);
  return {kDegrees, driftOf(block, warm, corners), driftOf(*compensated.block, warm, corners)};
}

}  // namespace queltool
