#include "quel/clouds/PlyHeader.h"

#include <fmt/core.h>

#include <charconv>

namespace quel::ply {

namespace {

std::optional<Scalar> scalarNamed(std::string_view name) {
  struct Name {
    std::string_view text;
    Scalar type;
  };
  constexpr Name kNames[] = {
      {"char", Scalar::Int8},   {"int8", Scalar::Int8},     {"uchar", Scalar::UInt8},   {"uint8", Scalar::UInt8},
      {"short", Scalar::Int16}, {"int16", Scalar::Int16},   {"ushort", Scalar::UInt16}, {"uint16", Scalar::UInt16},
      {"int", Scalar::Int32},   {"int32", Scalar::Int32},   {"uint", Scalar::UInt32},   {"uint32", Scalar::UInt32},
      {"float", Scalar::Float}, {"float32", Scalar::Float}, {"double", Scalar::Double}, {"float64", Scalar::Double},
  };
  for (const Name& each : kNames) {
    if (each.text == name) return each.type;
  }
  return std::nullopt;
}

// Reads the header line by line.
class HeaderReader {
 public:
  explicit HeaderReader(Bytes& bytes) : bytes_(bytes) {}

  Header read() {
    nextLine();
    if (words_.size() != 1 || words_[0] != "ply") fail("the first line must be \"ply\"");
    nextLine();
    readFormat();
    while (true) {
      nextLine();
      if (words_.empty() || words_[0] == "comment" || words_[0] == "obj_info") continue;
      if (words_[0] == "end_header") break;
      if (words_[0] == "element") {
        readElement();
      } else if (words_[0] == "property") {
        readProperty();
      } else {
        fail(fmt::format("\"{}\" is no keyword of a header", shown(words_[0])));
      }
    }
    header_.lines = line_;
    return header_;
  }

 private:
  [[noreturn]] void fail(const std::string& what) const { throw Error{fmt::format("line {}: {}", line_, what)}; }

  void nextLine() {
    std::string_view line;
    ++line_;
    if (!bytes_.line(line)) fail("the header ends without \"end_header\"");
    words_ = wordsOf(line);
  }

  void readFormat() {
    if (words_.size() != 3 || words_[0] != "format") fail("must be \"format\", its name and a version");
    if (words_[1] == "ascii") {
      header_.format = Format::Ascii;
    } else if (words_[1] == "binary_little_endian") {
      header_.format = Format::LittleEndian;
    } else if (words_[1] == "binary_big_endian") {
      header_.format = Format::BigEndian;
    } else {
      fail(fmt::format("\"{}\" is no format; known are ascii, binary_little_endian and binary_big_endian",
                       shown(words_[1])));
    }
    if (words_[2] != "1.0") fail(fmt::format("version {} is not known; version 1.0 is", shown(words_[2])));
  }

  void readElement() {
    if (words_.size() != 3) fail("must be \"element\", a name and a count");
    Element element;
    element.name = words_[1];
    const auto [end, error] = std::from_chars(words_[2].data(), words_[2].data() + words_[2].size(), element.count);
    if (error != std::errc() || end != words_[2].data() + words_[2].size() || element.count > kMaxElements) {
      fail(fmt::format("\"{}\" is no count of elements", shown(words_[2])));
    }
    header_.elements.push_back(std::move(element));
  }

  Scalar type(std::string_view name) const {
    const std::optional<Scalar> found = scalarNamed(name);
    if (!found) fail(fmt::format("\"{}\" is no type of a property", shown(name)));
    return *found;
  }

  void readProperty() {
    if (header_.elements.empty()) fail("a property stands before the first element");
    Property property;
    if (words_.size() == 3) {
      property.type = type(words_[1]);
      property.name = words_[2];
    } else if (words_.size() == 5 && words_[1] == "list") {
      property.countType = type(words_[2]);
      property.type = type(words_[3]);
      property.name = words_[4];
      if (*property.countType >= Scalar::Float) fail("the count of a list must be a whole number");
    } else {
      fail("must be \"property\", a type and a name, or \"property list\", two types and a name");
    }
    header_.elements.back().properties.push_back(std::move(property));
  }

  Bytes& bytes_;
  std::size_t line_ = 0;
  std::vector<std::string_view> words_;
  Header header_;
};

}  // namespace

Header readHeader(Bytes& bytes) { return HeaderReader(bytes).read(); }

}  // namespace quel::ply
