#include "quel/clouds/Rows.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>

namespace quel {

namespace {

constexpr const char* kTooShort = "the file ends in its midst";

// Values one behind the other, in binary.
class BinaryValues {
 public:
  BinaryValues(Bytes& bytes, bool bigEndian) : bytes_(bytes), bigEndian_(bigEndian) {}

  void beginRow() {}
  void endRow() {}

  double next(Scalar type) {
    const std::size_t size = sizeOf(type);
    const std::string_view value = bytes_.ahead(size);
    if (value.size() < size) throw Error{kTooShort};
    const double result = bigEndian_ ? decodeBigEndian(type, value.data()) : decode(type, value.data());
    bytes_.skip(size);
    return result;
  }

  void skip(Scalar type, std::uint64_t count) {
    if (count > left() / sizeOf(type)) throw Error{kTooShort};
    bytes_.skip(count * sizeOf(type));
  }

  std::uint64_t left() const { return bytes_.left(); }
  std::string place() const { return {}; }
  static std::size_t leastSize(Scalar type) { return sizeOf(type); }

 private:
  Bytes& bytes_;
  bool bigEndian_;
};

// Values one behind the other, in text; a row is a line.
class TextValues {
 public:
  explicit TextValues(TextLines& lines) : lines_(lines) {}

  void beginRow() {
    if (!lines_.next()) throw Error{kTooShort};
  }

  void endRow() {
    if (!lines_.atEnd()) throw Error{"the line has too many values"};
  }

  double next(Scalar) { return lines_.number(); }

  void skip(Scalar, std::uint64_t count) {
    for (std::uint64_t i = 0; i < count; ++i) lines_.number();
  }

  std::uint64_t left() const { return lines_.left(); }
  std::string place() const { return fmt::format("line {}: ", lines_.line()); }
  // A digit and the blank behind it.
  static std::size_t leastSize(Scalar) { return 2; }

 private:
  TextLines& lines_;
};

template <typename Values>
void skipList(const Property& property, Values& values) {
  const double count = values.next(*property.countType);
  if (!(count >= 0.0) || count > static_cast<double>(kMaxElements) || count != std::floor(count)) {
    throw Error{"a list has no valid count"};
  }
  values.skip(property.type, static_cast<std::uint64_t>(count));
}

// The least that a row of the element can take.
template <typename Values>
std::uint64_t leastRow(const Element& element) {
  std::uint64_t row = 0;
  for (const Property& each : element.properties) row += Values::leastSize(each.countType.value_or(each.type));
  return row;
}

// A file that is shorter than all its rows is damaged.
template <typename Values>
void demandRoom(const Element& element, const Values& values) {
  const std::uint64_t row = leastRow<Values>(element);
  if (row != 0 && element.count > values.left() / row) {
    throw Error{
        fmt::format("the header tells of {} x \"{}\", more than the file can hold", element.count, element.name)};
  }
}

template <typename Values>
Vec3 readRow(const Element& element, Values& values, const std::array<std::size_t, 3>& places) {
  Vec3 point{};
  values.beginRow();
  for (std::size_t i = 0; i < element.properties.size(); ++i) {
    const Property& property = element.properties[i];
    if (property.countType) {
      skipList(property, values);
      continue;
    }
    const double value = values.next(property.type);
    for (std::size_t axis = 0; axis < 3; ++axis) {
      if (places[axis] == i) point[axis] = value;
    }
  }
  values.endRow();
  return point;
}

template <typename Values>
void readRows(const Element& element, Values values, std::vector<Vec3>* points) {
  const std::array<std::size_t, 3> places = points ? findCoordinates(element) : std::array<std::size_t, 3>{};
  demandRoom(element, values);
  if (element.properties.empty()) return;
  if (points) points->reserve(element.count);
  for (std::uint64_t row = 0; row < element.count; ++row) {
    try {
      const Vec3 point = readRow(element, values, places);
      if (points) points->push_back(point);
    } catch (const Error& bad) {
      throw Error{fmt::format("{}{} {} of {}: {}", values.place(), element.name, row, element.count, bad.cause)};
    }
  }
}

// Rows of one size, many at a time.
class FixedRows {
 public:
  explicit FixedRows(const Element& element) : element_(element) {
    for (const Property& each : element.properties) {
      offsets_.push_back(size_);
      size_ += sizeOf(each.type);
    }
  }

  void read(Bytes& bytes, bool bigEndian, std::vector<Vec3>& points) const {
    constexpr std::size_t kBlock = std::size_t{1} << 18;
    const std::array<std::size_t, 3> places = findCoordinates(element_);
    demandRoom(element_, BinaryValues(bytes, bigEndian));
    points.reserve(element_.count);
    const std::size_t most = std::max<std::size_t>(kBlock / size_, 1);
    for (std::uint64_t row = 0; row < element_.count;) {
      const std::uint64_t wanted = std::min<std::uint64_t>(most, element_.count - row);
      const std::uint64_t rows = bytes.ahead(wanted * size_).size() / size_;
      if (rows == 0) throw Error{fmt::format("{} {} of {}: {}", element_.name, row, element_.count, kTooShort)};
      take(bytes.ahead(rows * size_).data(), rows, bigEndian, places, points);
      bytes.skip(rows * size_);
      row += rows;
    }
  }

 private:
  void take(const char* row, std::uint64_t rows, bool bigEndian, const std::array<std::size_t, 3>& places,
            std::vector<Vec3>& points) const {
    const auto value = [&](std::size_t axis) {
      const Scalar type = element_.properties[places[axis]].type;
      const char* const at = row + offsets_[places[axis]];
      return bigEndian ? decodeBigEndian(type, at) : decode(type, at);
    };
    for (; rows != 0; --rows, row += size_) points.push_back({value(0), value(1), value(2)});
  }

  const Element& element_;
  std::size_t size_ = 0;
  std::vector<std::size_t> offsets_;
};

}  // namespace

std::array<std::size_t, 3> findCoordinates(const Element& element) {
  std::array<std::size_t, 3> places{};
  const char* const names[] = {"x", "y", "z"};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const auto isWanted = [&](const Property& each) { return each.name == names[axis] && !each.countType; };
    const auto found = std::find_if(element.properties.begin(), element.properties.end(), isWanted);
    if (found == element.properties.end()) {
      throw Error{fmt::format("a {} has no property {}", element.name, names[axis])};
    }
    if (std::find_if(found + 1, element.properties.end(), isWanted) != element.properties.end()) {
      throw Error{fmt::format("a {} has the property {} twice", element.name, names[axis])};
    }
    places[axis] = static_cast<std::size_t>(found - element.properties.begin());
  }
  return places;
}

void readTextRows(const Element& element, TextLines& lines, std::vector<Vec3>* points) {
  readRows(element, TextValues(lines), points);
}

void readBinaryRows(const Element& element, Bytes& bytes, bool bigEndian, std::vector<Vec3>* points) {
  const auto isList = [](const Property& each) { return each.countType.has_value(); };
  if (points && std::none_of(element.properties.begin(), element.properties.end(), isList)) {
    return FixedRows(element).read(bytes, bigEndian, *points);
  }
  readRows(element, BinaryValues(bytes, bigEndian), points);
}

void refuseFurtherText(const Element& element, TextLines& lines) {
  if (!lines.next()) return;
  lines.fail(fmt::format("stands behind the {} x \"{}\" that the header tells of", element.count, element.name));
}

void refuseFurtherBinary(const Element& element, const Bytes& bytes) {
  const std::uint64_t row = leastRow<BinaryValues>(element);
  if (row == 0 || bytes.left() < row) return;
  throw Error{fmt::format("{} bytes stand behind the {} x \"{}\" that the header tells of", bytes.left(), element.count,
                          element.name)};
}

}  // namespace quel
