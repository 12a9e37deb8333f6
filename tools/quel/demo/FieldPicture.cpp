#include <fmt/core.h>

#include <algorithm>
#include <cmath>

#include "demo/DemoPictures.h"
#include "pictures/BandLegend.h"
#include "pictures/LensField.h"
#include "pictures/Picture.h"
#include "pictures/ViewMarks.h"

namespace queltool {

namespace {

constexpr Colour kArrow{1.0, 1.0, 1.0, 0.92};
constexpr int kCells = 160;  // Of colour, along the width.
constexpr int kArrows = 16;  // Along the width.
constexpr Colour kContour{1.0, 1.0, 1.0, 0.55};
constexpr std::size_t kNodes = 161;  // Of the contours' grid, along the width.
constexpr std::size_t kLevels = 8;

// Calls `visit(pixel, displacement)` on a grid of `columns` cells along the width.
template <typename Visit>
void overImage(const QmReconsTensor& head, int camera, int columns, Visit visit) {
  const double pitch = static_cast<double>(head.imageWidth) / columns;
  for (double y = 0.5 * pitch; y < head.imageHeight + 0.5 * pitch; y += pitch) {
    for (double x = 0.5 * pitch; x < head.imageWidth; x += pitch) {
      const Vec2 pixel = {x - 0.5, y - 0.5};
      const Vec2 moved = displacementAt(head, camera, pixel);
      if (std::isfinite(moved[0]) && std::isfinite(moved[1])) visit(pixel, moved);
    }
  }
}

double largest(const QmReconsTensor& head, int camera) {
  double most = 0.0;
  overImage(head, camera, kCells,
            [&](const Vec2&, const Vec2& moved) { most = std::max(most, std::hypot(moved[0], moved[1])); });
  return most;
}

void drawCamera(ThreeViews& views, const QmReconsTensor& head, int camera, double most) {
  const double cell = views.scale() * head.imageWidth / kCells;
  overImage(head, camera, kCells, [&](const Vec2& pixel, const Vec2& moved) {
    const Vec2 at = views.at(camera, pixel);
    // A little overlap hides the seams between the cells.
    views.picture().fillBox({at[0] - 0.5 * cell - 0.2, at[1] - 0.5 * cell - 0.2, cell + 0.4, cell + 0.4},
                            scaleColour(std::hypot(moved[0], moved[1]) / most));
  });
  overImage(head, camera, kArrows, [&](const Vec2& pixel, const Vec2& moved) {
    views.picture().arrow(views.at(camera, pixel), views.at(camera, {pixel[0] + moved[0], pixel[1] + moved[1]}), kArrow,
                          1.2);
  });
  const Vec2 centre = views.at(camera, {head.distortParams[camera].xp, head.distortParams[camera].yp});
  views.picture().cross(centre, 6.0, kArrow, 1.2);
}

void drawContour(ThreeViews& views, int camera, const MovedField& moved, double level, const LabelWay& way) {
  const auto pieces = contourOf(moved.field, level);
  if (pieces.empty()) return;
  for (const auto& [from, to] : pieces) {
    views.picture().line(views.at(camera, moved.pixelAt(from)), views.at(camera, moved.pixelAt(to)), kContour, 1.0);
  }
  drawLabel(views.picture(), views.at(camera, moved.pixelAt(way.nearestOf(pieces))), fmt::format("{:g} px", level));
}

void drawContours(ThreeViews& views, const QmReconsTensor& head, int camera) {
  const MovedField moved = movedBy(head, camera, kNodes);
  const LabelWay way = labelWay(head, camera, moved);
  for (const double level : levelsOf(moved.field, kLevels)) drawContour(views, camera, moved, level, way);
}

void drawLegend(ThreeViews& views, double most) {
  drawScale(views.picture(), {views.left(), views.legendY()}, 0.0, 1.0, "0 px", fmt::format("{:.1f} px", most));
  views.picture().text({views.right(), views.legendY()},
                       "lines of equal distance; arrows in true length, from the ideal to the distorted pixel; cross: "
                       "principal point",
                       13.0, kInk, Align::Right);
}

}  // namespace

void drawField(const std::filesystem::path& file, const QmReconsTensor& head, const CameraNames& names) {
  ThreeViews views(file, "Lens distortion", "How far the lens moves each pixel of the ideal image", head.imageWidth,
                   head.imageHeight);
  const std::array<double, 3> most = {largest(head, 0), largest(head, 1), largest(head, 2)};
  const double top = std::max({most[0], most[1], most[2], 1e-9});
  for (int camera = 0; camera < 3; ++camera) {
    const auto i = static_cast<std::size_t>(camera);
    views.beginPanel(camera, kPanel, fmt::format("Camera {}   {}", camera, names[i]),
                     fmt::format("{:.1f} px at most", most[i]));
    views.picture().clip(views.panel(camera));
    drawCamera(views, head, camera, top);
    drawContours(views, head, camera);
    views.picture().unclip();
  }
  drawLegend(views, top);
  views.picture().finish();
}

}  // namespace queltool
