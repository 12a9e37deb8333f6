// Camera types that the tool adds to those of the home directory.
#pragma once

#include <cstdint>
#include <filesystem>

namespace queltool {

/// Adds a type of images of this size to cameras.ini in the home directory and says so, unless there is one already.
/// Throws `Failure` where that file is not UTF-8, or cannot be read or written.
void addCameraType(std::int32_t width, std::int32_t height);

}  // namespace queltool
