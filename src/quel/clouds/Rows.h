// Rows of named values, as PLY and PCD files have them, in text or in binary; of the values those are read that make
// points, normals or faces.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "quel/base/Result.h"
#include "quel/base/Vectors.h"
#include "quel/clouds/Bytes.h"
#include "quel/clouds/Faces.h"
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

/// What rows give, each behind what is there; what is null is skipped.
struct RowParts {
  std::vector<Vec3>* points = nullptr;   ///< Of x, y and z, which the rows must have.
  std::vector<Vec3>* normals = nullptr;  ///< Of the properties of these names, where the rows have them.
  std::array<const char*, 3> normalNames = {"nx", "ny", "nz"};
  Faces* faces = nullptr;  ///< Of the list vertex_indices or vertex_index, which the rows must have.
};

/// Where three properties of these names stand. Throws `Error` where one is missing or stands twice.
std::array<std::size_t, 3> findProperties(const Element& element, const std::array<const char*, 3>& names);

/// The places of x, y and z.
inline std::array<std::size_t, 3> findCoordinates(const Element& element) {
  return findProperties(element, {"x", "y", "z"});
}

/// The same for the normals that are wanted of an element that has them.
std::optional<std::array<std::size_t, 3>> findNormals(const Element& element, const RowParts& parts);

/// Reads the rows of `element`, each a line. Nothing is allocated by a count that the file's own size does not bear
/// out. Throws `Error`, which names line and row.
void readTextRows(const Element& element, TextLines& lines, const RowParts& parts);

/// The same in binary; the error names the row.
void readBinaryRows(const Element& element, Bytes& bytes, bool bigEndian, const RowParts& parts);

/// Throws `Error` where the file goes on behind the rows of `element`, which were read and are its last ones: it holds
/// more points than it tells of, and nobody knows which are meant.
void refuseFurtherText(const Element& element, TextLines& lines);

/// The same in binary, where a row more would have room.
void refuseFurtherBinary(const Element& element, const Bytes& bytes);

}  // namespace quel
