// What a site stores: names, plates, trees of projects, materials, operations. Records go over as plain dictionaries.
#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include "bindings.h"
#include "quel/store/BlockNames.h"
#include "quel/store/Materials.h"
#include "quel/store/Operations.h"
#include "quel/store/Plates.h"
#include "quel/store/ProjectTree.h"
#include "quel/store/SetupNumbers.h"

namespace quelpython {

using namespace py::literals;

namespace {

// What `read` gives; the GIL is free meanwhile.
template <typename Read>
auto without(Read read) {
  const py::gil_scoped_release release;
  return valueOf(read());
}

template <typename Values, typename Convert>
py::list listOf(const Values& values, Convert convert) {
  py::list list;
  for (const auto& value : values) list.append(convert(value));
  return list;
}

py::dict namesOf(const std::string& machineId, std::int32_t number, std::int32_t tile) {
  const quel::BlockNames names = valueOf(quel::blockNames(machineId, number, tile));
  return py::dict("block"_a = names.block, "file"_a = names.file, "lut_file"_a = names.lutFile,
                  "lut_prefix"_a = names.lutPrefix);
}

py::list allPlates() {
  return listOf(without(&quel::plates), [](const quel::Plate& plate) {
    return py::dict("name"_a = textOf(plate.name), "lenses"_a = py::tuple(py::cast(plate.lenses)),
                    "target_type"_a = plate.targetType, "expansion"_a = plate.expansion,
                    "map_file"_a = textOf(plate.mapFile), "active"_a = plate.active);
  });
}

py::list allSetups() {
  return listOf(without(&quel::setupNumbers), [](const quel::NumberedSetup& setup) {
    return py::dict("number"_a = setup.number, "cycle"_a = setup.cycle, "path"_a = textOf(setup.path));
  });
}

py::dict setupOf(const quel::StoredSetup& setup) {
  return py::dict("name"_a = textOf(setup.name), "path"_a = textOf(setup.path), "automatic"_a = setup.automatic,
                  "modified"_a = setup.modified, "number"_a = setup.number, "cycle"_a = setup.cycle);
}

py::dict partOf(const quel::StoredPart& part) {
  return py::dict("name"_a = textOf(part.name), "setups"_a = listOf(part.setups, &setupOf));
}

py::dict projectOf(const quel::StoredProject& project) {
  return py::dict("name"_a = textOf(project.name), "parts"_a = listOf(project.parts, &partOf));
}

py::dict treeOf(const std::filesystem::path& root, int kind) {
  const auto tree = without([&] { return quel::readProjectTree(root, static_cast<quel::SetupKind>(kind)); });
  return py::dict("projects"_a = listOf(tree.projects, &projectOf), "outside_parts"_a = textsOf(tree.outsideParts),
                  "unreadable"_a = textsOf(tree.unreadable));
}

py::list materialsOf(const std::filesystem::path& file) {
  return listOf(without([&] { return quel::readMaterials(file); }), [](const quel::Material& material) {
    return py::dict("head"_a = material.head, "lens"_a = material.lens, "name"_a = textOf(material.name),
                    "values"_a = py::tuple(py::cast(material.values)), "number"_a = material.number);
  });
}

using Row = std::tuple<std::int32_t, std::int32_t, std::string, std::array<double, 3>, std::int32_t>;

void writeMaterials(const std::filesystem::path& file, const std::vector<Row>& rows) {
  std::vector<quel::Material> materials;
  for (const auto& [head, lens, name, values, number] : rows) materials.push_back({head, lens, name, values, number});
  const py::gil_scoped_release release;
  require(quel::writeMaterials(file, materials));
}

py::dict operationsOf(const std::filesystem::path& file) {
  const auto list = without([&] { return quel::readOperations(file); });
  return py::dict("version"_a = textOf(list.version),
                  "operations"_a = listOf(list.operations, [](const auto& operation) {
                    return py::dict("id"_a = textOf(operation.id), "type"_a = textOf(operation.type),
                                    "tiles"_a = textOf(operation.tiles));
                  }));
}

}  // namespace

void bindStore(py::module_& module) {
  module.def("block_names", &namesOf);
  module.def("plates", &allPlates);
  module.def("setup_numbers", &allSetups);
  module.def("project_tree", &treeOf);
  module.def("read_materials", &materialsOf);
  module.def("write_materials", &writeMaterials);
  module.def("read_operations", &operationsOf);
}

}  // namespace quelpython
