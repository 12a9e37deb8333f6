// The extension behind the Python module `quel`. Its functions take arrays that the Python files have already brought
// into shape; nothing here is meant to be called by users.
#include <pybind11/pybind11.h>

#include "bindings.h"
#include "quelcore/base/QmVersion.h"

namespace quelpython {

void translateErrors() {
  py::register_exception_translator([](std::exception_ptr thrown) {
    try {
      if (thrown) std::rethrow_exception(thrown);
    } catch (const Failed& failed) {
      const py::object type = py::module_::import("quel._error").attr("Error");
      const std::string& name = failed.error.file;
      const auto file = py::reinterpret_steal<py::str>(
          PyUnicode_DecodeFSDefaultAndSize(name.data(), static_cast<py::ssize_t>(name.size())));
      const py::object error = type(textOf(failed.error.cause), file, textOf(failed.error.place));
      PyErr_SetObject(type.ptr(), error.ptr());
    }
  });
}

}  // namespace quelpython

PYBIND11_MODULE(_quel, module) {
  module.doc() = "What the module quel is made of; use that.";
  quelpython::translateErrors();
  module.def("version", &qmCoreVersion);
  quelpython::bindClouds(module);
  quelpython::bindFormats(module);
  quelpython::bindGeometry(module);
  quelpython::bindHead(module);
  quelpython::bindMeasure(module);
  quelpython::bindStore(module);
}
