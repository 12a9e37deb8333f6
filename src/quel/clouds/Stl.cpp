#include "quel/clouds/Stl.h"

#include <fmt/core.h>

#include <algorithm>
#include <limits>

#include "quel/base/Letters.h"
#include "quel/clouds/Scalar.h"
#include "quel/clouds/TextLines.h"

namespace quel {

namespace {

constexpr std::size_t kTitleSize = 80;
constexpr std::size_t kHeaderSize = kTitleSize + sizeof(std::uint32_t);
// A normal and three corners of three floats each, and two bytes.
constexpr std::size_t kFacetSize = 50;
constexpr std::size_t kVectorSize = 12;

std::uint32_t countOfFacets(std::string_view header) {
  std::uint32_t count = 0;
  std::memcpy(&count, header.data() + kTitleSize, sizeof(count));
  return count;
}

bool isBinary(std::string_view begin, std::uint64_t size) {
  return begin.size() >= kHeaderSize && size == kHeaderSize + std::uint64_t{kFacetSize} * countOfFacets(begin);
}

// "solid" may begin any title; an ascii file goes on with a facet or its end.
bool isText(std::string_view begin) {
  Bytes bytes(begin);
  TextLines lines(bytes);
  if (!lines.next() || lowerCase(std::string(lines.word())) != "solid" || !lines.next()) return false;
  const std::string word = lowerCase(std::string(lines.word()));
  return word == "facet" || word == "endsolid";
}

// A mesh names a corner once for each triangle there.
void dropRepeated(Surface& surface, Parts parts) {
  if (surface.vertices.size() > std::numeric_limits<std::uint32_t>::max()) throw Error{"has more than 2^32 corners"};
  std::vector<std::uint32_t> places = firstAtPlace(surface.vertices);
  std::uint32_t kept = 0;
  for (std::uint32_t i = 0; i < places.size(); ++i) {
    if (places[i] < i) {
      places[i] = places[places[i]];  // Where the first of them has gone.
    } else {
      surface.vertices[kept] = surface.vertices[i];
      places[i] = kept++;
    }
  }
  surface.vertices.resize(kept);
  if (parts == Parts::Points) return;
  surface.facets.reserve(places.size() / 3);
  for (std::size_t i = 0; i < places.size(); i += 3) {
    surface.facets.push_back({places[i], places[i + 1], places[i + 2]});
  }
}

Vec3 vectorAt(const char* bytes) {
  return {asDouble<float>(bytes), asDouble<float>(bytes + 4), asDouble<float>(bytes + 8)};
}

Surface readBinary(Bytes& bytes, Parts parts) {
  const std::string_view header = bytes.ahead(kHeaderSize);
  if (header.size() < kHeaderSize) {
    throw Error{fmt::format("must begin with \"solid\" or a title of {} bytes and a count, and has {} bytes",
                            kTitleSize, bytes.left())};
  }
  const std::uint32_t count = countOfFacets(header);
  const std::uint64_t size = kHeaderSize + std::uint64_t{kFacetSize} * count;
  if (bytes.left() != size) {
    throw Error{fmt::format("the header tells of {} triangles, which make {} bytes, and the file has {}", count, size,
                            bytes.left())};
  }
  bytes.skip(kHeaderSize);
  Surface surface;
  surface.vertices.reserve(3 * std::size_t{count});
  if (parts == Parts::Surface) surface.facetNormals.reserve(count);
  for (std::uint32_t n = 0; n < count; ++n) {
    const std::string_view facet = bytes.ahead(kFacetSize);
    if (facet.size() < kFacetSize) throw Error{fmt::format("triangle {} of {}: the file ends in its midst", n, count)};
    if (parts == Parts::Surface) surface.facetNormals.push_back(vectorAt(facet.data()));
    for (std::size_t corner = 0; corner < 3; ++corner) {
      surface.vertices.push_back(vectorAt(facet.data() + kVectorSize * (corner + 1)));
    }
    bytes.skip(kFacetSize);
  }
  return surface;
}

void demandFinite(const std::vector<Vec3>& corners) {
  const auto bad = std::find_if_not(corners.begin(), corners.end(), isFinite);
  if (bad == corners.end()) return;
  throw Error{
      fmt::format("triangle {} of {}: a corner is no finite point", (bad - corners.begin()) / 3, corners.size() / 3)};
}

// Facets one behind the other, each of seven lines, between "solid" and "endsolid".
class TextReader {
 public:
  TextReader(Bytes& bytes, Parts parts) : lines_(bytes), parts_(parts) {}

  Surface read() {
    while (lines_.next()) {
      begin("solid");
      while (nextIs("facet")) readFacet();
      if (word_ != "endsolid") lines_.fail("must be \"facet\" or \"endsolid\", and is \"" + found() + "\"");
    }
    return std::move(surface_);
  }

 private:
  std::string found() const { return std::string(shown(lines_.whole())); }

  void begin(const char* word) {
    word_ = lowerCase(std::string(lines_.word()));
    if (word_ != word) lines_.fail(fmt::format("must be \"{}\", and is \"{}\"", word, found()));
  }

  void next() {
    if (!lines_.next()) lines_.fail("the file ends behind it, without \"endsolid\"");
  }

  bool nextIs(const char* word) {
    next();
    word_ = lowerCase(std::string(lines_.word()));
    return word_ == word;
  }

  void demand(const char* word) {
    next();
    begin(word);
  }

  // Of which not all writers know what it is.
  Vec3 normalOfLine() try {
    if (lowerCase(std::string(lines_.word())) != "normal") return {};
    const double x = lines_.number(), y = lines_.number(), z = lines_.number();
    return {x, y, z};
  } catch (const Error&) {
    return {};
  }

  void readFacet() {
    if (parts_ == Parts::Surface) surface_.facetNormals.push_back(normalOfLine());
    demand("outer");
    for (int corner = 0; corner < 3; ++corner) {
      demand("vertex");
      surface_.vertices.push_back(cornerOfLine());
    }
    demand("endloop");
    demand("endfacet");
  }

  Vec3 cornerOfLine() try {
    const double x = lines_.number(), y = lines_.number(), z = lines_.number();
    return {x, y, z};
  } catch (const Error& bad) {
    lines_.fail(bad.cause);
  }

  TextLines lines_;
  Parts parts_;
  std::string word_;
  Surface surface_;
};

}  // namespace

bool looksLikeStl(std::string_view begin, std::uint64_t size) { return isBinary(begin, size) || isText(begin); }

Surface readStl(Bytes& bytes, Parts parts) {
  constexpr std::size_t kLook = 4096;
  const std::uint64_t size = bytes.left();
  const std::string_view begin = bytes.ahead(kLook);
  const bool text = !isBinary(begin, size) && isText(begin);
  Surface surface = text ? TextReader(bytes, parts).read() : readBinary(bytes, parts);
  if (parts == Parts::Surface) demandFinite(surface.vertices);
  dropRepeated(surface, parts);
  return surface;
}

}  // namespace quel
