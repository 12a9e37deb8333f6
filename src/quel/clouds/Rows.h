// Rows of named values, as PLY and PCD files have them, in text or in binary; of the values x, y and z are read.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "quel/base/Result.h"
#include "quel/base/Vectors.h"
#include "quel/clouds/Bytes.h"
#include "quel/clouds/Scalar.h"
#include "quel/clouds/TextLines.h"

namespace quel {

/// More rows are taken for damage.
inline constexpr std::uint64_t kMaxElements = 2'000'000'000;

/// A value of a row, or a list of them behind their count.
struct Property {
  std::string name;
  Scalar type = Scalar::Float;
  std::optional<Scalar> countType = {};  ///< Of a list.
};

/// Rows of one kind.
struct Element {
  std::string name;
  std::uint64_t count = 0;
  std::vector<Property> properties;
};

/// Where x, y and z stand among the properties. Throws `Error` where one is missing or stands twice.
std::array<std::size_t, 3> findCoordinates(const Element& element);

/// Reads the rows of `element`, each a line, and puts their points behind `points` unless that is null. Nothing is
/// allocated by a count that the file's own size does not bear out. Throws `Error`, which names line and row.
void readTextRows(const Element& element, TextLines& lines, std::vector<Vec3>* points);

/// The same in binary; the error names the row.
void readBinaryRows(const Element& element, Bytes& bytes, bool bigEndian, std::vector<Vec3>* points);

/// Throws `Error` where the file goes on behind the rows of `element`, which were read and are its last ones: it holds
/// more points than it tells of, and nobody knows which are meant.
void refuseFurtherText(const Element& element, TextLines& lines);

/// The same in binary, where a row more would have room.
void refuseFurtherBinary(const Element& element, const Bytes& bytes);

}  // namespace quel
