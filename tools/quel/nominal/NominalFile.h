// Nominals from files.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "nominal/Nominal.h"

namespace queltool {

struct NominalFile {
  std::string file;
  double millimetresPerUnit = 1.0;     ///< Of coordinates whose unit the file does not tell.
  std::optional<Vec3> viewpoint = {};  ///< In millimetres; outside of a cloud without normals is where it lies.
};

/// The mesh or cloud that a file of any format of clouds holds. Throws `Failure` with the file's name and what is
/// wrong; also where a cloud has neither normals nor a viewpoint.
std::unique_ptr<Nominal> readNominal(const NominalFile& file);

}  // namespace queltool
