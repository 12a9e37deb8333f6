#include "clouds/Ply.h"

#include <fmt/core.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "clouds/PlyHeader.h"

namespace queltool {

namespace {

using namespace ply;

static_assert(std::endian::native == std::endian::little);

std::size_t sizeOf(Scalar type) {
  constexpr std::size_t kSizes[] = {1, 1, 2, 2, 4, 4, 4, 8};
  return kSizes[static_cast<std::size_t>(type)];
}

template <typename T>
double asDouble(const unsigned char* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof(T));
  return static_cast<double>(value);
}

double decode(Scalar type, const unsigned char* bytes) {
  switch (type) {
    case Scalar::Int8:
      return asDouble<std::int8_t>(bytes);
    case Scalar::UInt8:
      return asDouble<std::uint8_t>(bytes);
    case Scalar::Int16:
      return asDouble<std::int16_t>(bytes);
    case Scalar::UInt16:
      return asDouble<std::uint16_t>(bytes);
    case Scalar::Int32:
      return asDouble<std::int32_t>(bytes);
    case Scalar::UInt32:
      return asDouble<std::uint32_t>(bytes);
    case Scalar::Float:
      return asDouble<float>(bytes);
    case Scalar::Double:
      return asDouble<double>(bytes);
  }
  return 0.0;
}

// Values one behind the other, in binary.
class BinaryValues {
 public:
  BinaryValues(std::string_view data, bool bigEndian) : data_(data), bigEndian_(bigEndian) {}

  double next(Scalar type) {
    const std::size_t size = sizeOf(type);
    if (data_.size() - at_ < size) throw Bad{"the file ends in its midst"};
    unsigned char bytes[8];
    std::memcpy(bytes, data_.data() + at_, size);
    if (bigEndian_) std::reverse(bytes, bytes + size);
    at_ += size;
    return decode(type, bytes);
  }

  void skip(Scalar type, std::uint64_t count) {
    if (count > (data_.size() - at_) / sizeOf(type)) throw Bad{"the file ends in its midst"};
    at_ += count * sizeOf(type);
  }

  void endRow() {}
  std::size_t left() const { return data_.size() - at_; }
  std::string place() const { return {}; }
  static std::size_t leastSize(Scalar type) { return sizeOf(type); }

 private:
  std::string_view data_;
  bool bigEndian_;
  std::size_t at_ = 0;
};

// Values one behind the other, in text; a row is a line.
class AsciiValues {
 public:
  AsciiValues(std::string_view data, std::size_t line) : data_(data), line_(line) {}

  double next(Scalar) {
    if (!inRow_) beginRow();
    if (word_ == words_.size()) throw Bad{"the line has too few values"};
    const std::string_view word = words_[word_++];
    double value = 0.0;
    const char* begin = word.data() + (word.front() == '+' ? 1 : 0);
    const auto [end, error] = std::from_chars(begin, word.data() + word.size(), value);
    if (error != std::errc() || end != word.data() + word.size()) {
      throw Bad{fmt::format("\"{}\" is no number", word.substr(0, 40))};
    }
    return value;
  }

  void skip(Scalar type, std::uint64_t count) {
    for (std::uint64_t i = 0; i < count; ++i) next(type);
  }

  void endRow() {
    if (word_ != words_.size()) throw Bad{"the line has too many values"};
    inRow_ = false;
  }

  // One more, since the blank behind the last value may be missing.
  std::size_t left() const { return data_.size() - at_ + 1; }
  std::string place() const { return fmt::format("line {}: ", line_); }
  // A digit and the blank behind it.
  static std::size_t leastSize(Scalar) { return 2; }

 private:
  void beginRow() {
    do {
      ++line_;
      if (at_ >= data_.size()) throw Bad{"the file ends in its midst"};
      const std::size_t end = std::min(data_.find('\n', at_), data_.size());
      words_ = wordsOf(data_.substr(at_, end - at_));
      at_ = std::min(end + 1, data_.size());
    } while (words_.empty());
    word_ = 0;
    inRow_ = true;
  }

  std::string_view data_;
  std::size_t line_;
  std::size_t at_ = 0;
  std::vector<std::string_view> words_;
  std::size_t word_ = 0;
  bool inRow_ = false;
};

template <typename Values>
void skipList(const Property& property, Values& values) {
  const double count = values.next(*property.countType);
  if (!(count >= 0.0) || count > static_cast<double>(kMaxElements) || count != std::floor(count)) {
    throw Bad{"a list has no valid count"};
  }
  values.skip(property.type, static_cast<std::uint64_t>(count));
}

// Where x, y and z stand among the properties of the vertices.
std::array<std::size_t, 3> findCoordinates(const Element& element) {
  std::array<std::size_t, 3> places{};
  const char* const names[] = {"x", "y", "z"};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const auto found = std::find_if(element.properties.begin(), element.properties.end(),
                                    [&](const Property& each) { return each.name == names[axis] && !each.countType; });
    if (found == element.properties.end()) throw Bad{std::string("the vertices have no property ") + names[axis]};
    places[axis] = static_cast<std::size_t>(found - element.properties.begin());
  }
  return places;
}

// The least that a row of the element can take; a file that is shorter than all its rows is damaged.
template <typename Values>
void demandRoom(const Element& element, const Values& values) {
  std::uint64_t row = 0;
  for (const Property& each : element.properties) row += Values::leastSize(each.countType.value_or(each.type));
  if (row != 0 && element.count > values.left() / row) {
    throw Bad{fmt::format("the header tells of {} x \"{}\", more than the file can hold", element.count, element.name)};
  }
}

template <typename Values>
void readRows(const Element& element, Values& values, std::vector<Vec3>* points) {
  const std::array<std::size_t, 3> places = points ? findCoordinates(element) : std::array<std::size_t, 3>{};
  demandRoom(element, values);
  if (element.properties.empty()) return;
  if (points) points->reserve(element.count);
  for (std::uint64_t row = 0; row < element.count; ++row) {
    Vec3 point{};
    try {
      for (std::size_t i = 0; i < element.properties.size(); ++i) {
        const Property& property = element.properties[i];
        if (property.countType) {
          skipList(property, values);
          continue;
        }
        const double value = values.next(property.type);
        for (std::size_t axis = 0; points && axis < 3; ++axis) {
          if (places[axis] == i) point[axis] = value;
        }
      }
      values.endRow();
    } catch (const Bad& bad) {
      throw Bad{fmt::format("{}{} {} of {}: {}", values.place(), element.name, row, element.count, bad.message)};
    }
    if (points) points->push_back(point);
  }
}

template <typename Values>
std::vector<Vec3> readVertices(const Header& header, Values values) {
  for (const Element& element : header.elements) {
    if (element.name != "vertex") {
      readRows(element, values, nullptr);
      continue;
    }
    std::vector<Vec3> points;
    readRows(element, values, &points);
    return points;
  }
  throw Bad{"has no element \"vertex\""};
}

}  // namespace

bool looksLikePly(std::string_view content) {
  return content.substr(0, 4) == "ply\n" || content.substr(0, 5) == "ply\r\n";
}

Result<std::vector<Vec3>> parsePly(std::string_view content) {
  try {
    const Header header = readHeader(content);
    const std::string_view data = content.substr(header.size);
    if (header.format == Format::Ascii) return readVertices(header, AsciiValues(data, header.lines));
    return readVertices(header, BinaryValues(data, header.format == Format::BigEndian));
  } catch (const Bad& bad) {
    return Error{bad.message};
  }
}

std::string formatPly(const std::vector<std::string>& names, const std::vector<double>& rows) {
  std::string result = fmt::format("ply\nformat binary_little_endian 1.0\nelement vertex {}\n",
                                   names.empty() ? 0 : rows.size() / names.size());
  for (const std::string& name : names) result += fmt::format("property double {}\n", name);
  result += "end_header\n";
  return result.append(reinterpret_cast<const char*>(rows.data()), rows.size() * sizeof(double));
}

}  // namespace queltool
