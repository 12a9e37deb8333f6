#include "quelcore/features/QmResultsAnalysisCOPbyBins.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstring>

#include "quelcore/features/features_fixture.h"

namespace {

using quel::testing::fieldAt;
using ::testing::ElementsAre;

QmStatisticPerBin bin(double value) {
  QmStatisticPerBin result;
  result.value0 = value;
  return result;
}

QmResultsAnalysisCOPbyBins twoRowsOfThree() {
  QmResultsAnalysisCOPbyBins results;
  results.init({{bin(1), bin(2), bin(3)}, {bin(4), bin(5), bin(6)}});
  return results;
}

TEST(QmStatisticPerBin, IsToldByTheLargestDoublesWhenNew) {
  const QmStatisticPerBin fresh;
  std::uint64_t words[5];
  std::memcpy(words, &fresh, sizeof(words));
  constexpr std::uint64_t kLargest = 0x7fefffffffffffff;
  EXPECT_THAT(words, ElementsAre(kLargest, 0, kLargest, kLargest, kLargest));
  QmStatisticPerBin assigned = bin(7);
  assigned = fresh;
  EXPECT_EQ(std::memcmp(&assigned, &fresh, sizeof(fresh)), 0);
}

TEST(QmResultsAnalysisCOPbyBins, HasNoBinsWhenNew) {
  const QmResultsAnalysisCOPbyBins results;
  int columns = 9, rows = 9;
  EXPECT_FALSE(results.getBinsMatrixSize(columns, rows));
  EXPECT_EQ(columns, 0);
  EXPECT_EQ(rows, 0);
  QmStatisticPerBin out = bin(8);
  EXPECT_FALSE(results.getResultsPerBin(0, 0, out));
  EXPECT_EQ(out.value0, 8.0);
  EXPECT_FALSE(fieldAt<bool>(results, 0));
}

TEST(QmResultsAnalysisCOPbyBins, GivesColumnsAndRows) {
  const QmResultsAnalysisCOPbyBins results = twoRowsOfThree();
  int columns = 0, rows = 0;
  EXPECT_TRUE(results.getBinsMatrixSize(columns, rows));
  EXPECT_EQ(columns, 3);
  EXPECT_EQ(rows, 2);
  EXPECT_TRUE(fieldAt<bool>(results, 0));
  EXPECT_EQ(sizeof(results), 8 + sizeof(std::vector<int>));
}

TEST(QmResultsAnalysisCOPbyBins, GivesABinByColumnAndRow) {
  const QmResultsAnalysisCOPbyBins results = twoRowsOfThree();
  QmStatisticPerBin out;
  EXPECT_TRUE(results.getResultsPerBin(2, 1, out));
  EXPECT_EQ(out.value0, 6.0);
  EXPECT_TRUE(results.getResultsPerBin(1, 0, out));
  EXPECT_EQ(out.value0, 2.0);
  for (const auto& [column, row] : {std::pair{3, 0}, {0, 2}, {-1, 0}, {0, -1}, {INT_MAX, 0}, {INT_MIN, INT_MIN}}) {
    EXPECT_FALSE(results.getResultsPerBin(column, row, out)) << column << " " << row;
  }
  EXPECT_EQ(out.value0, 2.0);
}

TEST(QmResultsAnalysisCOPbyBins, StaysInsideRowsOfUnequalLength) {
  QmResultsAnalysisCOPbyBins results;
  results.init({{bin(1), bin(2)}, {bin(3)}, {bin(4), bin(5), bin(6)}});
  QmStatisticPerBin out;
  EXPECT_FALSE(results.getResultsPerBin(1, 1, out));
  EXPECT_TRUE(results.getResultsPerBin(0, 1, out));
  EXPECT_FALSE(results.getResultsPerBin(2, 2, out));  // Beyond the first row's length.
}

TEST(QmResultsAnalysisCOPbyBins, IsCopiedByValueAndReplacedByTheNextInitialisation) {
  QmResultsAnalysisCOPbyBins results = twoRowsOfThree();
  const QmResultsAnalysisCOPbyBins copy = results;
  results.init({});
  int columns = 9, rows = 9;
  EXPECT_FALSE(results.getBinsMatrixSize(columns, rows));
  EXPECT_TRUE(copy.getBinsMatrixSize(columns, rows));
  results = copy;
  QmStatisticPerBin out;
  EXPECT_TRUE(results.getResultsPerBin(0, 1, out));
  EXPECT_EQ(out.value0, 4.0);
  results.init({{}});
  EXPECT_TRUE(results.getBinsMatrixSize(columns, rows));
  EXPECT_EQ(columns, 0);
  EXPECT_FALSE(results.getResultsPerBin(0, 0, out));
}

}  // namespace
