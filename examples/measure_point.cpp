// Where a point lies that three cameras see, and how well that is known.
//   measure_point BLOCK.tns
#include <array>
#include <cmath>
#include <cstdio>

#include "quel/quel.h"

int main(int argc, char** argv) {
  const auto head = quel::Head::load(argc > 1 ? argv[1] : "");
  if (!head) {
    std::fprintf(stderr, "%s\n", head.error().message().c_str());
    return 1;
  }
  const std::array points = {quel::Vec3{100.0, 62.5, 0.0}, quel::Vec3{25.0, 50.0, 10.0}};  // millimetres, world
  const auto seen = quel::projectAll(*head, points);
  if (!seen) return 1;

  quel::TriangulateOptions options;
  options.noise = 0.05;  // pixels, one standard deviation of each coordinate
  const auto found = quel::triangulate(*head, {(*seen)[0].pixels, (*seen)[1].pixels, (*seen)[2].pixels}, options);
  if (!found) return 1;
  for (std::size_t n = 0; n < points.size(); ++n) {
    const auto& [x, y, z] = found->points[n];
    const quel::Mat3& c = found->covariance[n];
    std::printf("point %zu: %.3f %.3f %.3f +- %.3f %.3f %.3f mm\n", n, x, y, z, std::sqrt(c[0][0]), std::sqrt(c[1][1]),
                std::sqrt(c[2][2]));
  }
}
