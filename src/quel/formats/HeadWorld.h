// The world of a head, and the order of its cameras. Hidden in the library.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "quel/cameras/Camera.h"

namespace quel {

/// Puts `cameras` in the head's order (0 the uppermost, 1 the left, 2 the right one, as their images see it) and,
/// unless `keepWorld`, into the head's world. Tells both in `remarks`. Says why they are those of no head, which looks
/// from one side: they stand in one place, or all around what they look at. Empty where it was done.
std::string takeHeadsPlace(std::array<Camera, 3>& cameras, bool keepWorld, std::vector<std::string>& remarks);

}  // namespace quel
