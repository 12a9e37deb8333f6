// The camera types that the home directory knows, by the size of their images.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace quel {

#pragma GCC visibility push(default)

/// The camera type whose images have this size, the default type first; nothing when there is none.
std::optional<std::int32_t> cameraTypeOfSize(std::int32_t width, std::int32_t height);

/// The section of cameras.ini, without the end of its last line, that makes a free number the type of images of this
/// size.
std::string newCameraType(std::int32_t width, std::int32_t height);

#pragma GCC visibility pop

}  // namespace quel
