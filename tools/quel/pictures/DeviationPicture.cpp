#include "pictures/DeviationPicture.h"

#include <fmt/core.h>

#include <cmath>

#include "files/Failure.h"
#include "models/DeviationTexts.h"
#include "pictures/FeaturePicture.h"

namespace queltool {

namespace {

// The points that have a deviation, in the plane through them, whose view shows most of them.
PlaneFeature viewOf(const DeviationRun& run) {
  std::vector<Vec3> points;
  std::vector<double> each;
  for (std::size_t i = 0; i < run.off.points.size(); ++i) {
    if (std::isnan(run.off.each[i])) continue;
    points.push_back(run.off.points[i]);
    each.push_back(run.off.each[i]);
  }
  PlaneFeature view;
  try {
    view = fitPlane(points);
  } catch (const Failure&) {  // Points on a line, which any view shows from the side.
    view = againstPlane(points, {0.0, 0.0, 1.0}, 0.0);
  }
  view.residuals.each = std::move(each);
  return view;
}

}  // namespace

void drawDeviations(const OutputFile& file, const DeviationRun& run, DeviationPalette palette) {
  const auto captions = captionsOf(run.tolerance);
  const DeviationColours colourOf(run.tolerance, palette);
  const PlaneFeature view = run.plane ? *run.plane : viewOf(run);
  const PointColours colours = {
      fmt::format("{}: {}     {}: {}     {}: {}", captions[0], run.figures.below, captions[1], run.figures.within,
                  captions[2], run.figures.above),
      [&](double deviation) { return colourOf(deviation); },
      [&](Picture& picture, const Box& box) { colourOf.drawLegend(picture, box, view.residuals.each); }};
  drawPlane(file, view, "Deviations of " + run.cloud, colours);
}

}  // namespace queltool
