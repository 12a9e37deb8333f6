// Calibrations of other programs.
#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include "bindings.h"
#include "quel/cameras/CameraFile.h"
#include "quel/formats/Export.h"
#include "quel/formats/Import.h"

namespace quelpython {

namespace {

quel::CalibrationFormat formatNamed(const std::string& name) {
  std::string known;
  for (const quel::CalibrationFormat format : quel::calibrationFormats()) {
    if (quel::calibrationFormatName(format) == name) return format;
    known += (known.empty() ? "" : ", ") + std::string(quel::calibrationFormatName(format));
  }
  throw py::value_error("format: expected one of " + known + ", got '" + name + "'");
}

using Size = std::optional<std::array<std::int32_t, 2>>;
using Between = std::optional<std::tuple<std::string, std::string, double>>;

quel::ImportOptions optionsOf(const Size& size, const std::vector<std::string>& cameras, std::optional<double> unit,
                              const Between& baseline, bool fisheye, bool keepWorld,
                              const std::optional<std::filesystem::path>& poses) {
  quel::ImportOptions options;
  options.size = size;
  options.cameras = cameras;
  options.millimetresPerUnit = unit;
  if (baseline)
    options.baseline = quel::Baseline{std::get<0>(*baseline), std::get<1>(*baseline), std::get<2>(*baseline)};
  options.fisheye = fisheye;
  options.keepWorld = keepWorld;
  if (poses) options.poses = *poses;
  return options;
}

// The text of the cameras, and what was taken for what.
py::tuple importCameras(const std::string& format, const std::vector<std::filesystem::path>& files, const Size& size,
                        const std::vector<std::string>& cameras, std::optional<double> unit, const Between& baseline,
                        bool fisheye, bool keepWorld, const std::optional<std::filesystem::path>& poses) {
  const quel::CalibrationFormat known = formatNamed(format);
  const quel::ImportOptions options = optionsOf(size, cameras, unit, baseline, fisheye, keepWorld, poses);
  const auto [text, remarks] = [&] {
    const py::gil_scoped_release release;
    quel::ImportedCameras imported = valueOf(quel::importCameras(known, files, options));
    return std::pair(quel::textOfCameras(imported.cameras), std::move(imported.remarks));
  }();
  return py::make_tuple(textOf(text), textsOf(remarks));
}

// The paths of what was written, and how each lens was.
py::tuple exportCameras(const quel::Head& head, const std::string& format, const std::filesystem::path& folder,
                        const std::vector<std::string>& names, bool allowResidual) {
  const quel::CalibrationFormat known = formatNamed(format);
  const quel::ExportedCameras exported = [&] {
    const py::gil_scoped_release release;
    return valueOf(quel::exportCameras(known, head, folder, {names, allowResidual}));
  }();
  std::vector<std::filesystem::path> files;
  for (const quel::NamedText& file : exported.files) files.push_back(file.file);
  return py::make_tuple(files, textsOf(exported.remarks), exported.residualPx);
}

}  // namespace

void bindFormats(py::module_& module) {
  module.def("import_cameras", &importCameras);
  module.def("export_cameras", &exportCameras);
}

}  // namespace quelpython
