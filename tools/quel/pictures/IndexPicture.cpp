#include "pictures/IndexPicture.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>

#include "pictures/ColouredPly.h"
#include "pictures/DotLayer.h"
#include "pictures/ViewMarks.h"

namespace queltool {

namespace {

constexpr double kPanelWidth = 620.0;
constexpr double kPanelHeight = 440.0;
constexpr double kMargin = 28.0;
constexpr double kGap = 18.0;
constexpr double kTop = 108.0;
constexpr double kBottom = 104.0;
constexpr double kCell = 32.0;
constexpr Colour kNight{0.07, 0.08, 0.11};
constexpr Colour kGrid{0.30, 0.33, 0.38, 0.35};

Box boxOfPanel(std::size_t panel) {
  return {kMargin + static_cast<double>(panel) * (kPanelWidth + kGap), kTop, kPanelWidth, kPanelHeight};
}

/// A flat part of the plane, fitted into a panel.
class Frame {
 public:
  Frame(const Box& panel, const Vec2& low, const Vec2& high, bool upward) : low_(low), high_(high), upward_(upward) {
    const double width = std::max(high[0] - low[0], 1e-9);
    const double height = std::max(high[1] - low[1], 1e-9);
    scale_ = std::min((panel.width - 16.0) / width, (panel.height - 16.0) / height);
    origin_ = {panel.x + (panel.width - scale_ * width) / 2.0, panel.y + (panel.height - scale_ * height) / 2.0};
  }

  double scale() const { return scale_; }

  Vec2 at(const Vec2& p) const {
    const double y = upward_ ? high_[1] - p[1] : p[1] - low_[1];
    return {origin_[0] + scale_ * (p[0] - low_[0]), origin_[1] + scale_ * y};
  }

 private:
  Vec2 low_, high_, origin_{};
  double scale_;
  bool upward_;
};

/// The two longest sides of a cloud, in the order of the axes.
std::array<int, 2> planeOf(const QmBBox& box) {
  const QmVec3 side = box.maximum() - box.minimum();
  const int shortest = static_cast<int>(std::min_element(side.v, side.v + 3) - side.v);
  if (shortest == 0) return {1, 2};
  return shortest == 1 ? std::array<int, 2>{0, 2} : std::array<int, 2>{0, 1};
}

QmBBox boxOfAll(const IndexedCloud& cloud) {
  QmBBox all = cloud.bins.front().box;
  for (const qmPatchBinInfo& bin : cloud.bins) {
    all.extend(bin.box.minimum());
    all.extend(bin.box.maximum());
  }
  return all;
}

template <typename Position>
void drawPoints(Picture& picture, const Box& panel, const IndexedCloud& cloud, const Frame& frame, Position position) {
  DotLayer dots(picture, panel, 0.9, cloud.points.size());
  for (std::size_t b = 0; b < cloud.bins.size(); ++b) {
    const Colour colour = binColour(b);
    for (std::size_t n = cloud.bins[b].start; n < std::size_t{cloud.bins[b].start} + cloud.bins[b].count; ++n) {
      dots.add(frame.at(position(n)), colour);
    }
  }
  dots.finish();
}

// What stands below a panel: a ruler on the left, directions on the right.
Vec2 rulerOf(const Box& panel) { return {panel.x, panel.y + panel.height + 24.0}; }
Vec2 placeOfAxes(const Box& panel) { return {panel.x + panel.width - 60.0, panel.y + panel.height + 54.0}; }

void markImage(Picture& picture, const Box& panel, double scale) {
  constexpr double kLength = 30.0;
  const Vec2 at = {placeOfAxes(panel)[0], placeOfAxes(panel)[1] - kLength};
  drawRuler(picture, rulerOf(panel), scale, panel.width, "px");
  drawAxis(picture, at, {at[0] + kLength, at[1]}, "x", kInk);
  drawAxis(picture, at, {at[0], at[1] + kLength}, "y", kInk);
}

// The view shows the axes `u` to the right and `v` up.
void markSpace(Picture& picture, const Box& panel, double scale, int u, int v) {
  QmVec3 right, up;
  right[u] = up[v] = 1.0;
  drawRuler(picture, rulerOf(panel), scale, panel.width, "mm");
  drawAxes(picture, placeOfAxes(panel), axesOf(right, up));
}

void drawByImage(Picture& picture, const Box& panel, const IndexPanel& of) {
  const Frame frame(panel, {0.0, 0.0}, {static_cast<double>(of.imageWidth), static_cast<double>(of.imageHeight)},
                    false);
  const double width = of.imageWidth, height = of.imageHeight;
  for (double x = 0.0; x <= width; x += kCell) picture.line(frame.at({x, 0.0}), frame.at({x, height}), kGrid, 0.5);
  for (double y = 0.0; y <= height; y += kCell) picture.line(frame.at({0.0, y}), frame.at({width, y}), kGrid, 0.5);
  drawPoints(picture, panel, *of.cloud, frame, [&](std::size_t n) { return of.cloud->pixels[n]; });
  markImage(picture, panel, frame.scale());
}

void drawBySpace(Picture& picture, const Box& panel, const IndexedCloud& cloud) {
  const QmBBox all = boxOfAll(cloud);
  const auto [u, v] = planeOf(all);
  const auto flat = [u = u, v = v](const QmVec3& p) { return Vec2{p[u], p[v]}; };
  const Frame frame(panel, flat(all.minimum()), flat(all.maximum()), true);
  drawPoints(picture, panel, cloud, frame,
             [&](std::size_t n) { return flat(QmVec3(cloud.points[n][0], cloud.points[n][1], cloud.points[n][2])); });
  for (std::size_t b = 0; b < cloud.bins.size(); ++b) {
    const Vec2 low = frame.at(flat(cloud.bins[b].box.minimum())), high = frame.at(flat(cloud.bins[b].box.maximum()));
    Colour colour = binColour(b);
    colour.alpha = 0.8;
    picture.frameBox({low[0], high[1], high[0] - low[0], low[1] - high[1]}, colour, 0.8);
  }
  markSpace(picture, panel, frame.scale(), u, v);
}

}  // namespace

Colour binColour(std::size_t bin) {
  // Steps of the golden ratio around the hues: no two near numbers come close to each other.
  const double hue = 6.0 * std::fmod(0.61803398874989485 * static_cast<double>(bin), 1.0);
  const auto channel = [hue](double shift) {
    const double at = std::fmod(hue + shift, 6.0);
    return 0.30 + 0.65 * std::clamp(std::abs(at - 3.0) - 1.0, 0.0, 1.0);
  };
  return {channel(0.0), channel(4.0), channel(2.0)};
}

void drawIndex(const OutputFile& file, const std::vector<IndexPanel>& panels) {
  const auto count = static_cast<double>(panels.size());
  Picture picture(file, 2.0 * kMargin + count * kPanelWidth + (count - 1.0) * kGap, kTop + kPanelHeight + kBottom);
  picture.text({kMargin, 40.0}, "The index of a cloud", 24.0, kInk, Align::Left, true);
  picture.text({kMargin, 63.0}, "Each colour is a bin, with its box in space or its cell of 32 x 32 pixels", 14.0,
               kPale);
  for (std::size_t i = 0; i < panels.size(); ++i) {
    const IndexedCloud& cloud = *panels[i].cloud;
    const Box panel = boxOfPanel(i);
    picture.text({panel.x, panel.y - 9.0}, panels[i].name, 14.0, kInk, Align::Left, true);
    picture.text({panel.x + panel.width, panel.y - 9.0},
                 fmt::format("{} points in {} bins of {} to {}", cloud.points.size(), cloud.bins.size(),
                             cloud.smallestBin(), cloud.largestBin()),
                 14.0, kInk, Align::Right);
    picture.fillBox(panel, kNight);
    if (cloud.pixels.empty()) {
      drawBySpace(picture, panel, cloud);
    } else {
      drawByImage(picture, panel, panels[i]);
    }
  }
  picture.finish();
}

std::string formatColouredPly(const IndexedCloud& cloud) {
  ColouredPly<std::int32_t> ply(cloud.points.size(), "int", "bin");
  for (std::size_t b = 0; b < cloud.bins.size(); ++b) {
    const Colour colour = binColour(b);
    for (std::size_t n = cloud.bins[b].start; n < std::size_t{cloud.bins[b].start} + cloud.bins[b].count; ++n) {
      ply.add(cloud.points[n], colour, static_cast<std::int32_t>(b));
    }
  }
  return ply.bytes();
}

}  // namespace queltool
