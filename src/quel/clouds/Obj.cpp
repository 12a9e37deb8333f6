#include "quel/clouds/Obj.h"

#include <fmt/core.h>

#include <algorithm>
#include <charconv>

#include "quel/clouds/TextLines.h"

namespace quel {

namespace {

constexpr std::string_view kStatements[] = {
    "v",         "vt",     "vn",  "vp",   "f",     "l",        "p",        "g",      "o",      "s",
    "usemtl",    "mtllib", "mg",  "lod",  "bevel", "c_interp", "d_interp", "usemap", "maplib", "shadow_obj",
    "trace_obj", "cstype", "deg", "bmat", "step",  "curv",     "curv2",    "surf",   "parm",   "trim",
    "hole",      "scrv",   "sp",  "end",  "con",   "ctech",    "stech",    "call",   "csh",    "merge"};

bool isStatement(std::string_view word) {
  return std::find(std::begin(kStatements), std::end(kStatements), word) != std::end(kStatements);
}

// A line that ends in a backslash goes on in the next one.
bool goesOn(const TextLines& lines) {
  std::string_view text = lines.whole();
  while (!text.empty() && text.back() == '\r') text.remove_suffix(1);
  return text.ends_with('\\');
}

Vec3 vertexOf(TextLines& lines) {
  const double x = lines.number(), y = lines.number(), z = lines.number();
  return {x, y, z};
}

// The faces of an OBJ file, which may name vertices that stand behind them.
class ObjFaces {
 public:
  // A statement behind its word, or what of it stands in a further line.
  void read(std::string_view word, bool further, std::size_t vertices, TextLines& lines) try {
    vertices_ = vertices;
    if (word == "f") addCorners(lines);
    if (word == "vn" && !further) normals_.push_back(vertexOf(lines));
  } catch (const Error& bad) {
    lines.fail(bad.cause);
  }

  void moveTo(Surface& surface) {
    if (greatest_ >= vertices_) {
      throw Error{fmt::format("line {}: a face names vertex {}, and there are {}", line_, greatest_ + 1, vertices_)};
    }
    faces_.moveTo(surface);
    if (named_.empty() && surface.facets.empty() && normals_.size() == vertices_) {
      surface.vertexNormals = std::move(normals_);
    } else {
      nameNormals(surface);
    }
  }

 private:
  static constexpr std::uint64_t kMost = std::uint64_t{1} << 32;
  static constexpr std::uint32_t kNone = 0xFFFFFFFF;

  // From 1 on, or backwards from the last one that stands in front.
  static std::uint64_t placeOf(std::string_view text, std::size_t count) {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const std::int64_t place = number < 0 ? static_cast<std::int64_t>(count) + number : number - 1;
    if (error == std::errc() && end == text.data() + text.size() && number != 0 && place >= 0) {
      return static_cast<std::uint64_t>(place);
    }
    throw Error{fmt::format("\"{}\" is no number of a vertex", shown(text))};
  }

  void addCorners(TextLines& lines) {
    while (!lines.atEnd()) {
      std::string_view word = lines.word();
      if (word.ends_with('\\')) word.remove_suffix(1);
      if (!word.empty()) addCorner(word, lines.line());
    }
    if (!goesOn(lines)) faces_.endFace();
  }

  void addCorner(std::string_view word, std::size_t line) {
    const std::size_t slash = word.find('/');
    const std::uint64_t vertex = placeOf(word.substr(0, slash), vertices_);
    faces_.addCorner(static_cast<double>(vertex));
    if (line_ == 0 || vertex > greatest_) {
      greatest_ = vertex;
      line_ = line;
    }
    const std::size_t second = slash == word.npos ? slash : word.find('/', slash + 1);
    if (second == word.npos || second + 1 == word.size()) return;
    named_.push_back(
        {static_cast<std::uint32_t>(vertex), static_cast<std::uint32_t>(std::min<std::uint64_t>(
                                                 placeOf(word.substr(second + 1), normals_.size()), kNone))});
  }

  // The first normal that a face gives a vertex.
  void nameNormals(Surface& surface) const {
    std::vector<std::uint32_t> normalOf(vertices_, kNone);
    for (const auto& [vertex, normal] : named_) {
      if (normalOf[vertex] == kNone && normal < normals_.size()) normalOf[vertex] = normal;
    }
    if (std::find(normalOf.begin(), normalOf.end(), kNone) != normalOf.end()) return;
    for (const std::uint32_t normal : normalOf) surface.vertexNormals.push_back(normals_[normal]);
  }

  struct Named {
    std::uint32_t vertex;
    std::uint32_t normal;
  };

  Faces faces_{kMost};
  std::size_t vertices_ = 0;
  std::vector<Vec3> normals_;
  std::vector<Named> named_;
  std::uint64_t greatest_ = 0;  // Vertex that a face names, and in which line.
  std::size_t line_ = 0;
};

}  // namespace

bool looksLikeObj(std::string_view begin) try {
  Bytes bytes(begin);
  TextLines lines(bytes);
  for (bool further = false; lines.nextOf(); further = goesOn(lines)) {
    const std::string_view word = lines.word();
    if (further) continue;
    if (!isStatement(word)) return false;
    if (word != "v") continue;
    vertexOf(lines);
    return true;
  }
  return false;
} catch (const Error&) {
  return false;
}

Surface readObj(Bytes& bytes, Parts parts) {
  Surface surface;
  std::vector<Vec3>& points = surface.vertices;
  ObjFaces faces;
  std::string statement;
  TextLines lines(bytes);
  for (bool further = false; lines.nextOf(); further = goesOn(lines)) {
    const std::string_view word = further ? statement : lines.word();
    if (!further && !isStatement(word)) lines.fail(fmt::format("\"{}\" is no statement", shown(word)));
    try {
      if (word == "v" && !further) points.push_back(vertexOf(lines));
    } catch (const Error& bad) {
      lines.fail(fmt::format("vertex {}: {}", points.size(), bad.cause));
    }
    if (parts == Parts::Surface) faces.read(word, further, points.size(), lines);
    if (!further) statement = word;
  }
  if (points.empty()) throw Error{"has no vertices"};
  if (parts == Parts::Surface) faces.moveTo(surface);
  return surface;
}

}  // namespace quel
