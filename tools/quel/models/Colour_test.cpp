#include "models/Colour.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "models/SignedBands.h"
#include "pictures/IndexPicture.h"

namespace queltool {
namespace {

using Rgb = std::array<double, 3>;
using Matrix = std::array<Rgb, 3>;

// Machado, Oliveira and Fernandes 2009, severity 1, on linear light.
constexpr Matrix kProtanopia = {
    {{0.152286, 1.052583, -0.204868}, {0.114503, 0.786281, 0.099216}, {-0.003882, -0.048116, 1.051998}}};
constexpr Matrix kDeuteranopia = {
    {{0.367322, 0.860646, -0.227968}, {0.280085, 0.672501, 0.047413}, {-0.011820, 0.042940, 0.968881}}};

double linear(double share) { return share <= 0.04045 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4); }

double encoded(double light) {
  const double x = std::clamp(light, 0.0, 1.0);
  return x <= 0.0031308 ? 12.92 * x : 1.055 * std::pow(x, 1.0 / 2.4) - 0.055;
}

Rgb light(const Colour& c) { return {linear(c.red), linear(c.green), linear(c.blue)}; }

// In 8-bit sRGB, as somebody sees it.
Rgb seen(const Matrix& eye, const Colour& colour) {
  const Rgb from = light(colour);
  Rgb to{};
  for (std::size_t i = 0; i < 3; ++i) {
    to[i] = std::round(255.0 * encoded(eye[i][0] * from[0] + eye[i][1] * from[1] + eye[i][2] * from[2]));
  }
  return to;
}

double distance(const Rgb& a, const Rgb& b) { return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]); }

double luminance(const Colour& c) {
  const Rgb l = light(c);
  return 0.2126 * l[0] + 0.7152 * l[1] + 0.0722 * l[2];
}

std::vector<Colour> signedBands() {
  std::vector<Colour> colours;
  for (std::size_t band = 0; band < SignedBands::kCount; ++band) colours.push_back(SignedBands::colourOf(band));
  return colours;
}

const std::vector<Colour> kAll(kDiverging.begin(), kDiverging.end());

TEST(DivergingColours, AreToldApartByThoseWhoDoNotTellRedFromGreen) {
  for (const std::vector<Colour>& colours : {kAll, signedBands()}) {
    for (const Matrix& eye : {kProtanopia, kDeuteranopia}) {
      for (std::size_t i = 0; i + 1 < colours.size(); ++i) {
        EXPECT_GE(distance(seen(eye, colours[i]), seen(eye, colours[i + 1])), 40.0) << i;
      }
    }
  }
}

// What lies on one side of zero is not taken for what lies on the other, either.
TEST(DivergingColours, AreToldApartAcrossZero) {
  for (const Matrix& eye : {kProtanopia, kDeuteranopia}) {
    for (std::size_t i = 0; i < 4; ++i) {
      for (std::size_t j = 5; j < 9; ++j) {
        EXPECT_GE(distance(seen(eye, kDiverging[i]), seen(eye, kDiverging[j])), 40.0) << i << " " << j;
      }
    }
  }
}

TEST(DivergingColours, GrowDarkerFromTheMiddleOnBothSides) {
  for (const std::vector<Colour>& colours : {kAll, signedBands()}) {
    const std::size_t middle = colours.size() / 2;
    for (std::size_t i = 0; i < middle; ++i) EXPECT_LT(luminance(colours[i]), luminance(colours[i + 1])) << i;
    for (std::size_t i = middle; i + 1 < colours.size(); ++i) {
      EXPECT_GT(luminance(colours[i]), luminance(colours[i + 1])) << i;
    }
  }
}

TEST(DivergingColours, AreBlueBelowZeroAndRedAbove) {
  for (std::size_t i = 0; i < 4; ++i) EXPECT_GT(kDiverging[i].blue, kDiverging[i].red);
  for (std::size_t i = 5; i < 9; ++i) EXPECT_GT(kDiverging[i].red, kDiverging[i].blue);
}

TEST(BinColour, IsToldApartFromThatOfTheNextBin) {
  for (const Matrix& eye : {kProtanopia, kDeuteranopia}) {
    for (std::size_t bin = 0; bin < 1000; ++bin) {
      EXPECT_GE(distance(seen(eye, binColour(bin)), seen(eye, binColour(bin + 1))), 40.0) << bin;
    }
  }
}

TEST(ScaleColour, GrowsBrighterAllTheWay) {
  for (int i = 0; i < 100; ++i) EXPECT_LT(luminance(scaleColour(i / 100.0)), luminance(scaleColour((i + 1) / 100.0)));
}

}  // namespace
}  // namespace queltool
