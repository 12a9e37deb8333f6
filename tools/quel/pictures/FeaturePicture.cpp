#include "pictures/FeaturePicture.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "pictures/DeviationScale.h"
#include "pictures/DotLayer.h"
#include "pictures/Picture.h"
#include "pictures/ViewMarks.h"

namespace queltool {

namespace {

constexpr double kMargin = 28.0;
constexpr double kTop = 92.0;
constexpr double kBottom = 104.0;
constexpr double kWidth = 820.0;
constexpr double kMostHeight = 820.0;
constexpr double kLeastHeight = 260.0;
constexpr double kLegendWidth = 216.0;
constexpr double kInset = 16.0;

/// What the points span in a picture's two directions, and how they get there.
struct View {
  Vec2 low{};
  Vec2 scale{};
  Box panel{};

  Vec2 at(const Vec2& p) const {
    return {panel.x + kInset + (p[0] - low[0]) * scale[0],
            panel.y + panel.height - kInset - (p[1] - low[1]) * scale[1]};
  }
};

/// With `enlarge`, what is flat fills the panel by a scale of its own in the second direction.
View viewOf(const std::vector<Vec2>& points, bool enlarge) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  Vec2 low = {kInfinity, kInfinity};
  Vec2 high = {-kInfinity, -kInfinity};
  for (const Vec2& p : points) {
    for (std::size_t i = 0; i < 2; ++i) {
      low[i] = std::min(low[i], p[i]);
      high[i] = std::max(high[i], p[i]);
    }
  }
  constexpr double kNoSpan = 1e-300;  // Smaller ones would make no finite scale.
  double width = high[0] - low[0];
  double height = high[1] - low[1];
  if (std::max(width, height) < kNoSpan) width = height = 1.0;  // All on one spot: a millimetre around it.
  const double across = kWidth - 2.0 * kInset;
  const double common =
      std::min(across / std::max(width, kNoSpan), (kMostHeight - 2.0 * kInset) / std::max(height, kNoSpan));
  const double filling = height < kNoSpan ? common : (kLeastHeight - 2.0 * kInset) / height;
  View view{low, {common, enlarge ? std::max(common, filling) : common}, {kMargin, kTop, kWidth, 0.0}};
  view.panel.height = std::clamp(view.scale[1] * height + 2.0 * kInset, kLeastHeight, kMostHeight);
  // What does not fill the panel stands in its middle.
  view.low[0] -= 0.5 * (across / view.scale[0] - (high[0] - low[0]));
  view.low[1] -= 0.5 * ((view.panel.height - 2.0 * kInset) / view.scale[1] - (high[1] - low[1]));
  return view;
}

/// Dots that cover the panel without hiding each other, the largest deviations on top.
void drawPoints(Picture& picture, const View& view, const std::vector<Vec2>& points, const std::vector<double>& off,
                const PointColours& colours) {
  const double room = std::sqrt(view.panel.width * view.panel.height / static_cast<double>(points.size()));
  DotLayer dots(picture, view.panel, std::clamp(0.35 * room, 1.2, 9.0), points.size());
  for (std::size_t n = 0; n < off.size(); ++n) {
    dots.add(view.at(points[n]), colours.colourOf(off[n]), std::abs(off[n]));
  }
  dots.finish();
}

struct Frame {
  QmVec3 first;
  QmVec3 second;

  Vec2 of(const QmVec3& p) const { return {dot(p, first), dot(p, second)}; }
};

/// Two directions across `axis`: the world axis that lies most across it, and the third.
Frame frameAcross(const QmVec3& axis) {
  int least = 0;
  for (int i = 1; i < 3; ++i) {
    if (std::abs(axis[i]) < std::abs(axis[least])) least = i;
  }
  QmVec3 world;
  world[least] = 1.0;
  const QmVec3 first = unit(world - dot(world, axis) * axis);
  return {first, cross(axis, first)};
}

PointColours coloursOf(const DeviationScale& scale, std::string subtitle) {
  return {std::move(subtitle), [&scale](double deviation) { return scale.colourOf(deviation); },
          [&scale](Picture& picture, const Box& box) { scale.draw(picture, box); }};
}

class FeaturePicture {
 public:
  FeaturePicture(const OutputFile& file, const View& view, const std::string& title, const PointColours& colours)
      : view_(view),
        picture_(file, kMargin + kWidth + kLegendWidth + 2.0 * kMargin, kTop + view.panel.height + kBottom) {
    picture_.text({kMargin, 40.0}, title, 22.0, kInk, Align::Left, true);
    picture_.text({kMargin, 63.0}, colours.subtitle, 14.0, kPale);
    picture_.fillBox(view.panel, kPanel);
    picture_.frameBox(view.panel, kFrame, 1.0);
  }

  Picture& picture() { return picture_; }

  /// `axes` are those of space as the view shows them.
  void finish(const PointColours& colours, const std::array<AxisMark, 3>& axes) {
    const Box& panel = view_.panel;
    const double height = std::min(panel.height, 420.0), bottom = panel.y + panel.height;
    colours.drawLegend(picture_, {panel.x + panel.width + kMargin, panel.y + 6.0, kLegendWidth, height - 12.0});
    drawRuler(picture_, {panel.x, bottom + 24.0}, view_.scale[0], panel.width, "mm");
    drawAxes(picture_, {panel.x + panel.width - 60.0, bottom + 54.0}, axes);
    picture_.finish();
  }

  /// A ruler for the direction across, where that has a scale of its own.
  void markAcross() {
    constexpr double kRoom = 300.0;
    const Vec2 at = {view_.panel.x + 320.0, view_.panel.y + view_.panel.height + 84.0};
    drawRuler(picture_, at, view_.scale[1], kRoom, "mm across", Along::Up);
  }

 private:
  View view_;
  Picture picture_;
};

}  // namespace

void drawPlane(const OutputFile& file, const PlaneFeature& feature, const std::string& title,
               const PointColours& colours) {
  const Frame frame = frameAcross(feature.normal);
  std::vector<Vec2> flat;
  flat.reserve(feature.points.size());
  for (const QmVec3& p : feature.points) flat.push_back(frame.of(p - feature.center));
  const View view = viewOf(flat, false);
  FeaturePicture drawing(file, view, title, colours);
  for (std::size_t i = 0; i < feature.outline.size(); ++i) {
    const QmVec3& next = feature.outline[(i + 1) % feature.outline.size()];
    drawing.picture().line(view.at(frame.of(feature.outline[i] - feature.center)),
                           view.at(frame.of(next - feature.center)), kPale, 1.0);
  }
  drawPoints(drawing.picture(), view, flat, feature.residuals.each, colours);
  drawing.finish(colours, axesOf(frame.first, frame.second));
}

void drawPlane(const OutputFile& file, const PlaneFeature& feature, const std::string& title) {
  const Residuals& off = feature.residuals;
  const DeviationScale scale(off.each);
  drawPlane(file, feature, title,
            coloursOf(scale, fmt::format("{} points, {:.3g} mm RMS from their plane, {:+.3g} to {:+.3g} mm",
                                         feature.points.size(), off.rms, off.smallest, off.largest)));
}

void drawLine(const OutputFile& file, const LineFeature& feature, const std::string& title) {
  const Frame frame = frameAcross(feature.direction);
  std::vector<Vec2> flat;
  for (const QmVec3& p : feature.points) {
    flat.push_back({dot(p - feature.point, feature.direction), dot(p - feature.point, frame.first)});
  }
  const View view = viewOf(flat, true);
  const Residuals& off = feature.residuals;
  const double enlarged = view.scale[1] / view.scale[0];
  const std::string across = enlarged > 1.0 ? fmt::format("; across it {:.3g} times enlarged", enlarged) : "";
  const DeviationScale scale(off.each, false);
  const PointColours colours =
      coloursOf(scale, fmt::format("{} points, {:.3g} mm RMS from their line, {:.3g} mm at most{}",
                                   feature.points.size(), off.rms, off.largest, across));
  FeaturePicture drawing(file, view, title, colours);
  const double start = dot(feature.ends[0] - feature.point, feature.direction);
  const double end = dot(feature.ends[1] - feature.point, feature.direction);
  drawing.picture().line(view.at({start, 0.0}), view.at({end, 0.0}), kPale, 1.0);
  drawPoints(drawing.picture(), view, flat, off.each, colours);
  if (enlarged > 1.0) drawing.markAcross();
  drawing.finish(colours, axesOf(feature.direction, frame.first));
}

}  // namespace queltool
