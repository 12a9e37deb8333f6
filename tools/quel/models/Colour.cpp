#include "models/Colour.h"

#include <algorithm>
#include <iterator>

namespace queltool {

Colour scaleColour(double share) {
  constexpr Colour kStops[] = {{0.267, 0.005, 0.329}, {0.275, 0.195, 0.496}, {0.212, 0.359, 0.552},
                               {0.153, 0.497, 0.558}, {0.122, 0.633, 0.531}, {0.288, 0.758, 0.429},
                               {0.627, 0.855, 0.223}, {0.993, 0.906, 0.144}};
  constexpr std::size_t kLast = std::size(kStops) - 1;
  const double at = std::clamp(share, 0.0, 1.0) * kLast;
  const auto i = std::min(static_cast<std::size_t>(at), kLast - 1);
  const double rest = at - static_cast<double>(i);
  const auto mix = [rest](double a, double b) { return a + rest * (b - a); };
  return {mix(kStops[i].red, kStops[i + 1].red), mix(kStops[i].green, kStops[i + 1].green),
          mix(kStops[i].blue, kStops[i + 1].blue)};
}

}  // namespace queltool
