// The header of a PLY file: what the file holds, in which form.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace queltool::ply {

/// More elements are taken for damage.
inline constexpr std::uint64_t kMaxElements = 2'000'000'000;

enum class Scalar { Int8, UInt8, Int16, UInt16, Int32, UInt32, Float, Double };
enum class Format { Ascii, LittleEndian, BigEndian };

struct Property {
  std::string name;
  Scalar type = Scalar::Float;
  std::optional<Scalar> countType;  ///< Of a list.
};

struct Element {
  std::string name;
  std::uint64_t count = 0;
  std::vector<Property> properties;
};

struct Header {
  Format format = Format::Ascii;
  std::vector<Element> elements;
  std::size_t size = 0;   ///< Bytes.
  std::size_t lines = 0;  ///< With end_header.
};

/// Thrown: what is wrong with a file, and where.
struct Bad {
  std::string message;
};

/// The words of a line between blanks.
std::vector<std::string_view> wordsOf(std::string_view line);

/// The header that `content` begins with. Throws `Bad`.
Header readHeader(std::string_view content);

}  // namespace queltool::ply
