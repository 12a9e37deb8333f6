// What calibration files of any syntax hold: values in lists and maps, each with its line. Hidden in the library.
//
// Reading throws `BadFile`, which nobody outside this folder sees.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "quel/base/Result.h"

namespace quel {

/// Why a file cannot be taken. The error has no file yet: who opened it adds that.
struct BadFile {
  Error error;
};

/// Files larger than this, or nested deeper, are no calibrations.
inline constexpr std::size_t kMaxCalibrationSize = std::size_t{16} << 20;
inline constexpr int kMaxNesting = 32;

/// Counts the values of a document, each of which takes far more memory than text.
class ValueCount {
 public:
  /// Throws at the 200,001st.
  void add(std::int32_t line);

 private:
  std::size_t count_ = 0;
};

std::string lineText(std::int32_t line);

struct Node {
  enum class Kind { Null, Text, List, Map };

  Kind kind = Kind::Null;
  std::int32_t line = 1;
  std::string text = {};
  std::vector<Node> items = {};
  std::vector<std::pair<std::string, Node>> members = {};
};

/// A new member of a map. Throws when there is one of that name, or a thousand of them.
Node& newMember(Node& map, const std::string& key, std::int32_t line);

/// The document of a text: XML where it begins with '<', JSON or a Python literal where it begins with '{', behind
/// lines of comments, else YAML.
Node parseDocument(std::string_view text);

/// The single syntaxes.
Node parseYaml(std::string_view text);
Node parseXml(std::string_view text);
Node parseLiteral(std::string_view text);

/// A matrix as files hold it, row by row.
struct Matrix {
  std::size_t rows = 0;
  std::size_t columns = 0;
  std::vector<double> values = {};
};

/// A node under the name that errors call it by.
class Field {
 public:
  Field(const Node& node, std::string name) : node_(&node), name_(std::move(name)) {}

  const std::string& name() const { return name_; }
  bool isMap() const { return node_->kind == Node::Kind::Map; }
  bool isList() const { return node_->kind == Node::Kind::List; }

  /// The first of `keys` that the map has; nothing when it has none, or is no map.
  std::optional<Field> find(std::initializer_list<std::string_view> keys) const;
  /// The same, which must be there.
  Field at(std::initializer_list<std::string_view> keys) const;
  bool has(std::string_view key) const { return find({key}).has_value(); }

  std::string text() const;
  double number() const;
  std::int32_t wholeNumber(std::int32_t least, std::int32_t most) const;
  bool flag() const;
  /// The elements of a list.
  std::vector<Field> items() const;
  /// A list of numbers, or of lists of numbers, or {rows, cols, data}, or numbers in one text.
  Matrix matrix() const;
  /// `count` numbers of a matrix of any shape.
  std::vector<double> numbers(std::size_t count) const;

  /// Throws what is wrong with it.
  [[noreturn]] void refuse(const std::string& what) const;

 private:
  const Node* node_;
  std::string name_;
};

/// The number that a text is as a whole; nothing where it is none or not finite.
std::optional<double> finiteNumber(std::string_view text);

}  // namespace quel
