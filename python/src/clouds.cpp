// Clouds in and out.
#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include "bindings.h"
#include "quel/clouds/Cloud.h"

namespace quelpython {

namespace {

Doubles readCloud(const std::filesystem::path& file, const std::vector<std::string>& columns) {
  quel::ReadCloudOptions options;
  options.columns.chosen = columns;
  return adopted([&] {
    const py::gil_scoped_release release;
    return valueOf(quel::readCloud(file, options));
  }());
}

std::vector<quel::Colour> coloursOf(const std::optional<Doubles>& rows) {
  std::vector<quel::Colour> colours;
  if (!rows) return colours;
  for (const quel::Vec3& row : rowsOf<quel::Vec3>(*rows)) colours.push_back({row[0], row[1], row[2]});
  return colours;
}

void writeCloud(const std::filesystem::path& file, const Doubles& points, const std::optional<Doubles>& colours,
                const std::vector<std::pair<std::string, Doubles>>& values) {
  const std::vector<quel::Colour> kept = coloursOf(colours);
  quel::CloudExtras extras;
  extras.colours = kept;
  for (const auto& [name, column] : values) {
    extras.values.push_back({name, {column.data(), static_cast<std::size_t>(column.size())}});
  }
  const auto given = rowsOf<quel::Vec3>(points);
  const py::gil_scoped_release release;
  require(quel::writeCloud(file, given, extras));
}

}  // namespace

void bindClouds(py::module_& module) {
  module.def("read_cloud", &readCloud);
  module.def("write_cloud", &writeCloud);
}

}  // namespace quelpython
