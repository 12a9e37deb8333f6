// Reads tables of numbers in plain text (see TextTable.h) row by row. Hidden in the library.
#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "quel/clouds/Bytes.h"
#include "quel/clouds/TextTable.h"

namespace quel {

/// Reads the rows of a text one after the other.
class TextRows {
 public:
  TextRows(Bytes& bytes, const TextColumns& columns);

  /// Puts the wanted numbers of the next row into `numbers`; false behind the last one. An empty field of a column that
  /// goes by its name is NaN. Throws `Error`, which names the line.
  bool next(std::span<double> numbers);

  /// Whether the line of names has all of these; takes the first row.
  bool names(const std::vector<std::string>& wanted);

 private:
  enum class Split { Blanks, Tabs, Semicolons, Commas };
  struct Place {
    std::size_t index;
    double factor;
  };

  bool nextLine(std::string_view& line);
  void split(std::string_view line);
  Split splitOf(std::string_view line) const;
  void addField(std::string_view field);
  void splitAt(std::string_view line, char separator);
  void splitAtBlanks(std::string_view line);
  bool takeNames();
  void choosePlaces();
  Place placeOf(const std::string& name) const;
  Place withUnit(std::size_t index) const;
  void watch(std::string_view line);
  void refuseMoreThanNames() const;
  void refuseTwoMeanings() const;
  [[noreturn]] void refuse(const std::string& why) const;

  Bytes& bytes_;
  const TextColumns& columns_;
  std::size_t line_ = 0;
  bool begun_ = false;
  bool named_ = false;
  Split headerSplit_ = Split::Blanks;
  Split split_ = Split::Blanks;
  std::vector<std::string> names_;
  std::vector<std::string_view> fields_;
  std::vector<Place> places_;
  std::size_t width_ = 0;  // Fields of the names or else of the first row.
  // The first line of each kind; 0 for none.
  std::size_t separatingComma_ = 0;
  std::size_t decimalComma_ = 0;
  std::size_t point_ = 0;
  std::size_t otherWidth_ = 0;
};

/// Room for the rows of a text, by the size of the first thousand; it is taken once, and never for much more than the
/// text holds.
template <typename Row>
void reserveOnce(std::vector<Row>& rows, std::uint64_t sizeAtFirst, std::uint64_t left) {
  constexpr std::size_t kTried = 1000;
  if (rows.size() != kTried) return;
  const double each = static_cast<double>(sizeAtFirst - left) / kTried;
  if (each > 0.0) rows.reserve(kTried + static_cast<std::size_t>(1.05 * static_cast<double>(left) / each));
}

/// All rows of a text; no row is no error. Throws `Error`.
template <std::size_t Count>
std::vector<std::array<double, Count>> readTextRows(Bytes& bytes, const TextColumns& columns) {
  std::vector<std::array<double, Count>> rows;
  const std::uint64_t size = bytes.left();
  TextRows reader(bytes, columns);
  for (std::array<double, Count> row{}; reader.next(row);) {
    rows.push_back(row);
    reserveOnce(rows, size, bytes.left());
  }
  return rows;
}

}  // namespace quel
