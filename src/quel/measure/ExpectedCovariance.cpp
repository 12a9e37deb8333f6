#include "quel/measure/ExpectedCovariance.h"

#include <utility>

#include "quel/base/Arrays.h"
#include "quel/measure/Projection.h"

namespace quel {

namespace {

bool isUsed(const TriangulateOptions& options, int camera) {
  if (options.fit != Fit::Singular || camera == options.reference) return true;
  const int first = options.targets ? (*options.targets)[0] : (options.reference == 0 ? 1 : 0);
  return camera == first;
}

}  // namespace

Result<ExpectedCovariance> expectedCovariance(const Head& head, std::span<const Vec3> points,
                                              const TriangulateOptions& options) {
  if (!options.noise) return Error{"the noise of the pixels is not given"};
  const auto seen = projectAll(head, points, Mode::Exact, options.threads);
  if (!seen) return seen.error();
  TriangulateOptions measured = options;
  measured.distorted = true;
  auto found = triangulate(head, {(*seen)[0].pixels, (*seen)[1].pixels, (*seen)[2].pixels}, measured);
  if (!found) return found.error();
  ExpectedCovariance expected{std::move(found->covariance), std::move(found->status)};
  for (int camera = 0; camera < 3; ++camera) {
    if (!isUsed(options, camera)) continue;
    const std::vector<Status>& status = (*seen)[static_cast<std::size_t>(camera)].status;
    for (std::size_t n = 0; n < points.size(); ++n) {
      if (status[n] == Status::Ok) continue;
      expected.status[n] = status[n];
      expected.covariance[n] = {kNoPoint, kNoPoint, kNoPoint};
    }
  }
  return expected;
}

}  // namespace quel
