#include "quel/clouds/Ply.h"

#include <fmt/core.h>

#include "quel/clouds/Cloud.h"
#include "quel/clouds/PlyHeader.h"

namespace quel {

namespace {

using ply::Header;

void readElement(const Header& header, const Element& element, Bytes& bytes, TextLines& lines,
                 std::vector<Vec3>* points) {
  if (header.format == ply::Format::Ascii) return readTextRows(element, lines, points);
  readBinaryRows(element, bytes, header.format == ply::Format::BigEndian, points);
}

void refuseFurther(const Header& header, const Element& element, const Bytes& bytes, TextLines& lines) {
  if (&element != &header.elements.back()) return;
  header.format == ply::Format::Ascii ? refuseFurtherText(element, lines) : refuseFurtherBinary(element, bytes);
}

}  // namespace

bool looksLikePly(std::string_view begin) { return begin.substr(0, 4) == "ply\n" || begin.substr(0, 5) == "ply\r\n"; }

std::vector<Vec3> readPly(Bytes& bytes) {
  const Header header = ply::readHeader(bytes);
  TextLines lines(bytes, header.lines);
  for (const Element& element : header.elements) {
    std::vector<Vec3> points;
    const bool vertices = element.name == "vertex";
    readElement(header, element, bytes, lines, vertices ? &points : nullptr);
    if (!vertices) continue;
    refuseFurther(header, element, bytes, lines);
    return points;
  }
  throw Error{"has no element \"vertex\""};
}

Result<std::vector<Vec3>> parsePly(std::string_view content) try {
  Bytes bytes(content);
  return readPly(bytes);
} catch (const Error& error) {
  return error;
}

std::string plyHeader(const std::vector<std::string>& names, std::size_t count) {
  std::string header = fmt::format("ply\nformat binary_little_endian 1.0\nelement vertex {}\n", count);
  for (const std::string& name : names) header += fmt::format("property double {}\n", name);
  return header + "end_header\n";
}

}  // namespace quel
