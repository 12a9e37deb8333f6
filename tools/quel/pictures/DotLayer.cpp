#include "pictures/DotLayer.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numeric>

namespace queltool {

namespace {

constexpr std::size_t kMostShapes = 50000;

// How much of the pixel at (x, y) a disc about (cx, cy) covers, of 255.
std::uint8_t coverOf(int x, int y, double cx, double cy, double radius) {
  constexpr int kSamples = 8;
  int inside = 0;
  for (int j = 0; j < kSamples; ++j) {
    for (int i = 0; i < kSamples; ++i) {
      const double dx = x + (i + 0.5) / kSamples - cx;
      const double dy = y + (j + 0.5) / kSamples - cy;
      inside += dx * dx + dy * dy <= radius * radius ? 1 : 0;
    }
  }
  return static_cast<std::uint8_t>(255 * inside / (kSamples * kSamples));
}

std::uint32_t packed(const Colour& colour) {
  const auto byte = [](double share) {
    return static_cast<std::uint32_t>(std::lround(255.0 * std::clamp(share, 0.0, 1.0)));
  };
  return 0xFF000000u | byte(colour.red) << 16 | byte(colour.green) << 8 | byte(colour.blue);
}

Colour unpacked(std::uint32_t colour) {
  const auto share = [colour](int shift) { return static_cast<double>((colour >> shift) & 0xFF) / 255.0; };
  return {share(16), share(8), share(0)};
}

// A number that is greater for the greater of two floats: their bits, of which the negative ones run backwards.
std::uint32_t orderOf(float rank) {
  const auto bits = std::bit_cast<std::uint32_t>(rank + 0.0F);  // -0 becomes 0.
  return (bits & 0x80000000u) != 0 ? ~bits : bits | 0x80000000u;
}

// `over` with that cover on `under`, channel by channel; both stand premultiplied.
std::uint32_t blended(std::uint32_t under, std::uint32_t over, std::uint32_t cover) {
  constexpr std::uint32_t kPair = 0x00FF00FFu;
  const auto mixed = [&](int shift) {
    const std::uint32_t sum =
        ((over >> shift) & kPair) * cover + ((under >> shift) & kPair) * (255 - cover) + 0x00800080u;
    return ((sum + ((sum >> 8) & kPair)) >> 8) & kPair;
  };
  return mixed(8) << 8 | mixed(0);
}

}  // namespace

DotLayer::DotLayer(Picture& picture, const Box& box, double radius, std::size_t count)
    : picture_(picture), box_(box), radius_(radius), count_(count), asShapes_(count <= kMostShapes) {
  asShapes_ ? picture_.clip(box_) : makeRoom();
}

void DotLayer::makeRoom() {
  constexpr double kPixels = Picture::kPixelsPerUnit;
  origin_ = {std::floor(box_.x * kPixels), std::floor(box_.y * kPixels)};
  width_ = static_cast<int>(std::ceil((box_.x + box_.width) * kPixels) - origin_[0]);
  height_ = static_cast<int>(std::ceil((box_.y + box_.height) * kPixels) - origin_[1]);
  pixels_.assign(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_), 0);
  makeStamps();
}

void DotLayer::makeStamps() {
  const double radius = radius_ * Picture::kPixelsPerUnit;
  const int reach = static_cast<int>(std::ceil(radius));
  side_ = 2 * reach + 1;
  for (int part = 0; part < kParts * kParts; ++part) {
    const double cx = reach + (part % kParts + 0.5) / kParts, cy = reach + (part / kParts + 0.5) / kParts;
    Stamp stamp;
    for (int n = 0; n < side_ * side_; ++n) stamp.cover.push_back(coverOf(n % side_, n / side_, cx, cy, radius));
    stamps_.push_back(std::move(stamp));
  }
}

void DotLayer::print(const Stamp& stamp, int x, int y, std::uint32_t colour) {
  const int left = std::max(0, -x), right = std::min(side_, width_ - x);
  const int top = std::max(0, -y), bottom = std::min(side_, height_ - y);
  for (int j = top; j < bottom; ++j) {
    const std::uint8_t* const cover = stamp.cover.data() + j * side_;
    std::uint32_t* const row = pixels_.data() + static_cast<std::ptrdiff_t>(y + j) * width_ + x;
    for (int i = left; i < right; ++i) {
      if (cover[i] == 255) {
        row[i] = colour;
      } else if (cover[i] != 0) {
        row[i] = blended(row[i], colour, cover[i]);
      }
    }
  }
}

void DotLayer::add(const Vec2& at, const Colour& colour) {
  if (std::isfinite(at[0]) && std::isfinite(at[1])) draw(at[0], at[1], packed(colour));
}

void DotLayer::add(const Vec2& at, const Colour& colour, double rank) {
  if (!std::isfinite(at[0]) || !std::isfinite(at[1])) return;
  if (ranked_.empty()) ranked_.reserve(count_);
  ranked_.push_back({static_cast<float>(rank), static_cast<float>(at[0]), static_cast<float>(at[1]), packed(colour)});
}

// In which part of a pixel a place lies that is so far from its edge: less than 1, but for rounding.
int DotLayer::partOf(double share) { return std::min(static_cast<int>(share * kParts), kParts - 1); }

void DotLayer::draw(double atX, double atY, std::uint32_t colour) {
  if (asShapes_) return picture_.disc({atX, atY}, radius_, unpacked(colour));
  const double x = atX * Picture::kPixelsPerUnit - origin_[0], y = atY * Picture::kPixelsPerUnit - origin_[1];
  if (!(x > -side_ && y > -side_ && x < width_ + side_ && y < height_ + side_)) return;
  const int column = static_cast<int>(std::floor(x)), line = static_cast<int>(std::floor(y));
  const int part = partOf(y - line) * kParts + partOf(x - column);
  const int reach = side_ / 2;
  print(stamps_[static_cast<std::size_t>(part)], column - reach, line - reach, colour);
}

// By the two halves of the ranks' bits, one after the other: in time that grows with the dots alone.
void DotLayer::sortByRank() {
  std::vector<Ranked> sorted(ranked_.size());
  for (const int shift : {0, 16}) {
    std::vector<std::size_t> next((1 << 16) + 1);
    for (const Ranked& dot : ranked_) ++next[(orderOf(dot.rank) >> shift & 0xFFFF) + 1];
    std::partial_sum(next.begin(), next.end(), next.begin());
    for (const Ranked& dot : ranked_) sorted[next[orderOf(dot.rank) >> shift & 0xFFFF]++] = dot;
    ranked_.swap(sorted);
  }
}

void DotLayer::finish() {
  sortByRank();
  for (const Ranked& dot : ranked_) draw(static_cast<double>(dot.x), static_cast<double>(dot.y), dot.colour);
  if (!asShapes_) {
    picture_.clip(box_);
    picture_.image(origin_, width_, height_, pixels_);
  }
  picture_.unclip();
}

}  // namespace queltool
