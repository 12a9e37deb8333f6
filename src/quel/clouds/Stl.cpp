#include "quel/clouds/Stl.h"

#include <fmt/core.h>

#include <algorithm>
#include <bit>

#include "quel/base/Letters.h"
#include "quel/clouds/Scalar.h"
#include "quel/clouds/TextLines.h"

namespace quel {

namespace {

constexpr std::size_t kTitleSize = 80;
constexpr std::size_t kHeaderSize = kTitleSize + sizeof(std::uint32_t);
// A normal and three corners of three floats each, and two bytes.
constexpr std::size_t kFacetSize = 50;
constexpr std::size_t kFirstCorner = 12;

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

// Where a corner lies, bit by bit, behind a number that few others share.
struct Place {
  std::uint64_t key;
  std::uint32_t index;
};
using Bits = std::array<std::uint64_t, 3>;

// -0 becomes 0.
Bits bitsOf(const Vec3& p) {
  return {std::bit_cast<std::uint64_t>(p[0] + 0.0), std::bit_cast<std::uint64_t>(p[1] + 0.0),
          std::bit_cast<std::uint64_t>(p[2] + 0.0)};
}

std::uint64_t keyOf(const Vec3& p) {
  std::uint64_t key = 0;
  for (const std::uint64_t bits : bitsOf(p)) {
    key = (key ^ bits) * 0x9E3779B97F4A7C15u;
    key ^= key >> 29;
  }
  return key;
}

// A mesh names a corner once for each triangle there. Sorted, not hashed: no file makes that slow.
void dropRepeated(std::vector<Vec3>& points) {
  std::vector<Place> order;
  order.reserve(points.size());
  for (std::uint32_t i = 0; i < points.size(); ++i) order.push_back({keyOf(points[i]), i});
  std::sort(order.begin(), order.end(), [&points](const Place& a, const Place& b) {
    if (a.key != b.key) return a.key < b.key;
    const Bits first = bitsOf(points[a.index]), second = bitsOf(points[b.index]);
    return first < second || (first == second && a.index < b.index);
  });
  std::vector<bool> repeated(points.size());
  for (std::size_t i = 1; i < order.size(); ++i) {
    repeated[order[i].index] = bitsOf(points[order[i].index]) == bitsOf(points[order[i - 1].index]);
  }
  std::size_t kept = 0;
  for (std::size_t i = 0; i < points.size(); ++i) {
    if (!repeated[i]) points[kept++] = points[i];
  }
  points.resize(kept);
}

Vec3 cornerAt(const char* bytes) {
  return {asDouble<float>(bytes), asDouble<float>(bytes + 4), asDouble<float>(bytes + 8)};
}

std::vector<Vec3> readBinary(Bytes& bytes) {
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
  std::vector<Vec3> points;
  points.reserve(3 * std::size_t{count});
  for (std::uint32_t n = 0; n < count; ++n) {
    const std::string_view facet = bytes.ahead(kFacetSize);
    if (facet.size() < kFacetSize) throw Error{fmt::format("triangle {} of {}: the file ends in its midst", n, count)};
    for (std::size_t corner = 0; corner < 3; ++corner) {
      points.push_back(cornerAt(facet.data() + kFirstCorner * (corner + 1)));
    }
    bytes.skip(kFacetSize);
  }
  return points;
}

// Facets one behind the other, each of seven lines, between "solid" and "endsolid".
class TextReader {
 public:
  explicit TextReader(Bytes& bytes) : lines_(bytes) {}

  std::vector<Vec3> read() {
    while (lines_.next()) {
      begin("solid");
      while (nextIs("facet")) readFacet();
      if (word_ != "endsolid") lines_.fail("must be \"facet\" or \"endsolid\", and is \"" + found() + "\"");
    }
    return std::move(points_);
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

  void readFacet() {
    demand("outer");
    for (int corner = 0; corner < 3; ++corner) {
      demand("vertex");
      points_.push_back(cornerOfLine());
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
  std::string word_;
  std::vector<Vec3> points_;
};

}  // namespace

bool looksLikeStl(std::string_view begin, std::uint64_t size) { return isBinary(begin, size) || isText(begin); }

std::vector<Vec3> readStl(Bytes& bytes) {
  constexpr std::size_t kLook = 4096;
  const std::uint64_t size = bytes.left();
  const std::string_view begin = bytes.ahead(kLook);
  const bool text = !isBinary(begin, size) && isText(begin);
  std::vector<Vec3> points = text ? TextReader(bytes).read() : readBinary(bytes);
  dropRepeated(points);
  return points;
}

}  // namespace quel
