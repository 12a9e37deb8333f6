#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "demo/DemoPictures.h"
#include "pictures/Picture.h"

namespace queltool {

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

constexpr Colour kArrow{1.0, 1.0, 1.0, 0.92};
constexpr int kCells = 160;  // Of colour, along the width.
constexpr int kArrows = 16;  // Along the width.
constexpr double kBarWidth = 260.0;

// Displacement of an ideal pixel, or not-a-number where the model fails.
Vec2 displacement(const QmReconsTensor& head, int camera, const Vec2& ideal) {
  Vec2 distorted = {kNan, kNan};
  qmDistortDistortOnePt(ideal.data(), &head.distortParams[camera], nullptr, distorted.data());
  return {distorted[0] - ideal[0], distorted[1] - ideal[1]};
}

// Calls `visit(pixel, displacement)` on a grid of `columns` cells along the width.
template <typename Visit>
void overImage(const QmReconsTensor& head, int camera, int columns, Visit visit) {
  const double pitch = static_cast<double>(head.imageWidth) / columns;
  for (double y = 0.5 * pitch; y < head.imageHeight + 0.5 * pitch; y += pitch) {
    for (double x = 0.5 * pitch; x < head.imageWidth; x += pitch) {
      const Vec2 pixel = {x - 0.5, y - 0.5};
      const Vec2 moved = displacement(head, camera, pixel);
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

void drawLegend(ThreeViews& views, double most) {
  Picture& picture = views.picture();
  const double y = views.legendY();
  const double x = views.left();
  picture.text({x, y}, "0 px", 13.0, kInk);
  constexpr int kSteps = 130;
  for (int i = 0; i < kSteps; ++i) {
    picture.fillBox({x + 40.0 + i * kBarWidth / kSteps, y - 12.0, kBarWidth / kSteps + 0.4, 14.0},
                    scaleColour((i + 0.5) / kSteps));
  }
  picture.text({x + 50.0 + kBarWidth, y}, fmt::format("{:.1f} px", most), 13.0, kInk);
  picture.text({views.right(), y},
               "arrows in true length, from the ideal to the distorted pixel; cross: principal point", 13.0, kInk,
               Align::Right);
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
    views.picture().unclip();
  }
  drawLegend(views, top);
  views.picture().finish();
}

}  // namespace queltool
