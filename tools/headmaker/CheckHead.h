// What makes a head impossible, in words. Hidden in headmaker. Empty text: nothing is wrong.
#pragma once

#include <array>
#include <string>

#include "headmaker/Geometry.h"
#include "headmaker/Head.h"

namespace headmaker {

std::string checkOptions(const HeadOptions& options);
std::string checkCameras(const std::array<Camera, 3>& cameras);
std::string checkScene(const std::array<View, 3>& views, const RealVec3& centre);

}  // namespace headmaker
