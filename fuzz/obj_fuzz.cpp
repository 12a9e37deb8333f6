// Vertices of meshes in OBJ files. Input: a file.
//
// Losses: all but the vertices; the sign and the payload of what is no number.
#include "fuzz/support/CloudTrip.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = quelfuzz::bytesOf(data, size);
  const quelfuzz::Points points = quelfuzz::pointsOf(bytes, quel::CloudFormat::Obj, quelfuzz::kTimesFile, 40);
  if (points.empty()) return 0;
  quelfuzz::requireHolds(quelfuzz::linesOf(points, "v "), quel::CloudFormat::Obj, points, "points stay");
  return 0;
}
