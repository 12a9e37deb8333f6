// Planes, lines, outlines, partitions, indices and the colours of deviations.
#include <pybind11/stl.h>

#include "bindings.h"
#include "quel/geometry/DeviationScale.h"
#include "quel/geometry/ImageIndex.h"
#include "quel/geometry/Line.h"
#include "quel/geometry/Partition.h"
#include "quel/geometry/Plane.h"
#include "quel/head/Head.h"

namespace quelpython {

using namespace py::literals;

namespace {

py::dict residualsOf(quel::Residuals&& residuals) {
  return py::dict("each"_a = adopted(std::move(residuals.each)), "rms"_a = residuals.rms, "mean"_a = residuals.mean,
                  "smallest"_a = residuals.smallest, "largest"_a = residuals.largest);
}

template <typename Feature>
Feature fitted(const Doubles& points) {
  const auto given = rowsOf<quel::Vec3>(points);
  const py::gil_scoped_release release;
  return valueOf(Feature::fit(given));
}

py::dict fitPlane(const Doubles& points) {
  quel::Plane plane = fitted<quel::Plane>(points);
  return py::dict("centre"_a = arrayOf(plane.centre), "normal"_a = arrayOf(plane.normal),
                  "residuals"_a = residualsOf(std::move(plane.residuals)),
                  "centre_covariance"_a = arrayOf(plane.centreCovariance),
                  "normal_covariance"_a = arrayOf(plane.normalCovariance));
}

py::dict fitLine(const Doubles& points) {
  quel::Line line = fitted<quel::Line>(points);
  return py::dict("centre"_a = arrayOf(line.centre), "direction"_a = arrayOf(line.direction),
                  "ends"_a = arrayOf(line.ends), "length"_a = line.length,
                  "residuals"_a = residualsOf(std::move(line.residuals)),
                  "centre_covariance"_a = arrayOf(line.centreCovariance),
                  "direction_covariance"_a = arrayOf(line.directionCovariance));
}

Doubles outlineOf(const Doubles& points, const quel::Vec3& centre, const quel::Vec3& normal) {
  const auto given = rowsOf<quel::Vec3>(points);
  quel::Plane plane;
  plane.centre = centre;
  plane.normal = normal;
  return adopted([&] {
    const py::gil_scoped_release release;
    return valueOf(quel::convexOutline(given, plane));
  }());
}

// One field of records as an array.
template <typename Value, typename Records, typename Get>
auto column(const Records& records, Get get) {
  std::vector<Value> values;
  values.reserve(records.size());
  for (const auto& record : records) values.push_back(get(record));
  return adopted(std::move(values));
}

py::dict partitionOf(const Doubles& points) {
  const auto given = rowsOf<quel::Vec3>(points);
  quel::Partition partition = [&] {
    const py::gil_scoped_release release;
    return valueOf(quel::Partition::of(given));
  }();
  using Node = quel::Partition::Node;
  const std::vector<Node>& nodes = partition.nodes;
  const auto numbers = [&nodes](std::int32_t Node::*field) {
    return column<std::int32_t>(nodes, [field](const Node& node) { return node.*field; });
  };
  return py::dict("minimum"_a = column<quel::Vec3>(nodes, [](const Node& node) { return node.minimum; }),
                  "maximum"_a = column<quel::Vec3>(nodes, [](const Node& node) { return node.maximum; }),
                  "first"_a = numbers(&Node::first), "count"_a = numbers(&Node::count),
                  "parent"_a = numbers(&Node::parent), "left"_a = numbers(&Node::left),
                  "right"_a = numbers(&Node::right), "order"_a = adopted(std::move(partition.order)));
}

quel::Vec3 cornerOf(const QmVec3& corner) { return {corner.x(), corner.y(), corner.z()}; }

py::dict indexOf(quel::ImageIndex&& index) {
  const auto& bins = index.bins;
  return py::dict(
      "first"_a = column<std::int32_t>(bins, [](const auto& bin) { return static_cast<std::int32_t>(bin.start); }),
      "count"_a = column<std::int32_t>(bins, [](const auto& bin) { return static_cast<std::int32_t>(bin.count); }),
      "minimum"_a = column<quel::Vec3>(bins, [](const auto& bin) { return cornerOf(bin.box.minimum()); }),
      "maximum"_a = column<quel::Vec3>(bins, [](const auto& bin) { return cornerOf(bin.box.maximum()); }),
      "points"_a = adopted(std::move(index.points)), "pixels"_a = adopted(std::move(index.pixels)),
      "order"_a = adopted(std::move(index.order)), "left_out"_a = index.leftOut);
}

py::dict indexByImage(const quel::Head& head, const Doubles& points, int camera, int mode, int threads) {
  const auto given = rowsOf<quel::Vec3>(points);
  return indexOf([&] {
    const py::gil_scoped_release release;
    return valueOf(quel::ImageIndex::byImage(head, given, camera, static_cast<quel::Mode>(mode), threads));
  }());
}

py::dict indexBySpace(const Doubles& points) {
  const auto given = rowsOf<quel::Vec3>(points);
  return indexOf([&] {
    const py::gil_scoped_release release;
    return valueOf(quel::ImageIndex::bySpace(given));
  }());
}

using Deviations = py::array_t<double, py::array::c_style>;

std::span<const double> numbersOf(const Deviations& deviations) {
  return {deviations.data(), static_cast<std::size_t>(deviations.size())};
}

std::array<double, 3> parts(const quel::Colour& colour) { return {colour.red, colour.green, colour.blue}; }

// The colours of all intervals at once, and the place of each deviation among them, would need a second search: each is
// asked for its colour.
Doubles coloursOf(const quel::DeviationScale& scale, const Deviations& deviations) {
  const auto given = numbersOf(deviations);
  std::vector<std::array<double, 3>> colours(given.size());
  {
    const py::gil_scoped_release release;
    for (std::size_t n = 0; n < given.size(); ++n) colours[n] = parts(scale.colourOf(given[n]));
  }
  return adopted(std::move(colours));
}

py::list intervalsOf(const quel::DeviationScale& scale) {
  py::list list;
  for (const auto& interval : scale.intervals()) {
    list.append(py::dict("lower"_a = interval.lower, "upper"_a = interval.upper, "colour"_a = parts(interval.colour),
                         "count"_a = interval.count));
  }
  return list;
}

}  // namespace

void bindGeometry(py::module_& module) {
  module.def("fit_plane", &fitPlane);
  module.def("fit_line", &fitLine);
  module.def("convex_outline", &outlineOf);
  module.def("partition", &partitionOf);
  module.def("index_by_image", &indexByImage);
  module.def("index_by_space", &indexBySpace);
  py::class_<quel::DeviationScale>(module, "DeviationScale")
      .def(py::init([](const Deviations& deviations, bool isSigned) {
        const auto given = numbersOf(deviations);
        const py::gil_scoped_release release;
        return quel::DeviationScale(given, isSigned);
      }))
      .def("intervals", &intervalsOf)
      .def("colours", &coloursOf);
}

}  // namespace quelpython
