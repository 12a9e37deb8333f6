#include "quel/clouds/Ply.h"

#include <fmt/core.h>

#include <algorithm>

#include "quel/clouds/Cloud.h"
#include "quel/clouds/PlyHeader.h"

namespace quel {

namespace {

using ply::Header;

void readElement(const Header& header, const Element& element, Bytes& bytes, TextLines& lines, const RowParts& parts) {
  if (header.format == ply::Format::Ascii) return readTextRows(element, lines, parts);
  readBinaryRows(element, bytes, header.format == ply::Format::BigEndian, parts);
}

const Element* elementNamed(const Header& header, const char* name) {
  const auto found = std::find_if(header.elements.begin(), header.elements.end(),
                                  [name](const Element& each) { return each.name == name; });
  return found == header.elements.end() ? nullptr : &*found;
}

void refuseFurther(const Header& header, const Element& element, const Bytes& bytes, TextLines& lines) {
  if (&element != &header.elements.back()) return;
  header.format == ply::Format::Ascii ? refuseFurtherText(element, lines) : refuseFurtherBinary(element, bytes);
}

}  // namespace

bool looksLikePly(std::string_view begin) { return begin.substr(0, 4) == "ply\n" || begin.substr(0, 5) == "ply\r\n"; }

Surface readPly(Bytes& bytes, Parts parts) {
  const Header header = ply::readHeader(bytes);
  const Element* const vertices = elementNamed(header, "vertex");
  const Element* const faces = parts == Parts::Surface && vertices ? elementNamed(header, "face") : nullptr;
  if (parts == Parts::Surface && !faces && elementNamed(header, "tristrips")) {
    throw Error{"holds strips of triangles, which are not read; save it with faces"};
  }
  TextLines lines(bytes, header.lines);
  Surface surface;
  Faces found(vertices ? vertices->count : 0);
  const Element* const last = faces ? std::max(vertices, faces) : vertices;
  for (const Element& element : header.elements) {
    RowParts wanted;
    if (&element == vertices) wanted.points = &surface.vertices;
    if (&element == vertices && parts == Parts::Surface) wanted.normals = &surface.vertexNormals;
    if (&element == faces && element.count != 0) wanted.faces = &found;
    readElement(header, element, bytes, lines, wanted);
    if (&element != last) continue;
    refuseFurther(header, element, bytes, lines);
    found.moveTo(surface);
    break;
  }
  if (!vertices) throw Error{"has no element \"vertex\""};
  return surface;
}

Result<std::vector<Vec3>> parsePly(std::string_view content) try {
  Bytes bytes(content);
  return readPly(bytes, Parts::Points).vertices;
} catch (const Error& error) {
  return error;
}

std::string plyHeader(const std::vector<std::string>& names, std::size_t count) {
  std::string header = fmt::format("ply\nformat binary_little_endian 1.0\nelement vertex {}\n", count);
  for (const std::string& name : names) header += fmt::format("property double {}\n", name);
  return header + "end_header\n";
}

}  // namespace quel
