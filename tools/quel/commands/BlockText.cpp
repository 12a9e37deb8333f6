// A block in human form, group by group.
#include <fmt/core.h>

#include <algorithm>
#include <sstream>

#include "commands/BlockReport.h"
#include "models/BlockRows.h"
#include "quel/measure/SharedPole.h"

namespace queltool {

namespace {

// Share of a table that is not zero, for tables that nothing reads.
template <typename T>
std::size_t nonZero(const T& table) {
  const auto* first = reinterpret_cast<const double*>(&table);
  return static_cast<std::size_t>(
      std::count_if(first, first + sizeof(T) / sizeof(double), [](double value) { return value != 0.0; }));
}

void title(const std::string& text) { fmt::print("\n{}\n", text); }

void printLine(const std::string& name, const std::string& value) { fmt::print("  {:<26}{}\n", name, value); }

// Further lines of a value stand below the first.
void printRow(const BlockRow& row) {
  std::string name = row.name;
  std::istringstream lines(row.value);
  for (std::string each; std::getline(lines, each); name.clear()) printLine(name, each);
}

void printRows(const std::string& heading, const BlockRows& rows) {
  title(heading);
  for (const BlockRow& row : rows) printRow(row);
}

void printResults(const tag_qmReconsTensorData& t) {
  title("Calibration result (-1: unknown)");
  printLine("average per camera", threeNumbers(t.resultAvg, ""));
  printLine("standard deviation", threeNumbers(t.resultStd, ""));
  printLine("maximum", threeNumbers(t.resultMax, ""));
  printLine("further figures",
            fmt::format("{:g} {:g} {:g}, {}", t.resultValue0, t.resultValue1, t.resultValue2, t.resultInt));
}

void printPairs(const tag_qmReconsTensorData& t) {
  title("Transfer between views (normalised coordinates)");
  fmt::print("  {:<8}{:>36}{:>16}{:>16}\n", "pair", "epipole", "planar unit", "singular unit");
  for (int a = 0; a < 3; ++a) {
    for (int b = 0; b < 3; ++b) {
      if (a == b) continue;
      const double(&e)[3] = t.epipole[a][b];
      fmt::print("  {} to {}  {:>12.6f}{:>12.6f}{:>12.6f}{:>16.6e}{:>16.6e}\n", a, b, e[0], e[1], e[2],
                 t.planarDepthScale[a][b], t.singularDepthScale[a][b]);
    }
  }
  printLine("world normalisation", fmt::format("({:.4f}, {:.4f}, {:.4f}) / {:.4f} mm", t.worldCentre[0],
                                               t.worldCentre[1], t.worldCentre[2], t.worldScale));
  printLine("flags", fmt::format("transfer {}, planar {}, auxiliary {}, metric {}, projections {}", t.transferFlag,
                                 t.planarFlag, t.auxFlag, t.reconsFlag, t.projectionsValid));
}

void printKept(const tag_qmReconsTensorData& t) {
  title("Kept as it is (numbers other than 0)");
  printLine("coefficients", fmt::format("{} of 729, {} of 324, {} of 432", nonZero(t.tensorCoefficients),
                                        nonZero(t.tensorCoefficients2), nonZero(t.reconsCoefficients)));
  printLine("auxiliary transfers",
            fmt::format("{} {} {} of 81", nonZero(t.auxTransfer0), nonZero(t.auxTransfer1), nonZero(t.auxTransfer2)));
  printLine("view matrices", fmt::format("{} of 48", nonZero(t.viewMatrices)));
  printLine("LUT flag and values", fmt::format("{}, {:g} {:g} {:g}", t.lutExtraFlag, t.lutExtraValue[0],
                                               t.lutExtraValue[1], t.lutExtraValue[2]));
  title("LUT frame to world");
  for (int row = 0; row < 3; ++row) {
    const double(&r)[4] = t.lutFrameTransform[row];
    fmt::print("  {:>12.6f} {:>12.6f} {:>12.6f} {:>12.4f}\n", r[0], r[1], r[2], r[3]);
  }
}

void printPoles(const tag_qmReconsTensorData& t) {
  for (const quel::SharedPole& pole : quel::sharedPoles(t)) fmt::print("  note     {}\n", meaningOf(pole));
}

void printHealth(const std::vector<Check>& checks) {
  title("Health");
  for (const Check& check : checks) {
    fmt::print("  {:<8} {:<46} {}\n", nameOf(check.verdict), check.what, check.finding);
  }
}

}  // namespace

void printBlock(const tag_qmReconsTensorData& t, const std::vector<Check>& checks) {
  printRows("Identity", identityRows(t));
  printRows("Head", headRows(t));
  for (int i = 0; i < 3; ++i) printRows(fmt::format("Camera {}", i), cameraRows(t, i));
  printPairs(t);
  printResults(t);
  printKept(t);
  printHealth(checks);
  printPoles(t);
}

}  // namespace queltool
