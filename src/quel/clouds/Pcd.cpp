#include "quel/clouds/Pcd.h"

#include <fmt/core.h>
#include <lzf.h>

#include <cerrno>

#include "quel/clouds/PcdHeader.h"

namespace quel {

namespace {

std::uint64_t sizeOfPoint(const Element& points) {
  std::uint64_t size = 0;
  for (const Property& each : points.properties) size += sizeOf(each.type);
  return size;
}

std::uint32_t takeSize(Bytes& bytes) {
  const std::string_view word = bytes.ahead(sizeof(std::uint32_t));
  if (word.size() < sizeof(std::uint32_t)) throw Error{"the file ends in its midst"};
  std::uint32_t size = 0;
  std::memcpy(&size, word.data(), sizeof(size));
  bytes.skip(sizeof(size));
  return size;
}

// Three bytes of LZF stand for at most 264.
bool canHold(std::uint64_t packed, std::uint64_t size) { return size / 88 <= packed; }

// Two sizes and the packed bytes.
std::string unpacked(Bytes& bytes, const Element& points) {
  const std::uint64_t expected = points.count * sizeOfPoint(points);
  const std::uint32_t packedSize = takeSize(bytes);
  const std::uint32_t size = takeSize(bytes);
  if (size != expected) {
    throw Error{fmt::format("the packed data are {} bytes, and {} points make {}", size, points.count, expected)};
  }
  if (packedSize > bytes.left() || !canHold(packedSize, size)) {
    throw Error{fmt::format("the header tells of {} points in {} packed bytes, more than the file can hold",
                            points.count, packedSize)};
  }
  std::string data(size, '\0');
  const std::string_view packed = bytes.ahead(packedSize);
  if (packed.size() < packedSize) throw Error{"the file ends in its midst"};
  if (size != 0 && lzf_decompress(packed.data(), packedSize, data.data(), size) != size) {
    throw Error{"the packed data are damaged"};
  }
  return data;
}

// Each property stands in a row of its own: those of all points one behind the other.
std::vector<Vec3> vectorsOf(const std::string& data, const Element& element, const std::array<std::size_t, 3>& places) {
  std::vector<Vec3> vectors(element.count);
  const char* column = data.data();
  for (std::size_t i = 0; i < element.properties.size(); ++i) {
    const Scalar type = element.properties[i].type;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      if (places[axis] != i) continue;
      for (std::size_t n = 0; n < vectors.size(); ++n) vectors[n][axis] = decode(type, column + n * sizeOf(type));
    }
    column += vectors.size() * sizeOf(type);
  }
  return vectors;
}

void readCompressed(Bytes& bytes, const Element& element, const RowParts& parts) {
  const std::array<std::size_t, 3> places = findCoordinates(element);
  const auto normals = findNormals(element, parts);
  const std::string data = unpacked(bytes, element);
  *parts.points = vectorsOf(data, element, places);
  if (normals) *parts.normals = vectorsOf(data, element, *normals);
}

}  // namespace

bool looksLikePcd(std::string_view begin) {
  if (begin.starts_with("# .PCD")) return true;
  Bytes bytes(begin);
  TextLines lines(bytes);
  if (!lines.nextOf()) return false;
  const std::string_view keyword = lines.word();
  const std::string_view first = lines.word();
  if (keyword == "VERSION") return !first.empty() && first.find_first_not_of(".0123456789") == first.npos;
  return keyword == "FIELDS" && lines.nextOf() && lines.word() == "SIZE";
}

Surface readPcd(Bytes& bytes, Parts parts) {
  const pcd::Header header = pcd::readHeader(bytes);
  Surface surface;
  const RowParts wanted = {&surface.vertices,
                           parts == Parts::Surface ? &surface.vertexNormals : nullptr,
                           {"normal_x", "normal_y", "normal_z"}};
  if (header.form == pcd::Form::Compressed) {
    readCompressed(bytes, header.points, wanted);
  } else if (header.form == pcd::Form::Binary) {
    readBinaryRows(header.points, bytes, false, wanted);
    refuseFurtherBinary(header.points, bytes);
  } else {
    TextLines lines(bytes, header.lines);
    readTextRows(header.points, lines, wanted);
    refuseFurtherText(header.points, lines);
  }
  return surface;
}

}  // namespace quel
