// Puts a whole lens into LUTs, where no polynomial of the head describes it. Hidden in the library.
#pragma once

#include <cstddef>
#include <string>

#include "quel/cameras/HeadMaker.h"
#include "quel/cameras/ImageEdge.h"

namespace quel {

/// Gives camera `i` of `head` a polynomial that does nothing and a LUT set of type 0 that holds the lens of `camera`:
/// two equal layers at a depth of 10^6 mm on either side, so that depth does not matter, over the ideal pixels that the
/// whole image needs, those of its edge within `box`, and as close together as the largest error asks. Says why it
/// cannot be: a pixel has no ideal one, or no table of a sensible size is close enough. Empty where it was done.
std::string moveLensIntoLuts(MadeHead& head, const Camera& camera, std::size_t i, const HeadOptions& options,
                             IdealBox box);

}  // namespace quel
