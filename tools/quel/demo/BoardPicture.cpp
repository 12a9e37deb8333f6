#include <fmt/core.h>

#include <algorithm>
#include <cmath>

#include "demo/DemoPictures.h"
#include "pictures/Picture.h"
#include "quelcore/tensor/qmReconsTensorCore.h"

namespace queltool {

namespace {

constexpr Colour kSquare{0.16, 0.20, 0.27, 0.16};
constexpr Colour kUsed{0.16, 0.42, 0.68};
constexpr Colour kCheck{0.85, 0.37, 0.05};
// Arrows as long as this, in units, are easy to see.
constexpr double kGoodLength = 14.0;
constexpr int kEdgeSteps = 8;

struct Lattice {
  double pitch;
  double width;   // Of the corners, millimetres.
  double height;  // As above.
};

// Least positive distance of corners along X, and what they span.
Lattice latticeOf(const std::vector<Corner>& corners) {
  Lattice lattice{HUGE_VAL, 0.0, 0.0};
  for (const Corner& corner : corners) {
    lattice.width = std::max(lattice.width, corner.board[0]);
    lattice.height = std::max(lattice.height, corner.board[1]);
    if (corner.board[0] > 0.0) lattice.pitch = std::min(lattice.pitch, corner.board[0]);
  }
  return lattice;
}

// A square of the board as the camera sees it: its edges bend with the distortion.
std::vector<Vec2> outlineOf(const ThreeViews& views, const QmReconsTensor& head, int camera, const Vec2& low,
                            double pitch) {
  const Vec2 corners[] = {low, {low[0] + pitch, low[1]}, {low[0] + pitch, low[1] + pitch}, {low[0], low[1] + pitch}};
  std::vector<Vec2> outline;
  for (std::size_t side = 0; side < 4; ++side) {
    const Vec2& from = corners[side];
    const Vec2& to = corners[(side + 1) % 4];
    for (int step = 0; step < kEdgeSteps; ++step) {
      const double share = static_cast<double>(step) / kEdgeSteps;
      const double point[3] = {from[0] + share * (to[0] - from[0]), from[1] + share * (to[1] - from[1]), 0.0};
      Vec2 pixel{};
      if (qmRTProjectPointtoImage(head, point, camera, PROJECT_EXACT, pixel.data()) != 1) continue;
      outline.push_back(views.at(camera, pixel));
    }
  }
  return outline;
}

void drawSquares(ThreeViews& views, const QmReconsTensor& head, int camera, const std::vector<Corner>& corners) {
  const Lattice lattice = latticeOf(corners);
  if (!std::isfinite(lattice.pitch)) return;
  const int columns = static_cast<int>(std::lround(lattice.width / lattice.pitch));
  const int rows = static_cast<int>(std::lround(lattice.height / lattice.pitch));
  for (int row = -1; row <= rows; ++row) {
    for (int column = -1; column <= columns; ++column) {
      if ((row + column) % 2 != 0) continue;
      const Vec2 low = {column * lattice.pitch, row * lattice.pitch};
      views.picture().polygon(outlineOf(views, head, camera, low, lattice.pitch), kSquare);
    }
  }
}

// 1, 2 or 5 times a power of ten that makes a typical residual easy to see.
double enlargement(const BoardRun& run, double scale) {
  const auto& rms = run.modes[PROJECT_EXACT].allRms;
  const double wanted = kGoodLength / (std::max({rms[0], rms[1], rms[2], 1e-6}) * scale);
  const double decade = std::pow(10.0, std::floor(std::log10(wanted)));
  for (const double step : {5.0, 2.0}) {
    if (wanted >= step * decade) return step * decade;
  }
  return decade;
}

void drawCorners(ThreeViews& views, int camera, const std::vector<Corner>& corners, const BoardRun& run,
                 double enlarge) {
  const auto i = static_cast<std::size_t>(camera);
  for (std::size_t n = 0; n < corners.size(); ++n) {
    const Colour& colour = corners[n].check ? kCheck : kUsed;
    const Vec2 measured = views.at(camera, corners[n].pixels[i]);
    const Vec2 projected = views.at(camera, run.projected[n][i]);
    const Vec2 tip = {projected[0] + enlarge * (measured[0] - projected[0]),
                      projected[1] + enlarge * (measured[1] - projected[1])};
    views.picture().ring(measured, 4.0, colour, 1.1);
    views.picture().cross(projected, 2.4, kInk, 0.8);
    views.picture().arrow(projected, tip, colour, 1.4);
  }
}

void drawLegend(ThreeViews& views, double enlarge) {
  Picture& picture = views.picture();
  const double y = views.legendY();
  double x = views.left();
  const auto entry = [&](const std::string& text) {
    picture.text({x + 16.0, y}, text, 13.0, kInk);
    x += 46.0 + picture.textWidth(text, 13.0);
  };
  picture.ring({x + 5.0, y - 4.5}, 4.0, kUsed, 1.1);
  entry("measured corner");
  picture.ring({x + 5.0, y - 4.5}, 4.0, kCheck, 1.1);
  entry("measured check corner, seen by no estimate");
  picture.cross({x + 5.0, y - 4.5}, 2.4, kInk, 0.8);
  entry("projected through the head");
  picture.arrow({x - 4.0, y - 4.5}, {x + 11.0, y - 4.5}, kCheck, 1.4);
  entry(fmt::format("residual, {:g} times enlarged", enlarge));
  const double bar = 0.2 * enlarge * views.scale();
  const double end = views.right();
  picture.line({end - bar, y - 4.5}, {end, y - 4.5}, kInk, 2.0);
  picture.line({end - bar, y - 8.5}, {end - bar, y - 0.5}, kInk, 2.0);
  picture.line({end, y - 8.5}, {end, y - 0.5}, kInk, 2.0);
  picture.text({end - bar - 10.0, y}, "residual of 0.2 px", 13.0, kInk, Align::Right);
}

}  // namespace

void drawBoard(const std::filesystem::path& file, const QmReconsTensor& head, const std::vector<Corner>& corners,
               const BoardRun& run, const CameraNames& names) {
  ThreeViews views(file, "Calibration board in three views",
                   fmt::format("Check corners in space: {:.3f} mm RMS, {:.3f} mm at most, flat to {:.3f} mm RMS",
                               run.checkRmsMm, run.checkMaxMm, run.checkFlatnessMm),
                   head.imageWidth, head.imageHeight);
  const double enlarge = enlargement(run, views.scale());
  for (int camera = 0; camera < 3; ++camera) {
    const auto i = static_cast<std::size_t>(camera);
    views.beginPanel(camera, kPanel, fmt::format("Camera {}   {}", camera, names[i]),
                     fmt::format("check corners {:.3f} px RMS", run.modes[PROJECT_EXACT].checkRms[i]));
    views.picture().clip(views.panel(camera));
    drawSquares(views, head, camera, corners);
    drawCorners(views, camera, corners, run, enlarge);
    views.picture().unclip();
  }
  drawLegend(views, enlarge);
  views.picture().finish();
}

}  // namespace queltool
