#include "quel/geometry/Line.h"

#include <utility>
#include <vector>

#include "quel/geometry/points.h"
#include "quelcore/features/QmFitLine.h"

namespace quel {

namespace {

// The sum of squares along the line, by which the direction turns.
double spreadAlong(const Line& line, std::span<const Vec3> points) {
  double sum = 0.0;
  for (const Vec3& point : points) {
    const double along = ::dot(vectorOf(line.direction), vectorOf(point) - vectorOf(line.centre));
    sum += along * along;
  }
  return sum;
}

void addCovariance(Line& line, std::span<const Vec3> points) {
  const auto count = static_cast<double>(points.size());
  const double variance = line.residuals.rms * line.residuals.rms * count / (2.0 * count - 4.0);
  line.centreCovariance = alike(variance / count);
  const double turning = variance / spreadAlong(line, points);
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t k = 0; k < 3; ++k) {
      line.directionCovariance[i][k] = turning * ((i == k ? 1.0 : 0.0) - line.direction[i] * line.direction[k]);
    }
  }
}

}  // namespace

double Line::distanceOf(const Vec3& point) const {
  return ::length(cross(vectorOf(point) - vectorOf(centre), vectorOf(direction)));
}

Result<Line> Line::fit(std::span<const Vec3> points) {
  if (const auto done = refuseNotFinite(points); !done) return done.error();
  std::vector<QmVec3> vectors = vectorsOf(points);
  QmFitLine fit;
  std::vector<QmVec3> ends;
  if (!fit.CalculateLineByPoints(vectors) || !fit.GetLinePoints(ends)) {
    return Error{"no line can be fitted; it takes two points that do not coincide"};
  }
  QmVec3 centre, direction;
  fit.GetPoint(centre);
  fit.GetDirection(direction);
  Line line{arrayOf(centre), arrayOf(direction), {arrayOf(ends[0]), arrayOf(ends[1])}, ::length(ends[1] - ends[0]), {},
            unknown(),       unknown()};
  std::vector<double> each;
  each.reserve(points.size());
  for (const Vec3& point : points) each.push_back(line.distanceOf(point));
  line.residuals = residualsOf(std::move(each));
  if (points.size() > 2) addCovariance(line, points);
  return line;
}

}  // namespace quel
