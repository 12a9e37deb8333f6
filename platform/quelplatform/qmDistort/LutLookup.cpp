#include "quelplatform/qmDistort/LutLookup.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace quelplatform {

namespace {

// A place between two neighbours: `index` and, where `weight` is not 0, `index + 1`.
struct Place {
  std::int32_t index;
  double weight;

  std::int32_t next() const { return weight == 0.0 ? index : index + 1; }
  std::int32_t nearest() const { return weight < 0.5 ? index : index + 1; }
};

std::optional<Place> placeInGrid(double position, double origin, double pitch, std::int32_t cells,
                                 OutsideGrid outside) {
  if (cells < 1) return std::nullopt;
  double place = (position - origin) / pitch;
  if (outside == OutsideGrid::TakesTheEdge) place = std::clamp(place, 0.0, static_cast<double>(cells - 1));
  if (!(place >= 0.0 && place <= cells - 1)) return std::nullopt;
  const double index = std::floor(place);
  return Place{static_cast<std::int32_t>(index), place - index};
}

std::optional<Place> placeInLayers(const tag_qmDistortLuts& luts, const float* depth) {
  const std::int32_t last = luts.tableCount - 1;
  if (depth == nullptr) {
    if (luts.referenceLayer < 0 || luts.referenceLayer > last) return std::nullopt;
    return Place{luts.referenceLayer, 0.0};
  }
  const float* depths = luts.layerDepths;
  if (depths == nullptr || !(*depth >= depths[0] && *depth <= depths[last])) return std::nullopt;
  if (*depth == depths[last]) return Place{last, 0.0};
  const auto below = static_cast<std::int32_t>(std::upper_bound(depths, depths + last, *depth) - depths) - 1;
  const double low = static_cast<double>(depths[below]), high = static_cast<double>(depths[below + 1]);
  return Place{below, (static_cast<double>(*depth) - low) / (high - low)};
}

struct LutPlace {
  Place column, row, layer;
};

std::optional<LutPlace> findPlace(const tag_qmDistortLuts& luts, Pixel pixel, const float* depth, OutsideGrid outside) {
  if (luts.tables[0] == nullptr || luts.tables[1] == nullptr || luts.tableCount < 1) return std::nullopt;
  const qmImageRecord& shape = luts.tables[0][0];
  const auto column = placeInGrid(pixel.x, luts.gridOrigin[0], luts.gridPitch[0], shape.width, outside);
  const auto row = placeInGrid(pixel.y, luts.gridOrigin[1], luts.gridPitch[1], shape.height, outside);
  if (!column || !row) return std::nullopt;
  const auto layer = placeInLayers(luts, depth);
  if (!layer) return std::nullopt;
  return LutPlace{*column, *row, *layer};
}

double cellValue(float cell) {
  return cell == kNoLutValue ? std::numeric_limits<double>::quiet_NaN() : static_cast<double>(cell);
}

double between(double a, double b, double weight) { return a + weight * (b - a); }

// A value and its slopes per cell; NaN when a cell holds no value.
struct Sample {
  double value, slopeX, slopeY;
};

Sample bilinear(const qmImageRecord& image, const LutPlace& at) {
  const float* upper = image.rows[at.row.index];
  const float* lower = image.rows[at.row.next()];
  const double a = cellValue(upper[at.column.index]), b = cellValue(upper[at.column.next()]);
  const double c = cellValue(lower[at.column.index]), d = cellValue(lower[at.column.next()]);
  const double top = between(a, b, at.column.weight), bottom = between(c, d, at.column.weight);
  return {between(top, bottom, at.row.weight), between(b - a, d - c, at.row.weight), bottom - top};
}

Sample interpolated(const qmImageRecord* layers, const LutPlace& at) {
  const Sample low = bilinear(layers[at.layer.index], at);
  if (at.layer.weight == 0.0) return low;
  const Sample high = bilinear(layers[at.layer.index + 1], at);
  return {between(low.value, high.value, at.layer.weight), between(low.slopeX, high.slopeX, at.layer.weight),
          between(low.slopeY, high.slopeY, at.layer.weight)};
}

}  // namespace

std::optional<LutSample> interpolatedLut(const tag_qmDistortLuts& luts, Pixel pixel, const float* depth,
                                         OutsideGrid outside) {
  const auto at = findPlace(luts, pixel, depth, outside);
  if (!at) return std::nullopt;
  const Sample x = interpolated(luts.tables[0], *at), y = interpolated(luts.tables[1], *at);
  const Pixel displacement = {x.value, y.value};
  if (!isFinite(displacement)) return std::nullopt;
  return LutSample{displacement,
                   {x.slopeX / luts.gridPitch[0], x.slopeY / luts.gridPitch[1], y.slopeX / luts.gridPitch[0],
                    y.slopeY / luts.gridPitch[1]}};
}

std::optional<Pixel> nearestLut(const tag_qmDistortLuts& luts, Pixel pixel, const float* depth) {
  const auto at = findPlace(luts, pixel, depth, OutsideGrid::IsNothing);
  if (!at) return std::nullopt;
  const auto cell = [&](const qmImageRecord* layers) {
    return cellValue(layers[at->layer.nearest()].rows[at->row.nearest()][at->column.nearest()]);
  };
  const Pixel displacement = {cell(luts.tables[0]), cell(luts.tables[1])};
  if (!isFinite(displacement)) return std::nullopt;
  return displacement;
}

}  // namespace quelplatform
