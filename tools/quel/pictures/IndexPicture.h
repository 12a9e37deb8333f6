// Indexed clouds in colour: a picture of panels, and the points of a PLY file.
#pragma once

#include <string>
#include <vector>

#include "models/Indexing.h"
#include "pictures/Picture.h"

namespace queltool {

/// One cloud of a picture.
struct IndexPanel {
  const IndexedCloud* cloud;
  std::string name;
  std::int32_t imageWidth;  ///< Of the image that the cloud is indexed by; unused for an index by space.
  std::int32_t imageHeight;
};

/// Draws each cloud in a panel of its own, the points of a bin in one colour: an index by image in the image with its
/// cells, an index by space as seen along its shortest side, with the boxes of its bins. PNG or SVG by the name of
/// `file`. Throws `Failure` when it cannot be written.
void drawIndex(const OutputFile& file, const std::vector<IndexPanel>& panels);

/// Colour of a bin: neighbours in the index differ clearly.
Colour binColour(std::size_t bin);

/// A binary PLY file of the points with red, green and blue, and the number of the bin of each.
std::string formatColouredPly(const IndexedCloud& cloud);

}  // namespace queltool
