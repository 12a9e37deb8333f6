// Scans in PTS files. Input: a file.
//
// Losses: intensities and colours, and which scan a point is of; the sign and the payload of what is no number.
#include "fuzz/support/CloudTrip.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = quelfuzz::bytesOf(data, size);
  const quelfuzz::Points points = quelfuzz::pointsOf(bytes, quel::CloudFormat::Pts, quelfuzz::kTimesFile, 40);
  if (points.empty()) return 0;
  quelfuzz::requireHolds(std::to_string(points.size()) + "\n" + quelfuzz::linesOf(points), quel::CloudFormat::Pts,
                         points, "points stay");
  return 0;
}
