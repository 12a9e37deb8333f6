#include "pictures/UncertaintyPicture.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>

#include "pictures/BandLegend.h"
#include "pictures/Contours.h"
#include "pictures/Picture.h"
#include "pictures/ViewMarks.h"

namespace queltool {

namespace {

constexpr double kMargin = 28.0;
constexpr double kGap = 30.0;
constexpr double kTop = 108.0;
constexpr double kBelow = 96.0;  // A panel: its ruler and its axes.
constexpr double kBottom = 40.0;
constexpr double kWidth = 1340.0;
constexpr double kMostHeight = 560.0;  // Of a panel.
constexpr double kLeastSide = 40.0;
constexpr std::size_t kLevels = 6;
constexpr Colour kContour{1.0, 1.0, 1.0, 0.55};
constexpr const char* kAxes[] = {"X", "Y", "Z"};

// Least and greatest of all sections.
struct Range {
  double least = HUGE_VAL;
  double greatest = 0.0;

  double share(double value) const { return greatest > least ? (value - least) / (greatest - least) : 0.0; }
};

Range rangeOf(const Uncertainty& uncertainty) {
  Range range;
  for (const Section& section : uncertainty.sections) {
    for (const double value : section.point) {
      if (std::isnan(value)) continue;
      range.least = std::min(range.least, value);
      range.greatest = std::max(range.greatest, value);
    }
  }
  return range;
}

// A section in its panel.
struct Panel {
  const Section& section;
  Box box;

  Vec2 at(const Vec2& node) const {
    return {box.x + box.width * node[0] / static_cast<double>(section.columns - 1),
            box.y + box.height * (1.0 - node[1] / static_cast<double>(section.rows - 1))};
  }
};

void drawCells(Picture& picture, const Panel& panel, const Range& range) {
  const Section& section = panel.section;
  const Vec2 origin = panel.at({0.0, 0.0});
  const Vec2 next = panel.at({1.0, 1.0});
  const Vec2 cell = {next[0] - origin[0], origin[1] - next[1]};
  for (std::size_t n = 0; n < section.point.size(); ++n) {
    if (std::isnan(section.point[n])) continue;
    const Vec2 at = panel.at({static_cast<double>(n % section.columns), static_cast<double>(n / section.columns)});
    // A little overlap hides the seams between the cells.
    picture.fillBox({at[0] - 0.5 * cell[0] - 0.2, at[1] - 0.5 * cell[1] - 0.2, cell[0] + 0.4, cell[1] + 0.4},
                    scaleColour(range.share(section.point[n])));
  }
}

void drawContours(Picture& picture, const Panel& panel) {
  const Field field{panel.section.columns, panel.section.rows, panel.section.point};
  for (const double level : levelsOf(field, kLevels)) {
    const auto pieces = contourOf(field, level);
    if (pieces.empty()) continue;
    for (const auto& [from, to] : pieces) picture.line(panel.at(from), panel.at(to), kContour, 1.0);
    drawLabel(picture, panel.at(pieces[pieces.size() / 2].first), fmt::format("{:g} mm", level));
  }
}

void drawSection(Picture& picture, const Panel& panel, const Volume& volume, const Range& range) {
  const Section& section = panel.section;
  const std::size_t across = 3 - section.u - section.v;
  picture.text({panel.box.x, panel.box.y - 9.0},
               fmt::format("{} = {:.4g} mm", kAxes[across], toMicrometre(volume.centre[across])), 14.0, kInk,
               Align::Left, true);
  picture.fillBox(panel.box, kPanel);
  picture.clip(panel.box);
  drawCells(picture, panel, range);
  drawContours(picture, panel);
  picture.unclip();
  picture.frameBox(panel.box, kFrame, 1.0);
  const double under = panel.box.y + panel.box.height;
  QmVec3 right, up;
  right[static_cast<int>(section.u)] = up[static_cast<int>(section.v)] = 1.0;
  drawRuler(picture, {panel.box.x, under + 24.0}, panel.box.width / volume.size[section.u], panel.box.width, "mm");
  drawAxes(picture, {panel.box.x + panel.box.width - 50.0, under + 54.0}, axesOf(right, up));
}

}  // namespace

void drawUncertainty(const OutputFile& file, const Uncertainty& uncertainty, const std::string& subtitle) {
  const double scale = sideBySide(uncertainty, kWidth - 2.0 * kMargin - 2.0 * kGap, kMostHeight);
  const Range range = rangeOf(uncertainty);
  double height = 0.0;
  for (const Section& section : uncertainty.sections) {
    height = std::max({height, kLeastSide, scale * uncertainty.volume.size[section.v]});
  }
  Picture picture(file, kWidth, kTop + height + kBelow + kBottom);
  picture.text({kMargin, 40.0}, "Standard deviation of a measured point", 24.0, kInk, Align::Left, true);
  picture.text({kMargin, 63.0}, subtitle, 14.0, kPale);
  double x = kMargin;
  for (const Section& section : uncertainty.sections) {
    const Box box = {x, kTop, std::max(kLeastSide, scale * uncertainty.volume.size[section.u]),
                     std::max(kLeastSide, scale * uncertainty.volume.size[section.v])};
    drawSection(picture, {section, box}, uncertainty.volume, range);
    x += box.width + kGap;
  }
  const double y = kTop + height + kBelow + 14.0;
  drawScale(picture, {kMargin, y}, 0.0, 1.0, fmt::format("{:.3g} mm", range.least),
            fmt::format("{:.3g} mm", range.greatest));
  picture.text({kWidth - kMargin, y}, "lines of equal deviation; grey: a camera does not see it, or its LUT ends", 13.0,
               kInk, Align::Right);
  picture.finish();
}

}  // namespace queltool
