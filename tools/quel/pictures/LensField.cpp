#include "pictures/LensField.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "quelplatform/qmDistort/qmDistort.h"

namespace queltool {

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

}  // namespace

Vec2 displacementAt(const tag_qmReconsTensorData& head, int camera, const Vec2& ideal) {
  Vec2 distorted = {kNan, kNan};
  qmDistortDistortOnePt(ideal.data(), &head.distortParams[camera], nullptr, distorted.data());
  return {distorted[0] - ideal[0], distorted[1] - ideal[1]};
}

MovedField movedBy(const tag_qmReconsTensorData& head, int camera, std::size_t columns) {
  const double pitch = static_cast<double>(head.imageWidth) / static_cast<double>(columns - 1);
  const std::size_t rows = static_cast<std::size_t>(std::floor(head.imageHeight / pitch)) + 1;
  MovedField moved{{columns, rows, {}}, pitch};
  for (std::size_t n = 0; n < columns * rows; ++n) {
    const Vec2 place = {static_cast<double>(n % columns), static_cast<double>(n / columns)};
    const Vec2 by = displacementAt(head, camera, moved.pixelAt(place));
    moved.field.values.push_back(std::hypot(by[0], by[1]));
  }
  return moved;
}

double LabelWay::distance(const Vec2& place) const {
  const Vec2 off = {place[0] - from[0], place[1] - from[1]};
  const double onward = off[0] * along[0] + off[1] * along[1];
  return onward < 0.0 ? HUGE_VAL : std::abs(off[0] * along[1] - off[1] * along[0]);
}

Vec2 LabelWay::nearestOf(const std::vector<std::pair<Vec2, Vec2>>& pieces) const {
  return std::min_element(pieces.begin(), pieces.end(),
                          [this](const auto& a, const auto& b) { return distance(a.first) < distance(b.first); })
      ->first;
}

LabelWay labelWay(const tag_qmReconsTensorData& head, int camera, const MovedField& moved) {
  const tag_qmDistortParams& lens = head.distortParams[camera];
  const Vec2 from = {(lens.xp + 0.5) / moved.pitch, (lens.yp + 0.5) / moved.pitch};
  Vec2 corner{};
  double most = -1.0;
  for (const std::size_t column : {std::size_t{0}, moved.field.columns - 1}) {
    for (const std::size_t row : {std::size_t{0}, moved.field.rows - 1}) {
      if (!(moved.field.at(column, row) > most)) continue;
      most = moved.field.at(column, row);
      corner = {static_cast<double>(column), static_cast<double>(row)};
    }
  }
  const double length = std::hypot(corner[0] - from[0], corner[1] - from[1]);
  return {from, {(corner[0] - from[0]) / length, (corner[1] - from[1]) / length}};
}

}  // namespace queltool
