#include "quelcore/features/QmResultsAnalysisCOPbyBins.h"

#include <utility>

void QmResultsAnalysisCOPbyBins::init(std::vector<std::vector<QmStatisticPerBin>> bins) {
  bins_ = std::move(bins);
  initialised_ = true;
}

bool QmResultsAnalysisCOPbyBins::getBinsMatrixSize(int& columns, int& rows) const {
  rows = static_cast<int>(bins_.size());
  columns = bins_.empty() ? 0 : static_cast<int>(bins_.front().size());
  return !bins_.empty();
}

bool QmResultsAnalysisCOPbyBins::getResultsPerBin(int column, int row, QmStatisticPerBin& result) const {
  int columns = 0;
  int rows = 0;
  if (!getBinsMatrixSize(columns, rows) || column < 0 || column >= columns || row < 0 || row >= rows) return false;
  const std::vector<QmStatisticPerBin>& bins = bins_[static_cast<std::size_t>(row)];
  if (static_cast<std::size_t>(column) >= bins.size()) return false;  // A row shorter than the first.
  result = bins[static_cast<std::size_t>(column)];
  return true;
}
