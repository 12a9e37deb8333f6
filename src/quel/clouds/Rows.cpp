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
std::uint64_t takeCount(const Property& property, Values& values) {
  const double count = values.next(*property.countType);
  if (!(count >= 0.0) || count > static_cast<double>(kMaxElements) || count != std::floor(count)) {
    throw Error{"a list has no valid count"};
  }
  return static_cast<std::uint64_t>(count);
}

template <typename Values>
void readFace(const Property& property, Values& values, Faces& faces) {
  for (std::uint64_t left = takeCount(property, values); left != 0; --left) faces.addCorner(values.next(property.type));
  faces.endFace();
}

// What becomes of each property of a row: the place of its number among those that are taken, or one of these.
constexpr std::size_t kSkipped = 6;
constexpr std::size_t kCorners = 7;
using Plan = std::vector<std::size_t>;
using Numbers = std::array<double, kSkipped + 1>;

std::size_t findCorners(const Element& element) {
  const auto found = std::find_if(element.properties.begin(), element.properties.end(), [](const Property& each) {
    return each.countType && (each.name == "vertex_indices" || each.name == "vertex_index");
  });
  if (found != element.properties.end()) return static_cast<std::size_t>(found - element.properties.begin());
  throw Error{fmt::format("a {} has no list vertex_indices", element.name)};
}

Plan planOf(const Element& element, const RowParts& parts) {
  Plan plan(element.properties.size(), kSkipped);
  const auto take = [&plan](const std::array<std::size_t, 3>& places, std::size_t first) {
    for (std::size_t axis = 0; axis < 3; ++axis) plan[places[axis]] = first + axis;
  };
  if (parts.points) take(findCoordinates(element), 0);
  if (const auto places = findNormals(element, parts)) take(*places, 3);
  if (parts.faces) plan[findCorners(element)] = kCorners;
  return plan;
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
void readRow(const Element& element, Values& values, const Plan& plan, Numbers& numbers, Faces* faces) {
  values.beginRow();
  for (std::size_t i = 0; i < element.properties.size(); ++i) {
    const Property& property = element.properties[i];
    if (plan[i] == kCorners) {
      readFace(property, values, *faces);
    } else if (property.countType) {
      values.skip(property.type, takeCount(property, values));
    } else {
      numbers[plan[i]] = values.next(property.type);
    }
  }
  values.endRow();
}

template <typename Values>
void readRows(const Element& element, Values values, const RowParts& parts) {
  const Plan plan = planOf(element, parts);
  std::vector<Vec3>* const normals = findNormals(element, parts) ? parts.normals : nullptr;
  demandRoom(element, values);
  if (element.properties.empty()) return;
  if (parts.points) parts.points->reserve(element.count);
  if (normals) normals->reserve(element.count);
  Numbers numbers{};
  for (std::uint64_t row = 0; row < element.count; ++row) {
    try {
      readRow(element, values, plan, numbers, parts.faces);
      if (parts.points) parts.points->push_back({numbers[0], numbers[1], numbers[2]});
      if (normals) normals->push_back({numbers[3], numbers[4], numbers[5]});
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

  void read(Bytes& bytes, bool bigEndian, const RowParts& parts) const {
    constexpr std::size_t kBlock = std::size_t{1} << 18;
    const std::array<std::size_t, 3> places = findCoordinates(element_);
    const auto normals = findNormals(element_, parts);
    demandRoom(element_, BinaryValues(bytes, bigEndian));
    parts.points->reserve(element_.count);
    if (normals) parts.normals->reserve(element_.count);
    const std::size_t most = std::max<std::size_t>(kBlock / size_, 1);
    for (std::uint64_t row = 0; row < element_.count;) {
      const std::uint64_t wanted = std::min<std::uint64_t>(most, element_.count - row);
      const std::uint64_t rows = bytes.ahead(wanted * size_).size() / size_;
      if (rows == 0) throw Error{fmt::format("{} {} of {}: {}", element_.name, row, element_.count, kTooShort)};
      const char* const begin = bytes.ahead(rows * size_).data();
      take(begin, rows, bigEndian, places, *parts.points);
      if (normals) take(begin, rows, bigEndian, *normals, *parts.normals);
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

std::array<std::size_t, 3> findProperties(const Element& element, const std::array<const char*, 3>& names) {
  std::array<std::size_t, 3> places{};
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

std::optional<std::array<std::size_t, 3>> findNormals(const Element& element, const RowParts& parts) {
  const auto isThere = [&element](const char* name) {
    return std::any_of(element.properties.begin(), element.properties.end(),
                       [name](const Property& each) { return each.name == name && !each.countType; });
  };
  if (!parts.normals || !std::all_of(parts.normalNames.begin(), parts.normalNames.end(), isThere)) return std::nullopt;
  return findProperties(element, parts.normalNames);
}

void readTextRows(const Element& element, TextLines& lines, const RowParts& parts) {
  readRows(element, TextValues(lines), parts);
}

void readBinaryRows(const Element& element, Bytes& bytes, bool bigEndian, const RowParts& parts) {
  const auto isList = [](const Property& each) { return each.countType.has_value(); };
  if (parts.points && std::none_of(element.properties.begin(), element.properties.end(), isList)) {
    return FixedRows(element).read(bytes, bigEndian, parts);
  }
  readRows(element, BinaryValues(bytes, bigEndian), parts);
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
