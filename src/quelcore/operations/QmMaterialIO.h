// Material files: for each pair of optical head and lens, a table of materials and their parameters.
//
//   QmM1
//   1
//   3 50 2
//   Aluminium;cast 0.25 1.5 3 7
//   Steel 0.5 1 2 0
//
// After the magic and the number of tables come one line per table (head, lens, number of rows) and then the rows:
// name, three numbers, one integer. Tokens are separated by white space. Blanks in names stand as semicolons, so that a
// semicolon comes back as a blank; numbers have six significant digits, so that a cycle of writing and reading can lose
// precision. A file that begins with the bytes FF FE is 16-bit text, low byte first, which is what is written, with one
// line feed per line; any other is read as UTF-8. No locale plays in.
//
// Nothing here logs or throws but std::bad_alloc where there is no result to tell a failure by. One thread at a time.
#pragma once

#include <iosfwd>
#include <limits>
#include <map>
#include <utility>

#include "quelcore/QuelCoreApi.h"
#include "quelplatform/qmEnv/qmHead.h"
#include "quelplatform/qmEnv/qmTypes.h"

/// Parameters of a material, in the order of the file. What they mean is settled by who uses them.
template <typename First, typename Second, typename Third, typename Fourth>
struct QmMtrlParams {
  First value1 = std::numeric_limits<First>::max();
  Second value2 = std::numeric_limits<Second>::max();
  Third value3 = std::numeric_limits<Third>::max();
  Fourth value4 = 0;
};

/// Parameters by material name; names order unit by unit.
using QmMaterialTable = std::map<qmWString, QmMtrlParams<double, double, double, std::int32_t>>;

/// Tables by head, then lens.
using QmMaterialTables = std::map<std::pair<OPTICAL_HEAD, QmLens>, QmMaterialTable>;

namespace quelcore {
class WideFileBuf;
}

class QUELCORE_API QmMaterialIO {
 public:
  /// Reads nothing; null counts as the empty name.
  explicit QmMaterialIO(const qmWChar* fileName);
  QmMaterialIO(const QmMaterialIO&);
  QmMaterialIO& operator=(const QmMaterialIO&);
  ~QmMaterialIO();

  const qmWChar* getFileName() const noexcept;
  void setFileName(const qmWChar* fileName);

  /// Replaces the tables by those of the file. False when it cannot be opened, is no material file, or ends too early,
  /// and when memory is exhausted; the tables then hold as much as was read, or what they held before when not even the
  /// header was. Of two header lines of one pair the first counts, and of two rows of one name in a table.
  ///
  /// A problem (base/QmProblem.h) names line, column and word. Remarks are pairs and names that come again, pairs that
  /// descend, and words that begin with a number and go on.
  ///
  /// Required: the end of the file counts as a failure wherever it is met, so that behind the last number at least one
  /// unit must follow, as the final line feed does. Tables follow each other in ascending order of head and lens
  /// whatever the order of the header lines: a file whose lines descend has its rows read into each other's tables.
  bool read() noexcept;

  /// Writes the tables that have rows. False when the file cannot be opened, any of it cannot be written or memory is
  /// exhausted; a file that is there then stays. A name that is empty or holds white space other than blanks, and a
  /// number that is not finite, is written as it is and cannot be read back. False, too, with the
  /// file as it is, when the last `read` of a file of this name found one that it could not read: the materials in it
  /// would be lost.
  bool write() const noexcept;

  QmMaterialTables& getMaterialTables() noexcept;

  /// Makes `tables` all tables of that head, by lens. Returns their number.
  std::int32_t getMaterialTables(OPTICAL_HEAD head, std::map<QmLens, QmMaterialTable>& tables) const;

  /// The table of that pair; an empty one is made when there is none.
  QmMaterialTable& getMapMaterial(OPTICAL_HEAD head, QmLens lens);

 protected:
  // The halves of reading and writing, on a stream at the beginning of theirs. Each is false as soon as the stream is
  // not good, and when memory is exhausted.

  /// What follows the magic: the number of tables and a line for each. Replaces the header of the last reading.
  bool readHeader1(std::basic_istream<qmWChar>& in);
  /// The rows of all tables of the header. Replaces the tables.
  bool readTable1(std::basic_istream<qmWChar>& in);
  /// The number of tables that have rows, and a line for each.
  bool writeHeader1(std::basic_ostream<qmWChar>& out) const;
  /// The rows of all tables.
  bool writeTable1(std::basic_ostream<qmWChar>& out) const;

 private:
  QUELCORE_LOCAL bool readWords(quelcore::WideFileBuf& units);

  qmWString fileName_;
  QmMaterialTables tables_;
  std::map<std::pair<OPTICAL_HEAD, QmLens>, std::int32_t> header_;  ///< Rows by pair, as last read.
  bool unknown_ = false;      ///< The last reading of the file could not tell what is in it.
  bool outOfMemory_ = false;  ///< In a half of the last reading.
};
