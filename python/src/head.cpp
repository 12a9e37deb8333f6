// Heads: made, loaded, stored, asked.
#include "quel/head/Head.h"

#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include "bindings.h"
#include "quel/cameras/CameraFile.h"
#include "quel/cameras/CameraTypes.h"
#include "quel/cameras/Lens.h"

namespace quelpython {

using namespace py::literals;

namespace {

py::dict lensOf(const quel::HeadLens& lens) {
  return py::dict("centre"_a = arrayOf(lens.centre), "k1"_a = lens.k1, "k2"_a = lens.k2, "k3"_a = lens.k3,
                  "p1"_a = lens.p1, "p2"_a = lens.p2, "extra"_a = arrayOf(lens.extra), "option"_a = lens.option,
                  "uses_lut"_a = lens.usesLut);
}

py::dict cameraOf(const quel::Head& head, int index) {
  const quel::HeadCamera camera = valueOf(head.camera(index));
  return py::dict("name"_a = textOf(camera.name), "K"_a = arrayOf(camera.K), "R"_a = arrayOf(camera.R),
                  "t"_a = arrayOf(camera.t), "width"_a = camera.width, "height"_a = camera.height,
                  "distortion"_a = lensOf(camera.distortion));
}

py::dict identityOf(const quel::Head& head) {
  const quel::HeadIdentity identity = head.identity();
  return py::dict("machine_id"_a = textOf(identity.machineId), "block_number"_a = identity.blockNumber,
                  "calib_word0"_a = identity.calibWord0, "image_tag"_a = identity.imageTag,
                  "calib_word2"_a = identity.calibWord2, "calibration_time_stamp"_a = identity.calibrationTimeStamp);
}

bool belongsTo(const quel::Head& head, const std::string& machineId, std::int32_t blockNumber, std::int32_t imageTag,
               std::int32_t calibrationTimeStamp) {
  return head.belongsTo({machineId, imageTag, calibrationTimeStamp, blockNumber});
}

py::object fitOf(const quel::Head& head) {
  if (!head.distortionFit()) return py::none();
  py::list list;
  for (const quel::DistortionFit& fit : *head.distortionFit()) {
    list.append(
        py::dict("exact"_a = fit.exact, "rms"_a = fit.rmsPx, "largest"_a = fit.maxPx, "lut_pitch"_a = fit.lutPitch));
  }
  return list;
}

template <typename T>
void take(const py::dict& fields, const char* name, T& option) {
  if (fields.contains(name)) option = fields[name].cast<T>();
}

quel::HeadOptions optionsOf(const py::dict& fields) {
  quel::HeadOptions options;
  take(fields, "machine_id", options.machineId);
  take(fields, "block_number", options.blockNumber);
  take(fields, "calib_word0", options.calibWord0);
  take(fields, "image_tag", options.imageTag);
  take(fields, "calib_word2", options.calibWord2);
  take(fields, "calibration_time_stamp", options.calibrationTimeStamp);
  take(fields, "temperature", options.temperature);
  take(fields, "working_distance", options.workingDistance);
  take(fields, "lens_type", options.lensType);
  take(fields, "ccd_pixel_size", options.ccdPixelSize);
  take(fields, "scene_centre", options.sceneCentre);
  take(fields, "box_half_size", options.boxHalfSize);
  if (!fields.contains("lut_pitch")) return options;
  options.luts = quel::LutOptions{};
  take(fields, "lut_pitch", options.luts->pitch);
  take(fields, "lut_layers", options.luts->layers);
  return options;
}

py::dict lensModels() {
  py::dict models;
  for (const quel::LensModel model : quel::lensModels()) {
    py::list names;
    for (const std::string_view name : quel::lensParameterNames(model)) names.append(py::str(std::string(name)));
    models[py::str(std::string(quel::lensModelName(model)))] = py::tuple(names);
  }
  return models;
}

// What `cameras` gives, made into a head; the GIL is free meanwhile.
template <typename Read>
quel::Head made(Read cameras, const quel::HeadOptions& options) {
  const py::gil_scoped_release release;
  const auto three = cameras();
  if (!three) return valueOf(quel::Result<quel::Head>(three.error()));
  return valueOf(quel::Head::fromCameras(three.value(), options));
}

}  // namespace

void bindHead(py::module_& module) {
  module.def("lens_models", &lensModels);
  module.def("camera_type", &quel::cameraTypeOfSize);
  module.def("new_camera_type", &quel::newCameraType);
  py::class_<quel::Head>(module, "Head")
      .def_static("load",
                  [](const std::filesystem::path& file) {
                    const py::gil_scoped_release release;
                    return valueOf(quel::Head::load(file));
                  })
      .def_static("from_file",
                  [](const std::filesystem::path& file, const py::dict& options) {
                    return made([&] { return quel::readCameras(file); }, optionsOf(options));
                  })
      .def_static("from_json",
                  [](const std::string& json, const py::dict& options) {
                    return made([&] { return quel::parseCameras(json); }, optionsOf(options));
                  })
      .def("store",
           [](const quel::Head& head, const std::filesystem::path& folder, bool overwrite) {
             const py::gil_scoped_release release;
             return valueOf(head.store(folder, overwrite));
           })
      .def("camera", &cameraOf)
      .def("identity", &identityOf)
      .def("fit", &fitOf)
      .def("with_names", &quel::Head::withCameraNames)
      .def("belongs_to", &belongsTo)
      .def("compensated", [](const quel::Head& head, const std::filesystem::path& table, double temperature) {
        const py::gil_scoped_release release;
        return valueOf(head.compensated(table, temperature));
      });
}

}  // namespace quelpython
