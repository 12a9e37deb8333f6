#include "quel/clouds/CloudFormats.h"

#include <fmt/core.h>

#include <algorithm>

#include "quel/base/Letters.h"
#include "quel/clouds/Obj.h"
#include "quel/clouds/Off.h"
#include "quel/clouds/Pcd.h"
#include "quel/clouds/Ply.h"
#include "quel/clouds/Pts.h"
#include "quel/clouds/Stl.h"
#include "quel/clouds/TextLines.h"
#include "quel/clouds/TextRows.h"

namespace quel {

namespace {

struct FormatRow {
  CloudFormat format;
  const char* title;
  bool (*isSoBegun)(std::string_view begin, std::uint64_t size);
  Surface (*read)(Bytes& bytes, Parts parts);
};

template <bool (*looksLike)(std::string_view)>
bool begun(std::string_view begin, std::uint64_t) {
  return looksLike(begin);
}

// STL in binary has no mark of its own, so that it comes last.
constexpr FormatRow kFormats[] = {
    {CloudFormat::Ply, "a PLY file", begun<looksLikePly>, readPly},
    {CloudFormat::Pcd, "a PCD file", begun<looksLikePcd>, readPcd},
    {CloudFormat::Obj, "an OBJ file", begun<looksLikeObj>, readObj},
    {CloudFormat::Off, "an OFF file", begun<looksLikeOff>, readOff},
    {CloudFormat::Pts, "a PTS file", begun<looksLikePts>, readPts},
    {CloudFormat::Stl, "an STL file", looksLikeStl, readStl},
};

const FormatRow& rowOf(CloudFormat format) {
  return *std::find_if(std::begin(kFormats), std::end(kFormats),
                       [format](const FormatRow& each) { return each.format == format; });
}

// What is known by its first bytes and not read.
struct Stranger {
  std::string_view mark;
  const char* what;
};
constexpr const char* kNoPoints = "holds no points; give a PLY file, or text with x, y and z in each line";
constexpr const char* kKnown = "known are PLY, PCD, STL, OBJ, OFF, PTS, XYZ and text with x, y and z in each line";
constexpr Stranger kStrangers[] = {
    {"ASTM-E57", "is an E57 file, which is not read; convert it to PLY, as CloudCompare does (or \"pdal translate\")"},
    {"LASF",
     "is a LAS or LAZ file, which is not read; convert it to PLY, as CloudCompare does (or \"pdal translate\")"},
    {"glTF", "is a glTF file, which is not read; save the mesh as PLY, STL or OBJ"},
    {"PK\x03\x04",
     "is a ZIP archive (as 3MF and office files are), which is not read; unpack it, or save a mesh as PLY, STL or OBJ"},
    {"\x1F\x8B", "is packed by gzip, which is not read; unpack it first"},
    {"#VRML", "is a VRML file, which is not read; save the mesh as PLY, STL or OBJ"},
    {"ISO-10303-21", "is a STEP file, which is not read; save a mesh of it as PLY, STL or OBJ"},
    {"<?xml", "is an XML file, which holds no cloud that is read"},
};

void refuseStranger(std::string_view begin) {
  for (const Stranger& each : kStrangers) {
    if (begin.starts_with(each.mark)) throw Error{fmt::format("{}; {}", each.what, kKnown)};
  }
}

// Of a file that is looked at to know it.
constexpr std::size_t kLook = std::size_t{1} << 16;

bool isWide(std::string_view begin) { return begin.starts_with("\xFF\xFE") || begin.starts_with("\xFE\xFF"); }

// Text has no control characters but those that part words and lines.
bool isTextual(std::string_view begin) {
  return std::none_of(begin.begin(), begin.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 && (byte < 0x09 || byte > 0x0D);
  });
}

// Rows of numbers stand as they are, whatever the file is called.
bool beginsWithNumbers(std::string_view begin) {
  Bytes bytes(begin);
  TextLines lines(bytes);
  double number = 0.0;
  if (!lines.nextOf()) return false;
  const std::string_view first = lines.whole();
  return toNumber(first.substr(0, first.find_first_of(" \t,;\r")), number) &&
         first.find_first_of(" \t,;") != first.npos;
}

std::optional<CloudFormat> formatByMark(std::string_view begin, std::uint64_t size) {
  for (const FormatRow& each : kFormats) {
    if (each.isSoBegun(begin, size)) return each.format;
  }
  return std::nullopt;
}

std::optional<CloudFormat> formatByName(const std::string& ending) {
  const auto named = [&](const FormatRow& each) { return ending == std::string(".") + nameOf(each.format); };
  const auto found = std::find_if(std::begin(kFormats), std::end(kFormats), named);
  return found == std::end(kFormats) ? std::nullopt : std::optional(found->format);
}

CloudFormat formatOf(std::string_view begin, std::uint64_t size, const std::string& ending) {
  refuseStranger(begin);
  if (const auto format = formatByMark(begin, size)) return *format;
  const auto named = formatByName(ending);
  if (named && !beginsWithNumbers(begin)) return *named;
  if (isWide(begin) || isTextual(begin)) return CloudFormat::Csv;
  throw Error{fmt::format("is no cloud that is known; {}", kKnown)};
}

void scale(std::vector<Vec3>& points, double factor) {
  if (factor == 1.0) return;
  for (Vec3& point : points) {
    for (double& coordinate : point) coordinate *= factor;
  }
}

const TextColumns kNormalColumns = {{"x", "y", "z", "nx", "ny", "nz"}, "six", true, {}};

bool namesNormals(std::string_view begin) try {
  Bytes bytes(begin);
  return TextRows(bytes, kNormalColumns).names({"nx", "ny", "nz"});
} catch (const Error&) {
  return false;
}

Surface readTextWithNormals(Bytes& bytes, double millimetresPerUnit) {
  Surface surface;
  const std::uint64_t size = bytes.left();
  TextColumns columns = kNormalColumns;
  columns.perPlainUnit = millimetresPerUnit;
  TextRows rows(bytes, columns);
  for (std::array<double, 6> row{}; rows.next(row);) {
    surface.vertices.push_back({row[0], row[1], row[2]});
    surface.vertexNormals.push_back({row[3], row[4], row[5]});
    reserveOnce(surface.vertices, size, bytes.left());
    reserveOnce(surface.vertexNormals, size, bytes.left());
  }
  return surface;
}

}  // namespace

std::span<const CloudFormat> cloudFormats() {
  static constexpr CloudFormat kAll[] = {CloudFormat::Ply, CloudFormat::Csv, CloudFormat::Pcd, CloudFormat::Stl,
                                         CloudFormat::Obj, CloudFormat::Off, CloudFormat::Pts, CloudFormat::Xyz};
  return kAll;
}

const char* nameOf(CloudFormat format) {
  constexpr const char* kNames[] = {"ply", "csv", "pcd", "stl", "obj", "off", "pts", "xyz"};
  return kNames[static_cast<std::size_t>(format)];
}

const char* titleOf(CloudFormat format) { return isText(format) ? "a text" : rowOf(format).title; }

CloudFormat formatOfCloud(Bytes& bytes, const std::string& ending) {
  const std::string_view begin = bytes.ahead(kLook);
  return formatOf(begin, bytes.left(), ending);
}

std::vector<Vec3> readCloud(Bytes& bytes, CloudFormat format, const CloudColumns& columns, double millimetresPerUnit) {
  if (!isText(format)) {
    if (!columns.chosen.empty()) throw Error{fmt::format("is {}, whose points are x, y, z", titleOf(format))};
    std::vector<Vec3> points = rowOf(format).read(bytes, Parts::Points).vertices;
    scale(points, millimetresPerUnit);
    return points;
  }
  std::vector<Vec3> points =
      readTextRows<3>(bytes, {{"x", "y", "z"}, "three", true, columns.chosen, columns.choice, millimetresPerUnit});
  if (points.empty()) throw Error{kNoPoints};
  return points;
}

Surface readSurface(Bytes& bytes, CloudFormat format, double millimetresPerUnit) {
  Surface surface;
  if (!isText(format)) {
    surface = rowOf(format).read(bytes, Parts::Surface);
    scale(surface.vertices, millimetresPerUnit);
  } else if (namesNormals(bytes.ahead(kLook))) {
    surface = readTextWithNormals(bytes, millimetresPerUnit);
  } else {
    surface.vertices = readTextRows<3>(bytes, {{"x", "y", "z"}, "three", true, {}, "columns", millimetresPerUnit});
  }
  if (surface.vertices.empty()) throw Error{isText(format) ? kNoPoints : "holds no points"};
  return surface;
}

Result<CloudFormat> cloudFormatOf(std::string_view begin, std::uint64_t size, const std::string& ending) try {
  return formatOf(begin, size, lowerCase(ending));
} catch (const Error& error) {
  return error;
}

Error placed(const Error& error, const std::string& file) {
  Error result{error.cause, error.file.empty() ? file : error.file, error.place};
  const std::size_t end = error.cause.find(": ");
  const std::string first = error.cause.substr(0, end);
  const bool isLine =
      first.starts_with("line ") && first.size() > 5 && first.find_first_not_of("0123456789", 5) == first.npos;
  if (end == error.cause.npos || !isLine) return result;
  result.place = first;
  result.cause = error.cause.substr(end + 2);
  return result;
}

Result<std::vector<Vec3>> parseCloud(std::string_view content, CloudFormat format, const CloudColumns& columns,
                                     double millimetresPerUnit) try {
  Bytes bytes(content);
  return readCloud(bytes, format, columns, millimetresPerUnit);
} catch (const Error& error) {
  return placed(error);
}

Result<Surface> parseSurface(std::string_view content, CloudFormat format, double millimetresPerUnit) try {
  Bytes bytes(content);
  return readSurface(bytes, format, millimetresPerUnit);
} catch (const Error& error) {
  return placed(error);
}

Result<std::vector<double>> parseTextTable(std::string_view content, const TextColumns& columns) try {
  Bytes bytes(content);
  TextRows rows(bytes, columns);
  std::vector<double> row(columns.names.size());
  std::vector<double> values;
  while (rows.next(row)) values.insert(values.end(), row.begin(), row.end());
  return values;
} catch (const Error& error) {
  return placed(error);
}

}  // namespace quel
