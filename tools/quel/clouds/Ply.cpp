#include "clouds/Ply.h"

#include <fmt/core.h>

#include "clouds/PlyHeader.h"

namespace queltool {

namespace {

using ply::Header;

void readElement(const Header& header, const Element& element, Bytes& bytes, TextLines& lines,
                 std::vector<Vec3>* points) {
  if (header.format == ply::Format::Ascii) return readTextRows(element, lines, points);
  readBinaryRows(element, bytes, header.format == ply::Format::BigEndian, points);
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
    if (vertices) return points;
  }
  throw Error{"has no element \"vertex\""};
}

Result<std::vector<Vec3>> parsePly(std::string_view content) try {
  Bytes bytes(content);
  return readPly(bytes);
} catch (const Error& error) {
  return error;
}

std::string formatPly(const std::vector<std::string>& names, const std::vector<double>& rows) {
  std::string result = fmt::format("ply\nformat binary_little_endian 1.0\nelement vertex {}\n",
                                   names.empty() ? 0 : rows.size() / names.size());
  for (const std::string& name : names) result += fmt::format("property double {}\n", name);
  result += "end_header\n";
  return result.append(reinterpret_cast<const char*>(rows.data()), rows.size() * sizeof(double));
}

}  // namespace queltool
