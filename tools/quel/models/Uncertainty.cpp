#include "models/Uncertainty.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

#include "files/Failure.h"
#include "quel/measure/ExpectedCovariance.h"

namespace queltool {

namespace {

constexpr std::size_t kNodes = 21;       // Of the grid over the volume, along each axis.
constexpr double kSectionNodes = 121.0;  // Of a section, along the longest side of the volume.

StandardDeviations deviationsOf(const Mat3& covariance) {
  return {std::sqrt(covariance[0][0]), std::sqrt(covariance[1][1]), std::sqrt(covariance[2][2]),
          std::sqrt(covariance[0][0] + covariance[1][1] + covariance[2][2])};
}

// NaN where a place is not seen.
std::vector<StandardDeviations> deviationsAt(const quel::Head& head, const std::vector<Vec3>& places,
                                             const quel::TriangulateOptions& options) {
  const auto expected = quel::expectedCovariance(head, places, options);
  if (!expected) throw Failure(expected.error().message());
  std::vector<StandardDeviations> deviations;
  deviations.reserve(places.size());
  for (const Mat3& covariance : expected.value().covariance) deviations.push_back(deviationsOf(covariance));
  return deviations;
}

// The n-th of `count` nodes from one face to the other; the middle where there is one alone.
double shareOf(std::size_t n, std::size_t count) {
  return count == 1 ? 0.0 : static_cast<double>(n) / static_cast<double>(count - 1) - 0.5;
}

std::vector<Vec3> gridOver(const Volume& volume) {
  std::vector<Vec3> places;
  for (std::size_t n = 0; n < kNodes * kNodes * kNodes; ++n) {
    places.push_back(volume.at(
        {shareOf(n % kNodes, kNodes), shareOf(n / kNodes % kNodes, kNodes), shareOf(n / (kNodes * kNodes), kNodes)}));
  }
  return places;
}

void addFigures(Uncertainty& found, const std::vector<StandardDeviations>& deviations) {
  found.places = deviations.size();
  found.least.fill(std::numeric_limits<double>::infinity());
  for (const StandardDeviations& each : deviations) {
    if (std::isnan(each[3])) continue;
    ++found.seen;
    for (std::size_t i = 0; i < each.size(); ++i) {
      found.rms[i] += each[i] * each[i];
      found.least[i] = std::min(found.least[i], each[i]);
      found.greatest[i] = std::max(found.greatest[i], each[i]);
    }
  }
  for (double& value : found.rms) value = std::sqrt(value / static_cast<double>(found.seen));
}

Section sectionOf(const quel::Head& head, const Volume& volume, const quel::TriangulateOptions& options,
                  std::size_t across) {
  const double pitch = *std::max_element(volume.size.begin(), volume.size.end()) / (kSectionNodes - 1.0);
  const auto nodes = [&](std::size_t axis) {
    return static_cast<std::size_t>(std::round(volume.size[axis] / pitch)) + 1;
  };
  Section section{
      across == 0 ? std::size_t{1} : std::size_t{0}, across == 2 ? std::size_t{1} : std::size_t{2}, 0, 0, {}};
  section.columns = std::max<std::size_t>(nodes(section.u), 2);
  section.rows = std::max<std::size_t>(nodes(section.v), 2);
  std::vector<Vec3> places;
  for (std::size_t n = 0; n < section.columns * section.rows; ++n) {
    Vec3 share{};
    share[section.u] = shareOf(n % section.columns, section.columns);
    share[section.v] = shareOf(n / section.columns, section.rows);
    places.push_back(volume.at(share));
  }
  for (const StandardDeviations& each : deviationsAt(head, places, options)) section.point.push_back(each[3]);
  return section;
}

}  // namespace

double toMicrometre(double place) { return std::round(place * 1000.0) / 1000.0 + 0.0; }

Vec3 Volume::at(const Vec3& share) const {
  return {centre[0] + share[0] * size[0], centre[1] + share[1] * size[1], centre[2] + share[2] * size[2]};
}

std::optional<Volume> volumeOf(const tag_qmReconsTensorData& head) {
  const Volume volume = {
      {head.reconstBoxCenterX, head.reconstBoxCenterY, head.reconstBoxCenterZ},
      {2.0 * head.reconstBoxHalfSizeX, 2.0 * head.reconstBoxHalfSizeY, 2.0 * head.reconstBoxHalfSizeZ}};
  for (std::size_t i = 0; i < 3; ++i) {
    if (!std::isfinite(volume.centre[i]) || !std::isfinite(volume.size[i]) || volume.size[i] <= 0.0) {
      return std::nullopt;
    }
  }
  return volume;
}

Uncertainty uncertaintyOf(const quel::Head& head, const Volume& volume, const quel::TriangulateOptions& options) {
  Uncertainty found{};
  found.volume = volume;
  addFigures(found, deviationsAt(head, gridOver(volume), options));
  if (found.seen == 0) throw Failure("no place of the volume is seen by the cameras");
  const StandardDeviations centre = deviationsAt(head, {volume.centre}, options)[0];
  if (!std::isnan(centre[3])) found.centre = centre;
  found.sections = {sectionOf(head, volume, options, 2), sectionOf(head, volume, options, 1),
                    sectionOf(head, volume, options, 0)};
  return found;
}

double sideBySide(const Uncertainty& uncertainty, double width, double height) {
  double across = 0.0;
  double up = 0.0;
  for (const Section& section : uncertainty.sections) {
    across += uncertainty.volume.size[section.u];
    up = std::max(up, uncertainty.volume.size[section.v]);
  }
  return std::min(width / across, height / up);
}

}  // namespace queltool
