#include "clouds/CloudFormats.h"

#include <fmt/core.h>

#include <algorithm>

#include "clouds/Obj.h"
#include "clouds/Off.h"
#include "clouds/Pcd.h"
#include "clouds/Ply.h"
#include "clouds/Pts.h"
#include "clouds/Stl.h"
#include "clouds/TextLines.h"

namespace queltool {

namespace {

struct CloudFormat {
  Format format;
  const char* title;
  bool (*isSoBegun)(std::string_view begin, std::uint64_t size);
  std::vector<Vec3> (*read)(Bytes& bytes);
};

template <bool (*looksLike)(std::string_view)>
bool begun(std::string_view begin, std::uint64_t) {
  return looksLike(begin);
}

// STL in binary has no mark of its own, so that it comes last.
constexpr CloudFormat kFormats[] = {
    {Format::Ply, "a PLY file", begun<looksLikePly>, readPly},
    {Format::Pcd, "a PCD file", begun<looksLikePcd>, readPcd},
    {Format::Obj, "an OBJ file", begun<looksLikeObj>, readObj},
    {Format::Off, "an OFF file", begun<looksLikeOff>, readOff},
    {Format::Pts, "a PTS file", begun<looksLikePts>, readPts},
    {Format::Stl, "an STL file", looksLikeStl, readStl},
};

const CloudFormat& rowOf(Format format) {
  return *std::find_if(std::begin(kFormats), std::end(kFormats),
                       [format](const CloudFormat& each) { return each.format == format; });
}

// What is known by its first bytes and not read.
struct Stranger {
  std::string_view mark;
  const char* what;
};
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

std::optional<Format> formatByMark(std::string_view begin, std::uint64_t size) {
  for (const CloudFormat& each : kFormats) {
    if (each.isSoBegun(begin, size)) return each.format;
  }
  return std::nullopt;
}

std::optional<Format> formatByName(const std::string& ending) {
  const auto named = [&](const CloudFormat& each) { return ending == std::string(".") + nameOf(each.format); };
  const auto found = std::find_if(std::begin(kFormats), std::end(kFormats), named);
  return found == std::end(kFormats) ? std::nullopt : std::optional(found->format);
}

}  // namespace

const std::vector<Format>& cloudFormats() {
  static const std::vector<Format> kAll = {Format::Ply, Format::Csv, Format::Pcd, Format::Stl,
                                           Format::Obj, Format::Off, Format::Pts, Format::Xyz};
  return kAll;
}

const char* titleOf(Format format) { return isText(format) ? "a text" : rowOf(format).title; }

Format formatOfCloud(Bytes& bytes, const std::string& ending) {
  constexpr std::size_t kLook = std::size_t{1} << 16;
  const std::string_view begin = bytes.ahead(kLook);
  refuseStranger(begin);
  if (const auto format = formatByMark(begin, bytes.left())) return *format;
  const auto named = formatByName(ending);
  if (named && !beginsWithNumbers(begin)) return *named;
  if (isWide(begin) || isTextual(begin)) return Format::Csv;
  throw Error{fmt::format("is no cloud that is known; {}", kKnown)};
}

std::vector<Vec3> readCloud(Bytes& bytes, Format format) { return rowOf(format).read(bytes); }

Result<std::vector<Vec3>> parseCloud(std::string_view content, Format format) try {
  Bytes bytes(content);
  return readCloud(bytes, format);
} catch (const Error& error) {
  return error;
}

}  // namespace queltool
