// The world of a head, and the order of its cameras. Hidden in the library.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "quel/cameras/Camera.h"

namespace quel {

/// Puts `cameras` in the head's order (0 the uppermost, 1 the left, 2 the right one, as their images see it) and,
/// unless `keepWorld`, into the head's world. Tells both in `remarks`.
void takeHeadsPlace(std::array<Camera, 3>& cameras, bool keepWorld, std::vector<std::string>& remarks);

}  // namespace quel
