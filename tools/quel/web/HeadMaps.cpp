#include "web/HeadMaps.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>

#include "pictures/LensField.h"

namespace queltool {
namespace {

constexpr double kRoom = 1180.0;       // Of maps side by side, in pixels of the page.
constexpr double kMostHeight = 340.0;  // Of one.
constexpr double kLeastWidth = 120.0;
constexpr double kLensWidth = 380.0;
constexpr std::size_t kSectionLevels = 6;
constexpr std::size_t kLensLevels = 5;
constexpr std::size_t kLensNodes = 121;  // Along the width of an image.
constexpr std::size_t kArrows = 14;      // Likewise.
constexpr const char* kAxes[] = {"X", "Y", "Z"};

// Least and greatest of all maps; 0 and 0 where there is no value.
MapRange rangeOf(const std::vector<PageMap>& maps) {
  MapRange range{HUGE_VAL, -HUGE_VAL};
  for (const PageMap& map : maps) {
    for (const double value : map.field.values) {
      if (!std::isfinite(value)) continue;
      range = {std::min(range.least, value), std::max(range.greatest, value)};
    }
  }
  return range.least <= range.greatest ? range : MapRange{0.0, 0.0};
}

Vec2 pitchOf(const Section& section, const Volume& volume) {
  return {volume.size[section.u] / static_cast<double>(section.columns - 1),
          volume.size[section.v] / static_cast<double>(section.rows - 1)};
}

// In the middle of a line there is most room for its label.
void addSectionContours(PageMap& map, const SiteUnit& unit) {
  Field shown = map.field;
  for (double& value : shown.values) value *= unit.perMillimetre;
  for (const double level : levelsOf(shown, kSectionLevels)) {
    const auto pieces = contourOf(shown, level);
    if (!pieces.empty()) addContour(map, pieces, pieces[pieces.size() / 2].first, fmt::format("{:g}", level));
  }
}

PageMap sectionMap(const Uncertainty& uncertainty, const Section& section, const SiteUnit& unit) {
  const std::size_t across = 3 - section.u - section.v;
  const double at = unit.perMillimetre * toMicrometre(uncertainty.volume.centre[across]);
  PageMap map;
  map.id = fmt::format("section-{}", across);
  map.title = fmt::format("{} = {:.4g} {}", kAxes[across], at, unit.name);
  map.aside = fmt::format("{} to the right, {} up", kAxes[section.u], kAxes[section.v]);
  map.label = fmt::format("Standard deviation of a point in the section {}, {}", map.title, map.aside);
  map.field = {section.columns, section.rows, section.point};
  map.rises = true;
  map.pitch = pitchOf(section, uncertainty.volume);
  map.width = std::max(kLeastWidth, sideBySide(uncertainty, kRoom, kMostHeight) * uncertainty.volume.size[section.u]);
  addSectionContours(map, unit);
  addRuler(map, unit.perMillimetre, unit.name);
  return map;
}

void addLensContours(PageMap& map, const tag_qmReconsTensorData& head, int camera, const MovedField& moved) {
  const LabelWay way = labelWay(head, camera, moved);
  for (const double level : levelsOf(moved.field, kLensLevels)) {
    const auto pieces = contourOf(moved.field, level);
    if (!pieces.empty()) addContour(map, pieces, way.nearestOf(pieces), fmt::format("{:g}", level));
  }
}

// In true length, from ideal pixels on a grid.
void addDisplacements(PageMap& map, const tag_qmReconsTensorData& head, int camera, const MovedField& moved) {
  const double step = static_cast<double>(moved.field.columns - 1) / kArrows;
  std::vector<std::pair<Vec2, Vec2>> arrows;
  for (double row = 0.5 * step; row < static_cast<double>(moved.field.rows - 1); row += step) {
    for (double column = 0.5 * step; column < static_cast<double>(moved.field.columns - 1); column += step) {
      const Vec2 by = displacementAt(head, camera, moved.pixelAt({column, row}));
      if (!std::isfinite(by[0]) || !std::isfinite(by[1])) continue;
      arrows.push_back({{column, row}, {column + by[0] / moved.pitch, row + by[1] / moved.pitch}});
    }
  }
  addArrows(map, arrows);
}

PageMap lensMap(const tag_qmReconsTensorData& head, int camera) {
  const MovedField moved = movedBy(head, camera, kLensNodes);
  PageMap map;
  map.id = fmt::format("lens-{}", camera);
  map.title = fmt::format("Camera {}", camera);
  map.field = moved.field;
  map.rises = false;
  map.pitch = {moved.pitch, moved.pitch};
  map.width = kLensWidth;
  addLensContours(map, head, camera, moved);
  addDisplacements(map, head, camera, moved);
  const tag_qmDistortParams& lens = head.distortParams[camera];
  addCross(map, {(lens.xp + 0.5) / moved.pitch, (lens.yp + 0.5) / moved.pitch});
  return map;
}

}  // namespace

MapGroup sectionMaps(const Uncertainty& uncertainty, const SiteUnit& unit) {
  MapGroup group{{}, {}, {unit.perMillimetre, unit.name}};
  for (const Section& section : uncertainty.sections) group.maps.push_back(sectionMap(uncertainty, section, unit));
  group.range = rangeOf(group.maps);
  return group;
}

MapGroup lensMaps(const tag_qmReconsTensorData& head) {
  MapGroup group{{}, {}, {1.0, "px"}};
  if (head.imageWidth <= 0 || head.imageHeight <= 0) return group;
  for (int camera = 0; camera < 3; ++camera) {
    group.maps.push_back(lensMap(head, camera));
    PageMap& map = group.maps.back();
    const MapRange own = rangeOf({map});
    map.aside = fmt::format("{:.2f} px at most", own.greatest);
    map.label = fmt::format("How far the lens of camera {} moves each pixel of the ideal image: {}", camera, map.aside);
  }
  group.range = {0.0, rangeOf(group.maps).greatest};
  return group;
}

}  // namespace queltool
