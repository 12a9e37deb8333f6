#include "quel/clouds/Off.h"

#include <fmt/core.h>

#include <algorithm>

#include "quel/clouds/TextLines.h"

namespace quel {

namespace {

// ST, C and N tell of what a vertex has besides its place; 4 and n of other dimensions.
bool isOff(std::string_view word) {
  if (!word.ends_with("OFF")) return false;
  std::string_view kind = word.substr(0, word.size() - 3);
  for (const std::string_view prefix : {"ST", "C", "N", "4", "n"}) {
    if (kind.starts_with(prefix)) kind.remove_prefix(prefix.size());
  }
  return kind.empty();
}

bool hasOtherDimensions(std::string_view word) { return word.find_first_of("4n") != word.npos; }

struct Counts {
  std::uint64_t vertices;
  std::uint64_t faces;
};

// The counts of vertices, faces and edges follow the first word, in its line or the next.
Counts readCounts(TextLines& lines) {
  if (!lines.nextOf() || !isOff(lines.word())) lines.fail("the first line must begin with \"OFF\"");
  if (hasOtherDimensions(lines.whole().substr(0, lines.whole().find("OFF")))) {
    lines.fail("vertices of other than three dimensions are not read");
  }
  if (lines.atEnd() && !lines.nextOf()) lines.fail("the file ends behind it, without counts");
  if (lines.whole().find("BINARY") != std::string_view::npos) {
    lines.fail("the binary form is not read; save it in ascii");
  }
  const std::uint64_t vertices = lines.count("vertices");
  return {vertices, lines.count("faces")};
}

Vec3 vertexOf(TextLines& lines, std::uint64_t n, std::uint64_t all) try {
  if (!lines.nextOf()) throw Error{"the file ends in front of it"};
  const double x = lines.number(), y = lines.number(), z = lines.number();
  return {x, y, z};
} catch (const Error& bad) {
  lines.fail(fmt::format("vertex {} of {}: {}", n, all, bad.cause));
}

void readFace(TextLines& lines, std::uint64_t n, std::uint64_t all, Faces& faces) try {
  if (!lines.nextOf()) throw Error{"the file ends in front of it"};
  for (std::uint64_t left = lines.count("corners"); left != 0; --left) faces.addCorner(lines.number());
  faces.endFace();
} catch (const Error& bad) {
  if (bad.cause.starts_with("line ")) throw;
  lines.fail(fmt::format("face {} of {}: {}", n, all, bad.cause));
}

}  // namespace

bool looksLikeOff(std::string_view begin) {
  Bytes bytes(begin);
  TextLines lines(bytes);
  return lines.nextOf() && isOff(lines.word());
}

Surface readOff(Bytes& bytes, Parts parts) {
  constexpr std::uint64_t kLeastSize = 6;  // Three digits and what stands behind each.
  TextLines lines(bytes);
  const auto [count, faces] = readCounts(lines);
  if (count > lines.left() / kLeastSize) {
    lines.fail(fmt::format("tells of {} vertices, more than the file can hold", count));
  }
  Surface surface;
  surface.vertices.reserve(count);
  for (std::uint64_t n = 0; n < count; ++n) surface.vertices.push_back(vertexOf(lines, n, count));
  if (faces == 0 && lines.nextOf()) {
    lines.fail(fmt::format("stands behind the {} vertices that the file tells of", count));
  }
  if (parts == Parts::Points) return surface;
  Faces found(count);
  for (std::uint64_t n = 0; n < faces; ++n) readFace(lines, n, faces, found);
  found.moveTo(surface);
  return surface;
}

}  // namespace quel
