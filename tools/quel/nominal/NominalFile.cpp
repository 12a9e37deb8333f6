#include "nominal/NominalFile.h"

#include "files/Failure.h"
#include "nominal/CloudNominal.h"
#include "nominal/MeshNominal.h"
#include "quel/clouds/Surface.h"

namespace queltool {

namespace {

std::unique_ptr<Nominal> nominalOf(quel::Surface&& surface, const std::optional<Vec3>& viewpoint) {
  if (!surface.facets.empty()) return std::make_unique<MeshNominal>(std::move(surface));
  return std::make_unique<CloudNominal>(std::move(surface), viewpoint);
}

}  // namespace

std::unique_ptr<Nominal> readNominal(const NominalFile& file) {
  quel::Surface surface = orFail(quel::readSurface(file.file, {{}, file.millimetresPerUnit, {}}));
  try {
    return nominalOf(std::move(surface), file.viewpoint);
  } catch (const Failure& failure) {
    throw Failure(file.file + ": " + failure.what());
  }
}

}  // namespace queltool
