// Statistics of a compared cloud, one record for each of its bins.
#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "quelcore/QuelCoreApi.h"

/// Statistics of one bin, filled by the analysis that compares cloud and surface. A new record can be told from any
/// that something was added to: its doubles are the largest finite one.
class QmStatisticPerBin {
 public:
  double value0 = std::numeric_limits<double>::max();
  std::int64_t value1 = 0;
  double value2 = std::numeric_limits<double>::max();
  double value3 = std::numeric_limits<double>::max();
  double value4 = std::numeric_limits<double>::max();
};

static_assert(sizeof(QmStatisticPerBin) == 40);

/// A matrix of bins. Every row counts as long as the first. A value: copies are independent.
class QUELCORE_API QmResultsAnalysisCOPbyBins {
 public:
  /// Not initialised, without bins.
  QmResultsAnalysisCOPbyBins() = default;

  /// Takes the bins, rows outside, columns inside.
  void init(std::vector<std::vector<QmStatisticPerBin>> bins);

  /// The size of the first row, and the number of rows. False, with both 0, when there are no rows.
  bool getBinsMatrixSize(int& columns, int& rows) const;

  /// Copies one bin; false, with `result` as it was, when there is none at that place.
  bool getResultsPerBin(int column, int row, QmStatisticPerBin& result) const;

 private:
  bool initialised_ = false;
  std::vector<std::vector<QmStatisticPerBin>> bins_;
};
