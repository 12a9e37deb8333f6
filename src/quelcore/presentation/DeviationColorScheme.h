// The table that turns a measured deviation into a colour.
//
// A deviation is expressed as a percentage of a tolerance; each entry of the table is the colour and name of a band of
// percentages, keyed by the upper bound of the band, which does not belong to it. The table lies in DeviationColor.xml
// in the folder of legends; where there is no such file, two bands stand in: light green below 100 and light red from
// there on.
#pragma once

#include <map>

#include "quelcore/QuelCoreApi.h"
#include "quelplatform/qmEnv/qmTypes.h"

class CMarkupSTL;
class QmPercentageLegend;

/// The one table of the process. Nothing here logs; nothing throws but std::bad_alloc where there is no result to tell
/// a failure by. One thread at a time, the first call of `GetInstance` included.
class QUELCORE_API DeviationColorScheme {
 public:
  struct ColorInfo {
    std::uint32_t color;  ///< Red in the low byte, then green, then blue; the top byte is 0.
    qmWString name;
  };

  /// The table. The first call makes it, from the file or by default. A table that is empty is filled by default.
  /// Required: a file that is there but holds no entries, or cannot be parsed, gives an empty table to the first call
  /// and the default to the next. Null when memory is exhausted; the next call then tries anew. A call that reads the
  /// file leaves a problem (base/QmProblem.h) for one that holds no entries or cannot be parsed, and the remarks of
  /// `qmDeviationColorFileCheck`.
  static DeviationColorScheme* GetInstance() noexcept;

  /// Destroys the table; pointers to it are void then. The next `GetInstance` makes it anew.
  static void FreeInstance() noexcept;

  DeviationColorScheme(const DeviationColorScheme&);
  DeviationColorScheme& operator=(const DeviationColorScheme&);

  /// Adds an entry, or replaces colour and name of the entry of that percentage. Always true. Throws std::bad_alloc,
  /// and leaves the table as it was then.
  bool add(std::uint16_t percentage, const ColorInfo& info);

  /// Empties the table. Always true.
  bool clear() noexcept;

  /// The entries by percentage; owned by the table.
  std::map<std::uint16_t, ColorInfo>* getColorScheme() noexcept { return &table_; }

  /// Number of entries.
  std::uint16_t getDevLevelNum() const noexcept;

  /// Colour of the first band whose bound lies above `percentage`, which so does not belong to a band that it bounds;
  /// of the last band where there is none. 0 for an empty table.
  std::uint32_t getColor(std::uint16_t percentage) const noexcept;

  /// As above for a deviation; `percentage` becomes its `calcPercent`.
  std::uint32_t getColor(double lower, double upper, double value, bool oneSided, std::uint16_t& percentage,
                         double factor) const noexcept;

  /// `calcPercentDouble`, cut to a whole number. Required: only its low 16 bits count, so that 65536 percent are 0. A
  /// percentage that is not finite, or beyond 64 bits, gives 0.
  std::uint16_t calcPercent(double lower, double upper, double value, bool oneSided, double factor) const noexcept;

  /// How far `value` is from where it should be, in percent of the tolerance times `factor`:
  /// |(lower + upper - 2 value) / (upper - lower)| factor 100, which is 0 in the middle of the limits and 100 at either
  /// of them for a factor of 1; one-sided: |value / upper| factor 100. 1000 for limits closer than 1e-6 to each other.
  double calcPercentDouble(double lower, double upper, double value, bool oneSided, double factor) const noexcept;

  /// Position, counted from 0, of the band that `getColor` takes for the deviation. 65535 for an empty table.
  std::uint16_t getDeviationLevel(double lower, double upper, double value, bool oneSided,
                                  double factor) const noexcept;

  /// Hands the bands to `legend`, the highest first, down to position 0. Required: the legend's top is not the highest
  /// bound but lies above the next lower one by as much as that lies above its own next, so that the default table
  /// gives 200, 100, 0; a table of one entry keeps its bound. False for null, and when memory is exhausted.
  bool UpdatePercentageLegend(QmPercentageLegend* legend) const noexcept;

  /// Writes the table to its file, which is replaced as a whole. False when that fails, and when `GetInstance` found a
  /// file that it could not read, until the table was made anew: the colours in it would be lost.
  bool save() const noexcept;

 protected:
  /// An empty table.
  DeviationColorScheme() noexcept;
  virtual ~DeviationColorScheme();

  /// Reads the file, or makes the default table where there is none.
  bool init();

  /// Makes the default table. Always true.
  bool initDefault();

  /// Adds the entries of the file, of two of one percentage the first; what the table holds stays. Required: true as
  /// soon as there is a file, whatever it holds. False where there is none.
  bool load();

  /// Makes `xml` a document of declaration and root with its six attributes; the cursor stays on the root.
  bool writeHeader(CMarkupSTL& xml) const;

 private:
  bool writeTable(CMarkupSTL& xml) const;

  std::map<std::uint16_t, ColorInfo> table_;
  static DeviationColorScheme* colorScheme_;
};

/// Reads the colour file at `path` as the table does, without taking it. True when the table would have two entries or
/// more, as a legend needs; a problem (base/QmProblem.h) says why not. Remarks are values out of range, percentages
/// that an earlier entry has, and names that are missing, each with its line and column.
QUELCORE_API bool qmDeviationColorFileCheck(const qmWChar* path) noexcept;
