#include "quel/store/Materials.h"

#include <algorithm>
#include <cmath>

#include "quel/base/Paths.h"
#include "quel/base/Readings.h"
#include "quelcore/operations/QmMaterialIO.h"

namespace quel {

namespace {

Material materialOf(const std::pair<OPTICAL_HEAD, QmLens>& pair, const QmMaterialTable::value_type& row) {
  const auto& [name, params] = row;
  return {static_cast<std::int32_t>(pair.first),
          static_cast<std::int32_t>(pair.second),
          toNarrow(name),
          {params.value1, params.value2, params.value3},
          params.value4};
}

// A blank stands as a semicolon in the file, and words end at other white space.
bool isReadBack(const std::string& name) {
  const auto isLost = [](unsigned char c) { return c < 0x20 || c == 0x7F || c == ';'; };
  return !name.empty() && std::none_of(name.begin(), name.end(), isLost) && toNarrow(toWide(name.c_str())) == name;
}

Result<void> check(const Material& material) {
  const auto isFinite = [](double value) { return std::isfinite(value); };
  if (!isReadBack(material.name)) {
    return Error{"the material \"" + material.name + "\" has a name that would not be read back"};
  }
  if (!std::all_of(material.values.begin(), material.values.end(), isFinite)) {
    return Error{"the material \"" + material.name + "\" has a value that is not finite"};
  }
  return {};
}

bool add(const Material& material, QmMaterialIO& tables) {
  QmMtrlParams<double, double, double, std::int32_t> params;
  params.value1 = material.values[0];
  params.value2 = material.values[1];
  params.value3 = material.values[2];
  params.value4 = material.number;
  return tables.getMapMaterial(static_cast<OPTICAL_HEAD>(material.head), static_cast<QmLens>(material.lens))
      .emplace(toWide(material.name.c_str()), params)
      .second;
}

}  // namespace

Result<std::vector<Material>> readMaterials(const std::filesystem::path& file) {
  const Reasons reasons;
  QmMaterialIO tables(widePath(file).c_str());
  if (!tables.read()) return unreadable(file, reasons);
  if (Error remark = firstRemark(); !remark.cause.empty()) return remark;
  std::vector<Material> materials;
  for (const auto& [pair, table] : tables.getMaterialTables()) {
    for (const auto& row : table) materials.push_back(materialOf(pair, row));
  }
  return materials;
}

Result<void> writeMaterials(const std::filesystem::path& file, const std::vector<Material>& materials) {
  if (!isTakenByDoors(file)) return Error{"a path may not hold '\\' and must be UTF-8", file.string()};
  const Reasons reasons;
  QmMaterialIO tables(widePath(file).c_str());
  for (const Material& material : materials) {
    if (auto checked = check(material); !checked) return Error{checked.error().cause, file.string()};
    if (!add(material, tables)) {
      return Error{"the material \"" + material.name + "\" stands twice for one head and lens", file.string()};
    }
  }
  if (!tables.write()) return Error{"cannot be written" + reasons.text(), file.string()};
  return {};
}

}  // namespace quel
