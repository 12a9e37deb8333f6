// Colours by their shares of red, green and blue.
#pragma once

#include <array>

namespace quel {

#pragma GCC visibility push(default)

/// From 0 to 1 each.
struct Colour {
  double red, green, blue;
  double alpha = 1.0;
};

/// From dark blue (far below zero) over grey to dark red (far above). Neighbours lie more than 50 apart, of 255 in each
/// channel, also to those who do not tell red from green, and the light grows darker on both sides of the middle.
inline constexpr std::array<Colour, 9> kDiverging = {{{16 / 255.0, 28 / 255.0, 92 / 255.0},
                                                      {28 / 255.0, 76 / 255.0, 164 / 255.0},
                                                      {62 / 255.0, 132 / 255.0, 214 / 255.0},
                                                      {138 / 255.0, 186 / 255.0, 232 / 255.0},
                                                      {208 / 255.0, 208 / 255.0, 204 / 255.0},
                                                      {240 / 255.0, 178 / 255.0, 92 / 255.0},
                                                      {214 / 255.0, 118 / 255.0, 28 / 255.0},
                                                      {156 / 255.0, 62 / 255.0, 12 / 255.0},
                                                      {88 / 255.0, 18 / 255.0, 8 / 255.0}}};

#pragma GCC visibility pop

}  // namespace quel
