#include <fmt/core.h>

#include "demo/DemoPictures.h"
#include "demo/ScanDepths.h"
#include "demo/SpaceAxes.h"
#include "pictures/BandLegend.h"
#include "pictures/DotLayer.h"
#include "pictures/Picture.h"
#include "pictures/ViewMarks.h"

namespace queltool {

namespace {

constexpr Colour kNight{0.07, 0.08, 0.11};
constexpr Colour kMark{0.92, 0.94, 0.97};
constexpr double kFarthestColour = 0.12;  // Darker ones are lost on the ground.

// The nearest points on top.
void drawCamera(ThreeViews& views, const ScanRun& run, int camera, const Depths& depths, const DepthRange& range) {
  const auto& pixels = run.pixels[static_cast<std::size_t>(camera)];
  DotLayer dots(views.picture(), views.panel(camera), 1.15, pixels.size());
  for (std::size_t n = 0; n < pixels.size(); ++n) {
    const double share = (range.farthest - depths.values[n]) / (range.farthest - range.nearest);
    dots.add(views.at(camera, pixels[n]), scaleColour(kFarthestColour + (1.0 - kFarthestColour) * share),
             -depths.values[n]);
  }
  dots.finish();
}

// In the lower left corner, in the middle of the range.
void drawMark(ThreeViews& views, const QmReconsTensor& head, int camera, double distance, double length) {
  constexpr double kAcross = 0.13, kDown = 0.80;
  const Vec2 pixel = {kAcross * head.imageWidth, kDown * head.imageHeight};
  drawSpaceAxes(views, head, camera, pointSeenAt(head, camera, pixel, distance), length, kMark);
}

void drawLegend(ThreeViews& views, const DepthRange& range, double distance, double length) {
  drawScale(views.picture(), {views.left(), views.legendY()}, 1.0, kFarthestColour,
            fmt::format("below {:.0f} mm from the camera", range.nearest),
            fmt::format("above {:.0f} mm", range.farthest));
  views.picture().text(
      {views.right(), views.legendY()},
      fmt::format("X, Y, Z: axes of the world, {:g} mm each, {:.0f} mm from the camera", length, distance), 13.0, kInk,
      Align::Right);
}

}  // namespace

void drawScan(const std::filesystem::path& file, const QmReconsTensor& head, const ScanRun& run,
              const CameraNames& names) {
  ThreeViews views(file, "A range scan through the head",
                   fmt::format("{} points, transformed and projected into three images", run.points.size()),
                   head.imageWidth, head.imageHeight);
  const std::array<Depths, 3> depths = depthsOf(head, run);
  const DepthRange range = commonRange(depths);
  const double middle = 0.5 * (range.nearest + range.farthest), length = roundLength(0.12 * middle);
  for (int camera = 0; camera < 3; ++camera) {
    const auto i = static_cast<std::size_t>(camera);
    views.beginPanel(camera, kNight, fmt::format("Camera {}   {}", camera, names[i]),
                     fmt::format("{} points in the image, most {:.0f} to {:.0f} mm away", run.inImage[i],
                                 depths[i].range.nearest, depths[i].range.farthest));
    views.picture().clip(views.panel(camera));
    drawCamera(views, run, camera, depths[i], range);
    drawMark(views, head, camera, middle, length);
    views.picture().unclip();
  }
  drawLegend(views, range, middle, length);
  views.picture().finish();
}

}  // namespace queltool
