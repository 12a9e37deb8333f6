#include "quel/clouds/PcdHeader.h"

#include <fmt/core.h>

#include <utility>

namespace quel::pcd {

namespace {

// More values of a point are taken for damage.
constexpr std::uint64_t kMostValues = 1000;

struct Type {
  char letter;
  std::uint64_t size;
  Scalar scalar;
};
constexpr Type kTypes[] = {
    {'I', 1, Scalar::Int8},  {'I', 2, Scalar::Int16},  {'I', 4, Scalar::Int32},  {'I', 8, Scalar::Int64},
    {'U', 1, Scalar::UInt8}, {'U', 2, Scalar::UInt16}, {'U', 4, Scalar::UInt32}, {'U', 8, Scalar::UInt64},
    {'F', 4, Scalar::Float}, {'F', 8, Scalar::Double},
};

std::optional<Scalar> scalarOf(std::string_view letter, std::uint64_t size) {
  for (const Type& each : kTypes) {
    if (letter.size() == 1 && letter.front() == each.letter && size == each.size) return each.scalar;
  }
  return std::nullopt;
}

struct Field {
  std::string name;
  std::uint64_t size = 4;
  std::string type = "F";
  std::uint64_t count = 1;
};

// The lines of a header in their order, each with its word in front.
class HeaderReader {
 public:
  explicit HeaderReader(Bytes& bytes) : lines_(bytes) {}

  Header read() {
    while (lines_.nextOf()) {
      const std::string_view keyword = lines_.word();
      if (keyword == "DATA") {
        readData();
        return finished();
      }
      if (!take(keyword)) lines_.fail(fmt::format("\"{}\" is no keyword of a header", shown(keyword)));
      if (!lines_.atEnd() && keyword != "VERSION" && keyword != "VIEWPOINT") lines_.fail("has too many values");
    }
    throw Error{"the header ends without \"DATA\""};
  }

 private:
  bool take(std::string_view keyword) {
    if (keyword == "FIELDS" || keyword == "COLUMNS") {
      readNames();
    } else if (keyword == "SIZE") {
      forEachField([this](Field& field) { field.size = lines_.count("bytes"); });
    } else if (keyword == "TYPE") {
      forEachField([this](Field& field) { field.type = lines_.word(); });
    } else if (keyword == "COUNT") {
      forEachField([this](Field& field) { field.count = lines_.count("values"); });
    } else if (keyword == "WIDTH" || keyword == "HEIGHT" || keyword == "POINTS") {
      (keyword == "WIDTH" ? width_ : keyword == "HEIGHT" ? height_ : points_) = lines_.count("points");
    } else {
      return keyword == "VERSION" || keyword == "VIEWPOINT";
    }
    return true;
  }

  void readNames() {
    if (!fields_.empty()) lines_.fail("the fields are named twice");
    while (!lines_.atEnd()) fields_.push_back({std::string(lines_.word())});
    if (fields_.size() > kMostValues) lines_.fail(fmt::format("names more than {} fields", kMostValues));
  }

  template <typename Take>
  void forEachField(Take take) {
    for (Field& field : fields_) {
      if (lines_.atEnd()) lines_.fail(fmt::format("must have {} values, one for each field", fields_.size()));
      take(field);
    }
  }

  void readData() {
    constexpr std::pair<const char*, Form> kForms[] = {
        {"ascii", Form::Ascii}, {"binary", Form::Binary}, {"binary_compressed", Form::Compressed}};
    const std::string_view name = lines_.word();
    for (const auto& [known, form] : kForms) {
      if (name != known) continue;
      header_.form = form;
      return;
    }
    lines_.fail(fmt::format("\"{}\" is no form of data; known are ascii, binary and binary_compressed", shown(name)));
  }

  // By width and height where the header does not say it.
  std::uint64_t countOfPoints() const {
    const std::optional<std::uint64_t> area = width_ && *width_ <= kMaxElements && height_.value_or(1) <= kMaxElements
                                                  ? std::optional(*width_ * height_.value_or(1))
                                                  : std::nullopt;
    if (!points_ && !area) lines_.fail("the header tells no count of points");
    if (points_ && width_ && points_ != area) {
      lines_.fail(fmt::format("the header tells of {} points, and of {} x {}", *points_, *width_, height_.value_or(1)));
    }
    const std::uint64_t count = points_ ? *points_ : *area;
    if (count > kMaxElements) lines_.fail(fmt::format("{} is no count of points", count));
    return count;
  }

  void addField(const Field& field) {
    const std::optional<Scalar> type = scalarOf(field.type, field.size);
    if (!type) {
      lines_.fail(
          fmt::format("the field \"{}\" has type \"{}\" of {} bytes; known are I and U of 1, 2, 4 and 8, F of 4 "
                      "and 8",
                      shown(field.name), shown(field.type), field.size));
    }
    std::vector<Property>& properties = header_.points.properties;
    if (field.count > kMostValues - properties.size()) {
      lines_.fail(fmt::format("a point has more than {} values", kMostValues));
    }
    const bool single = field.count == 1;
    for (std::uint64_t i = 0; i < field.count; ++i) properties.push_back({single ? field.name : "", *type});
  }

  Header finished() {
    header_.points.count = countOfPoints();
    for (const Field& field : fields_) addField(field);
    header_.lines = lines_.line();
    return std::move(header_);
  }

  TextLines lines_;
  std::vector<Field> fields_;
  std::optional<std::uint64_t> width_;
  std::optional<std::uint64_t> height_;
  std::optional<std::uint64_t> points_;
  Header header_;
};

}  // namespace

Header readHeader(Bytes& bytes) { return HeaderReader(bytes).read(); }

}  // namespace quel::pcd
