// Reads the cameras of a head from a JSON file, and writes it.
//
//   {"cameras": [                                   three of them, in the head's order
//     {"name": "left", "width": 1536, "height": 1024,
//      "fx": 5555.5, "fy": 5555.5, "cx": 767.5, "cy": 511.5, "skew": 0,
//      "distortion": {"model": "brown-conrady-normalised", "k1": 0, "k2": 0, "k3": 0, "p1": 0, "p2": 0},
//      "rotation": [[1, 0, 0], [0, 1, 0], [0, 0, 1]], "translation": [0, 0, 1240]}, ...]}
//
// `skew`, `distortion` and its coefficients are 0 when absent; other keys are left alone. Other models have the names
// and the parameters of Lens.h; one of B-splines has "order", "columns", "rows", "fov_x_deg" and "control_points".
#pragma once

#include <array>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "quel/base/Result.h"
#include "quel/cameras/Camera.h"

namespace quel {

#pragma GCC visibility push(default)

/// The three cameras of the file `path`. The error names the file, the key and what is wrong with it.
Result<std::array<Camera, 3>> readCameras(const std::filesystem::path& path);

/// The three cameras of the JSON text `json`. The error names the key and what is wrong with it.
Result<std::array<Camera, 3>> parseCameras(const std::string& json);

/// The cameras of the JSON text `json`, however many.
Result<std::vector<Camera>> parseCameraList(const std::string& json);

/// The JSON text of `cameras`, each with the whole of its lens. Read again, every number has the same bits.
std::string textOfCameras(std::span<const Camera> cameras);

#pragma GCC visibility pop

}  // namespace quel
