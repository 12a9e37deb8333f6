// A cloud against what it was compared with, and every figure of it for other programs.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "files/Json.h"
#include "models/Deviations.h"
#include "models/FeatureRun.h"
#include "nominal/Alignment.h"

namespace queltool {

struct DeviationRun {
  std::string cloud;                 ///< The name of its file.
  std::filesystem::path transform;   ///< The file of what moved it first; empty for none.
  std::string reference;             ///< The file of the nominal; empty for a plane.
  std::string nominal;               ///< What it is, for people.
  std::vector<std::string> remarks;  ///< What people must know of it.
  Tolerance tolerance;
  Deviations off;
  DeviationFigures figures;
  std::optional<PlaneFeature> plane;   ///< Where it is a plane.
  std::optional<Alignment> alignment;  ///< Where the cloud was aligned with it.
};

/// Every figure.
Json jsonOf(const DeviationRun& run);

/// The figures as rows "name,value,unit".
std::string csvOf(const DeviationRun& run);

}  // namespace queltool
