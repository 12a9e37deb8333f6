// Projections, rays and distortion: each writes into arrays that the caller made, without the GIL.
#include <optional>

#include "bindings.h"
#include "quel/head/Head.h"
#include "quel/measure/ExpectedCovariance.h"
#include "quel/measure/Projection.h"
#include "quel/measure/Triangulation.h"

#include <pybind11/stl.h>

namespace quelpython {

namespace {

void project(const quel::Head& head, const Doubles& points, int camera, int mode, int threads, Doubles& pixels,
             Bytes& status) {
  const auto from = rowsOf<quel::Vec3>(points);
  const auto to = rowsOf<quel::Vec2>(pixels);
  const auto became = statusOf(status);
  const py::gil_scoped_release release;
  require(quel::project(head, from, camera, static_cast<quel::Mode>(mode), threads, to, became));
}

Doubles rays(const quel::Head& head, const Doubles& pixels, int camera, bool distorted, int threads,
             Doubles& directions, Bytes& status) {
  const auto from = rowsOf<quel::Vec2>(pixels);
  const auto to = rowsOf<quel::Vec3>(directions);
  const auto became = statusOf(status);
  return arrayOf([&] {
    const py::gil_scoped_release release;
    return valueOf(quel::rays(head, from, camera, distorted, threads, to, became));
  }());
}

using Moving = quel::Result<void> (*)(const quel::Head&, std::span<const quel::Vec2>, int, std::optional<double>, int,
                                      std::span<quel::Vec2>, std::span<quel::Status>);

// Undistorts or distorts.
template <Moving Move>
void move(const quel::Head& head, const Doubles& pixels, int camera, std::optional<double> depth, int threads,
          Doubles& moved, Bytes& status) {
  const auto from = rowsOf<quel::Vec2>(pixels);
  const auto to = rowsOf<quel::Vec2>(moved);
  const auto became = statusOf(status);
  const py::gil_scoped_release release;
  require(Move(head, from, camera, depth, threads, to, became));
}

struct Results {
  Doubles points, residuals;
  Bytes status;
  std::optional<Doubles> covariance;

  quel::TriangulatedSpans spans() {
    const std::size_t count = static_cast<std::size_t>(points.shape(0));
    quel::TriangulatedSpans spans{rowsOf<quel::Vec3>(points), {residuals.mutable_data(), count}, statusOf(status)};
    if (covariance) spans.covariance = rowsOf<quel::Mat3>(*covariance);
    return spans;
  }
};

void triangulate(const quel::Head& head, const Doubles& px0, const Doubles& px1, const Doubles& px2, int method,
                 int reference, std::array<int, 2> targets, bool distorted, std::optional<double> noise, int threads,
                 const Doubles& points, const Doubles& residuals, const Bytes& status,
                 const std::optional<Doubles>& covariance) {
  Results results{points, residuals, status, covariance};
  const auto spans = results.spans();
  const std::array pixels = {rowsOf<quel::Vec2>(px0), rowsOf<quel::Vec2>(px1), rowsOf<quel::Vec2>(px2)};
  const quel::TriangulateOptions options{static_cast<quel::Fit>(method), reference, targets, distorted, threads, noise};
  const py::gil_scoped_release release;
  require(quel::triangulate(head, pixels, options, spans));
}

py::tuple expectedCovariance(const quel::Head& head, const Doubles& points, int method, int reference,
                             std::array<int, 2> targets, double noise, int threads) {
  const auto given = rowsOf<quel::Vec3>(points);
  const quel::TriangulateOptions options{static_cast<quel::Fit>(method), reference, targets, true, threads, noise};
  quel::ExpectedCovariance expected = [&] {
    const py::gil_scoped_release release;
    return valueOf(quel::expectedCovariance(head, given, options));
  }();
  std::vector<std::uint8_t> status;
  status.reserve(expected.status.size());
  for (const quel::Status each : expected.status) status.push_back(static_cast<std::uint8_t>(each));
  return py::make_tuple(adopted(std::move(expected.covariance)), adopted(std::move(status)));
}

}  // namespace

void bindMeasure(py::module_& module) {
  module.def("project", &project);
  module.def("rays", &rays);
  module.def("undistort", &move<&quel::undistort>);
  module.def("distort", &move<&quel::distort>);
  module.def("triangulate", &triangulate);
  module.def("expected_covariance", &expectedCovariance);
}

}  // namespace quelpython
