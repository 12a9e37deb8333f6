#include <fmt/core.h>

#include <algorithm>
#include <cmath>

#include "demo/DemoPictures.h"
#include "demo/Residuals.h"
#include "demo/SpaceAxes.h"
#include "pictures/Picture.h"
#include "pictures/ViewMarks.h"
#include "quelcore/tensor/qmReconsTensorCore.h"

namespace queltool {

namespace {

constexpr Colour kSquare{0.16, 0.20, 0.27, 0.16};
constexpr Colour kUsed{0.16, 0.42, 0.68};
constexpr Colour kCheck{0.85, 0.37, 0.05};
// Arrows as long as this, in units, are easy to see.
constexpr double kGoodLength = 14.0;
constexpr int kEdgeSteps = 8;
constexpr Colour kAxes{0.05, 0.42, 0.30};
constexpr double kStripHeight = 132.0;

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

// A round number that makes a typical residual easy to see.
double enlargement(const BoardRun& run, double scale) {
  const auto& rms = run.modes[PROJECT_EXACT].allRms;
  return roundLength(kGoodLength / (std::max({rms[0], rms[1], rms[2], 1e-6}) * scale));
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

// How many residuals of a view are how long, check corners on top of the others; all views have the same bins.
void drawHistogram(ThreeViews& views, int camera, const std::vector<Corner>& corners,
                   const std::vector<Vec2>& residuals, double binWidth) {
  const Histogram histogram = histogramOf(corners, residuals, binWidth);
  const Box strip = views.strip(camera);
  const Box box = {strip.x, strip.y + 46.0, 0.58 * strip.width, strip.height - 72.0};
  const double step = box.width / kBins, base = box.y + box.height;
  const double unit = box.height / static_cast<double>(std::max<std::size_t>(histogram.most(), 1));
  Picture& picture = views.picture();
  picture.text({box.x, strip.y + 22.0}, "corners by length of the residual", 12.0, kPale);
  for (std::size_t bin = 0; bin < kBins; ++bin) {
    const double x = box.x + static_cast<double>(bin) * step;
    const double used = unit * static_cast<double>(histogram.used[bin]);
    const double check = unit * static_cast<double>(histogram.check[bin]);
    picture.fillBox({x + 1.0, base - used, step - 2.0, used}, kUsed);
    picture.fillBox({x + 1.0, base - used - check, step - 2.0, check}, kCheck);
    const std::size_t count = histogram.used[bin] + histogram.check[bin];
    if (count != 0) {
      picture.text({x + 0.5 * step, base - used - check - 3.0}, fmt::format("{}", count), 10.0, kInk, Align::Centre);
    }
  }
  picture.line({box.x, base}, {box.x + box.width, base}, kInk, 1.0);
  for (std::size_t bin = 0; bin <= kBins; bin += 2) {
    const bool last = bin == kBins;
    picture.text({box.x + static_cast<double>(bin) * step, base + 15.0},
                 fmt::format("{:g}{}", static_cast<double>(bin) * binWidth, last ? " px" : ""), 11.0, kInk,
                 Align::Centre);
  }
}

std::string signedNumber(double value) {
  return fmt::format("{}{:.3f}", value < 0.0 ? "\xE2\x88\x92" : "+", std::abs(value));
}

// By how much the arrows of the means are enlarged: the longest of all views is easy to see then.
double enlargementOfMeans(const std::vector<Corner>& corners, const BoardRun& run, double scale) {
  constexpr double kLength = 36.0;
  double most = 1e-6;
  for (int camera = 0; camera < 3; ++camera) {
    const Vec2 mean = meanOf(residualsOf(corners, run, camera));
    most = std::max(most, std::hypot(mean[0], mean[1]));
  }
  return roundLength(kLength / (most * scale));
}

// The mean of a view's residuals, in numbers and as an arrow.
void drawMean(ThreeViews& views, int camera, const std::vector<Vec2>& residuals, double enlarge) {
  const Vec2 mean = meanOf(residuals);
  const Box strip = views.strip(camera);
  const double left = strip.x + 0.66 * strip.width, top = strip.y + 22.0;
  const Vec2 from = {strip.x + 0.80 * strip.width, strip.y + 98.0};
  const double scale = enlarge * views.scale();
  Picture& picture = views.picture();
  picture.text({left, top}, "mean residual", 12.0, kPale);
  picture.text({left, top + 36.0}, fmt::format("arrow {:g} times enlarged", enlarge), 12.0, kPale);
  picture.text({left, top + 18.0}, fmt::format("x {} px, y {} px", signedNumber(mean[0]), signedNumber(mean[1])), 12.0,
               kInk);
  picture.cross(from, 5.0, kPale, 0.8);
  picture.arrow(from, {from[0] + scale * mean[0], from[1] + scale * mean[1]}, kInk, 1.6);
}

void drawLegend(ThreeViews& views, double enlarge, double pitch) {
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
  picture.text({x, y}, fmt::format("X, Y, Z: axes of the board, {:.4g} mm each", pitch), 13.0, kInk);
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
                   head.imageWidth, head.imageHeight, kStripHeight);
  const double binWidth = binWidthFor(longestResidual(corners, run));
  const double enlarge = enlargement(run, views.scale());
  const double enlargeMeans = enlargementOfMeans(corners, run, views.scale());
  const double pitch = latticeOf(corners).pitch;
  for (int camera = 0; camera < 3; ++camera) {
    const auto i = static_cast<std::size_t>(camera);
    views.beginPanel(camera, kPanel, fmt::format("Camera {}   {}", camera, names[i]),
                     fmt::format("check corners {:.3f} px RMS", run.modes[PROJECT_EXACT].checkRms[i]));
    views.picture().clip(views.panel(camera));
    drawSquares(views, head, camera, corners);
    if (std::isfinite(pitch)) drawSpaceAxes(views, head, camera, Vec3{}, pitch, kAxes);
    drawCorners(views, camera, corners, run, enlarge);
    views.picture().unclip();
    const std::vector<Vec2> residuals = residualsOf(corners, run, camera);
    drawHistogram(views, camera, corners, residuals, binWidth);
    drawMean(views, camera, residuals, enlargeMeans);
  }
  drawLegend(views, enlarge, pitch);
  views.picture().finish();
}

}  // namespace queltool
