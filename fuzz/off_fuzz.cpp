// Vertices of meshes in OFF files. Input: a file.
//
// Losses: all but the vertices; the sign and the payload of what is no number.
#include "fuzz/support/CloudTrip.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = quelfuzz::bytesOf(data, size);
  const quelfuzz::Points points = quelfuzz::pointsOf(bytes, quel::CloudFormat::Off, quelfuzz::kTimesFile, 40);
  quelfuzz::requireHolds("OFF\n" + std::to_string(points.size()) + " 0 0\n" + quelfuzz::linesOf(points),
                         quel::CloudFormat::Off, points, "points stay");
  return 0;
}
