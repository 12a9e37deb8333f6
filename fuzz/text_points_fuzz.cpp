// Points in plain text, and the choice of a cloud's format by a file's content. Input: a file.
//
// Losses: what stands behind the third number of a line; lines without numbers; the sign and the payload of what is no
// number.
#include "clouds/Points.h"
#include "files/Failure.h"
#include "fuzz/support/CloudTrip.h"

namespace {

std::string textOf(const std::vector<quel::Vec3>& points) {
  std::string text = "x;y;z\n# three numbers a line\n\n";
  for (const quel::Vec3& point : points) {
    for (const double value : point) {
      char digits[32];
      text.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr).append(";\t");
    }
    text += "behind\r\n";
  }
  return text;
}

/// What `readPoints` makes of the file: the points, or nothing.
bool readsFile(const qmWString& path, std::vector<quel::Vec3>& points) {
  try {
    points = queltool::readPoints({std::string(path.begin(), path.end())});
    return true;
  } catch (const queltool::Failure& failure) {
    quelfuzz::require(*failure.what() != '\0', "a refused file says why");
    return false;
  }
}

bool isReadAsText(std::string_view bytes) {
  const auto format = quelfuzz::formatOf(bytes, ".txt");
  return format && quel::isText(*format);
}

// Only what says nothing of itself is what its name says.
void tryName(std::string_view bytes, const std::string& ending) {
  const auto format = quelfuzz::formatOf(bytes, ending);
  const auto plain = quelfuzz::formatOf(bytes, "");
  quelfuzz::require(!plain || quel::isText(*plain) || format == plain, "content goes before the name");
  if (!format || quel::isText(*format)) return;
  quelfuzz::require(*quel::titleOf(*format) != '\0', "a format has a title");
  const auto points = quel::parseCloud(bytes, *format);
  quelfuzz::require(points.ok() || !points.error().cause.empty(), "a refused file says why");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = quelfuzz::bytesOf(data, size);
  const quelfuzz::MemoryWatch watch;
  const auto points = quel::parseCloud(bytes, quel::CloudFormat::Xyz);
  watch.requireAtMost(quelfuzz::kTimesFile, 40, size);

  std::vector<quel::Vec3> ofFile;
  const bool read = readsFile(quelfuzz::makeFile("points.txt", bytes), ofFile);
  if (isReadAsText(bytes) && read) quelfuzz::require(points.ok(), "a file is read as its text");
  for (const char* ending : {".ply", ".stl", ".obj"}) tryName(bytes, ending);
  const std::size_t removed = queltool::removeNotFinite(ofFile);
  quelfuzz::require(queltool::removeNotFinite(ofFile) == 0 || removed == 0, "what is not finite goes at once");
  if (!points.ok()) return 0;
  const auto again = quel::parseCloud(textOf(points.value()), quel::CloudFormat::Xyz);
  quelfuzz::require(again.ok() && again.value().size() == points.value().size(), "written points can be read");
  quelfuzz::requireSame(points.value(), again.value(), "a point keeps its numbers");
  return 0;
}
