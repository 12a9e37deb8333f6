// A file of each kind that commands take, small and sound, to try a command or to begin from.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "files/Values.h"

namespace queltool {

/// Three cameras that converge upon the world's origin from 600 mm, as JSON.
std::string exampleCameras();

/// A gently waved part about the origin, in the view of those cameras, millimetres.
std::vector<Vec3> exampleCloud();

/// Rates of drift per degree for those cameras.
std::string exampleCorrections();

std::string exampleMaterials();
std::string exampleGlobalMaterials();
std::string exampleOperations();

/// Makes `folder` a root directory with a project, a part and two setups. What is there already stays.
void makeExampleStore(const std::filesystem::path& folder);

}  // namespace queltool
