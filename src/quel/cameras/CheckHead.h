// What makes a head impossible, in words. Hidden in the library. Empty text: nothing is wrong.
#pragma once

#include <array>
#include <string>

#include "quel/cameras/Geometry.h"
#include "quel/cameras/HeadMaker.h"

namespace quel {

/// What a camera is called in what is said of it: "camera 1 (left)".
std::string calledCamera(const std::array<Camera, 3>& cameras, std::size_t i);

/// What is wrong with one camera, as the end of a sentence that begins with its name.
std::string checkCamera(const Camera& camera);

std::string checkOptions(const HeadOptions& options);
std::string checkCameras(const std::array<Camera, 3>& cameras);
std::string checkScene(const std::array<View, 3>& views, const RealVec3& centre);

}  // namespace quel
