#include "pictures/BandLegend.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "files/Texts.h"

namespace queltool {

namespace {

constexpr double kTextSize = 12.0;
constexpr double kLine = 16.0;

// What stands beside a band, line by line, as far as there is room.
struct Words {
  std::vector<std::string> lines;
  std::string right;
};

Words wordsOf(const LegendBand& band, double room) {
  if (band.name.empty()) return {{band.range}, band.note};
  if (room < 2.0 * kLine) return {{band.name + ", " + band.range}, {}};
  if (band.note.empty()) return {{band.name, band.range}, {}};
  if (room < 3.0 * kLine) return {{band.name, band.range + ", " + band.note}, {}};
  return {{band.name, band.range, band.note}, {}};
}

void drawWords(Picture& picture, const LegendBand& band, const Vec2& at, double right, double room) {
  const Words words = wordsOf(band, room);
  double y = at[1] - 0.5 * kLine * static_cast<double>(words.lines.size()) + 12.0;
  for (std::size_t i = 0; i < words.lines.size(); ++i, y += kLine) {
    picture.text({at[0], y}, words.lines[i], kTextSize, i == 2 ? kPale : kInk, Align::Left,
                 i == 0 && !band.name.empty());
  }
  picture.text({right, y - kLine}, words.right, kTextSize, kPale, Align::Right);
}

}  // namespace

void drawBands(Picture& picture, const Box& box, const std::vector<LegendBand>& bands) {
  constexpr double kBarWidth = 22.0;
  const double step = box.height / static_cast<double>(bands.size());
  for (std::size_t i = 0; i < bands.size(); ++i) {
    const LegendBand& band = bands[bands.size() - 1 - i];
    const double y = box.y + static_cast<double>(i) * step;
    picture.fillBox({box.x, y, kBarWidth, step + 0.3}, band.colour);
    drawWords(picture, band, {box.x + kBarWidth + 8.0, y + 0.5 * step}, box.x + box.width, step);
  }
  picture.frameBox({box.x, box.y, kBarWidth, box.height}, kFrame, 1.0);
}

void drawScale(Picture& picture, const Vec2& at, double from, double to, const std::string& first,
               const std::string& last) {
  constexpr double kScaleTextSize = 13.0;
  constexpr double kBarWidth = 260.0;
  constexpr int kSteps = 130;
  picture.text(at, first, kScaleTextSize, kInk);
  const double x = at[0] + picture.textWidth(first, kScaleTextSize) + 10.0;
  for (int i = 0; i < kSteps; ++i) {
    picture.fillBox({x + i * kBarWidth / kSteps, at[1] - 12.0, kBarWidth / kSteps + 0.4, 14.0},
                    scaleColour(from + (to - from) * (i + 0.5) / kSteps));
  }
  picture.text({x + kBarWidth + 10.0, at[1]}, last, kScaleTextSize, kInk);
}

std::string legendNumber(double value, bool isSigned, int digits) {
  if (value < 0.0) return fmt::format("\xE2\x88\x92{:.{}g}", -value, digits);
  return fmt::format("{}{:.{}g}", isSigned && value > 0.0 ? "+" : "", value, digits);
}

std::vector<std::string> legendNumbers(const std::vector<double>& bounds, bool isSigned) {
  constexpr int kFewest = 4;
  double least = HUGE_VAL;
  for (std::size_t i = 1; i < bounds.size(); ++i) least = std::min(least, bounds[i] - bounds[i - 1]);
  int digits = kFewest;
  const auto isOff = [&](double bound) {
    const double shown = numberOf(fmt::format("{:.{}g}", bound, digits)).value_or(bound);
    return std::abs(shown - bound) > 0.01 * least;
  };
  while (digits < std::numeric_limits<double>::max_digits10 && std::any_of(bounds.begin(), bounds.end(), isOff)) {
    ++digits;
  }
  std::vector<std::string> numbers;
  for (const double bound : bounds) numbers.push_back(legendNumber(bound, isSigned, digits));
  return numbers;
}

}  // namespace queltool
