#include "pictures/ViewMarks.h"

#include <fmt/core.h>

#include <cmath>

namespace queltool {

namespace {

constexpr double kTextSize = 13.0;
constexpr const char* kLetters[] = {"X", "Y", "Z"};

void drawAlongView(Picture& picture, const Vec2& at, bool isTowardsViewer, const char* letter) {
  constexpr double kRadius = 5.0;
  const double arm = kRadius / std::sqrt(2.0);
  picture.ring(at, kRadius, kInk, 1.2);
  if (isTowardsViewer) {
    picture.disc(at, 1.6, kInk);
  } else {
    picture.line({at[0] - arm, at[1] - arm}, {at[0] + arm, at[1] + arm}, kInk, 1.2);
    picture.line({at[0] - arm, at[1] + arm}, {at[0] + arm, at[1] - arm}, kInk, 1.2);
  }
  picture.text({at[0] - 14.0, at[1] + 16.0}, letter, kTextSize, kInk, Align::Centre);
}

}  // namespace

double roundLength(double value) {
  const double decade = std::pow(10.0, std::floor(std::log10(value)));
  return (value >= 5.0 * decade ? 5.0 : value >= 2.0 * decade ? 2.0 : 1.0) * decade;
}

void drawRuler(Picture& picture, const Vec2& at, double scale, double room, const char* unit, Along along) {
  const double size = roundLength(0.2 * room / scale);
  const double length = size * scale;
  const std::string text = fmt::format("{:g} {}", size, unit);
  if (along == Along::Right) {
    picture.line(at, {at[0] + length, at[1]}, kInk, 2.0);
    picture.text({at[0] + length + 10.0, at[1] + 4.0}, text, kTextSize, kInk);
  } else {
    picture.line(at, {at[0], at[1] - length}, kInk, 2.0);
    picture.text({at[0] + 10.0, at[1] - 0.5 * length + 4.0}, text, kTextSize, kInk);
  }
}

std::array<AxisMark, 3> axesOf(const QmVec3& right, const QmVec3& up) {
  const QmVec3 towardsViewer = cross(right, up);
  std::array<AxisMark, 3> axes{};
  for (int i = 0; i < 3; ++i) {
    axes[static_cast<std::size_t>(i)] = {right[i], up[i], towardsViewer[i] > 0.0};
  }
  return axes;
}

void drawLabel(Picture& picture, const Vec2& at, const std::string& text) {
  constexpr Colour kGround{0.0, 0.0, 0.0, 0.55};
  constexpr double kLabelSize = 10.0;
  const double width = picture.textWidth(text, kLabelSize) + 6.0;
  picture.fillBox({at[0] - 0.5 * width, at[1] - 6.5, width, 13.0}, kGround);
  picture.text({at[0], at[1] + 3.5}, text, kLabelSize, kPaper, Align::Centre);
}

void drawAxis(Picture& picture, const Vec2& from, const Vec2& to, const char* letter, const Colour& colour) {
  constexpr double kBeyond = 9.0;
  constexpr double kShort = 20.0;  // The letter of a short arrow stands beside it: a longer one may go on there.
  picture.arrow(from, to, colour, 1.6);
  const double length = std::hypot(to[0] - from[0], to[1] - from[1]);
  if (length < 1e-9) return;
  const Vec2 unit = {(to[0] - from[0]) / length, (to[1] - from[1]) / length};
  const Vec2 off = length < kShort ? Vec2{unit[1], -unit[0]} : unit;
  picture.text({to[0] + kBeyond * off[0], to[1] + kBeyond * off[1] + 4.5}, letter, kTextSize, colour, Align::Centre);
}

void drawAxes(Picture& picture, const Vec2& at, const std::array<AxisMark, 3>& axes) {
  constexpr double kLength = 30.0;
  constexpr double kShort = 0.15;  // One that is shorter points along the view.
  for (std::size_t i = 0; i < axes.size(); ++i) {
    const AxisMark& axis = axes[i];
    if (std::hypot(axis.right, axis.up) < kShort) {
      drawAlongView(picture, at, axis.isTowardsViewer, kLetters[i]);
    } else {
      drawAxis(picture, at, {at[0] + kLength * axis.right, at[1] - kLength * axis.up}, kLetters[i], kInk);
    }
  }
}

}  // namespace queltool
