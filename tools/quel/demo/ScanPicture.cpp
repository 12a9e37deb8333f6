#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "demo/DemoPictures.h"
#include "pictures/Picture.h"

namespace queltool {

namespace {

constexpr Colour kNight{0.07, 0.08, 0.11};
constexpr double kBarWidth = 260.0;

struct Depths {
  std::vector<double> values;
  double nearest;
  double farthest;
};

// Distance from the camera, point by point; the bounds leave out the outermost hundredth on either side.
Depths depthsOf(const QmReconsTensor& head, const ScanRun& run, int camera) {
  Depths depths{};
  const double(&from)[3] = head.cameraLocations[camera];
  for (const Vec3& p : run.points) depths.values.push_back(std::hypot(p[0] - from[0], p[1] - from[1], p[2] - from[2]));
  std::vector<double> sorted = depths.values;
  std::sort(sorted.begin(), sorted.end());
  depths.nearest = sorted[sorted.size() / 100];
  depths.farthest = std::max(sorted[sorted.size() - 1 - sorted.size() / 100], depths.nearest + 1e-6);
  return depths;
}

void drawCamera(ThreeViews& views, const ScanRun& run, int camera, const Depths& depths) {
  const auto& pixels = run.pixels[static_cast<std::size_t>(camera)];
  std::vector<std::size_t> order(pixels.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::sort(order.begin(), order.end(),
            [&](std::size_t a, std::size_t b) { return depths.values[a] > depths.values[b]; });
  for (const std::size_t n : order) {
    if (!std::isfinite(pixels[n][0]) || !std::isfinite(pixels[n][1])) continue;
    const double share = (depths.farthest - depths.values[n]) / (depths.farthest - depths.nearest);
    views.picture().disc(views.at(camera, pixels[n]), 1.15, scaleColour(0.12 + 0.88 * share));
  }
}

}  // namespace

void drawScan(const std::filesystem::path& file, const QmReconsTensor& head, const ScanRun& run,
              const CameraNames& names) {
  ThreeViews views(
      file, "A range scan through the head",
      fmt::format("{} points, transformed and projected into three images at {:.1f} million points a second",
                  run.points.size(), run.pointsPerSecond() / 1e6),
      head.imageWidth, head.imageHeight);
  for (int camera = 0; camera < 3; ++camera) {
    const auto i = static_cast<std::size_t>(camera);
    const Depths depths = depthsOf(head, run, camera);
    views.beginPanel(camera, kNight, fmt::format("Camera {}   {}", camera, names[i]),
                     fmt::format("{} points in the image, {:.0f} to {:.0f} mm away", run.inImage[i], depths.nearest,
                                 depths.farthest));
    views.picture().clip(views.panel(camera));
    drawCamera(views, run, camera, depths);
    views.picture().unclip();
  }
  const double y = views.legendY();
  views.picture().text({views.left(), y}, "near", 13.0, kInk);
  constexpr int kSteps = 130;
  for (int i = 0; i < kSteps; ++i) {
    views.picture().fillBox({views.left() + 40.0 + i * kBarWidth / kSteps, y - 12.0, kBarWidth / kSteps + 0.4, 14.0},
                            scaleColour(1.0 - 0.88 * (i + 0.5) / kSteps));
  }
  views.picture().text({views.left() + 50.0 + kBarWidth, y}, "far", 13.0, kInk);
  views.picture().finish();
}

}  // namespace queltool
