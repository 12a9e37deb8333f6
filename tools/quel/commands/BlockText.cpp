// A block in human form, group by group.
#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <sstream>

#include "commands/BlockReport.h"
#include "models/HeadIdentity.h"
#include "quel/measure/SharedPole.h"

namespace queltool {

namespace {

// To four decimals, without the sign of a zero.
double tidy(double value) { return std::round(value * 1e4) / 1e4 + 0.0; }

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

std::string three(const double (&v)[3], const char* unit) {
  return fmt::format("{:>12.4f} {:>12.4f} {:>12.4f}  {}", tidy(v[0]), tidy(v[1]), tidy(v[2]), unit);
}

std::string axisText(double centre, double half) {
  return half < 0.0 ? fmt::format("{:.3f}, no limit", centre) : fmt::format("{:.3f} +- {:.3f} mm", centre, half);
}

void printResults(const tag_qmReconsTensorData& t) {
  title("Calibration result (-1: unknown)");
  printLine("average per camera", three(t.resultAvg, ""));
  printLine("standard deviation", three(t.resultStd, ""));
  printLine("maximum", three(t.resultMax, ""));
  printLine("further figures",
            fmt::format("{:g} {:g} {:g}, {}", t.resultValue0, t.resultValue1, t.resultValue2, t.resultInt));
}

std::string lutText(const tag_qmDistortParams& params, const tag_qmDistortLutsInfo& info) {
  if (info.useLut == 0) return "none";
  const std::string id(info.lutId, strnlen(info.lutId, sizeof(info.lutId)));
  if (params.luts == nullptr) return id + " (not loaded)";
  return fmt::format("{} ({} layers)", id, params.luts->tableCount);
}

void addPose(BlockRows& rows, const View& view) {
  rows.push_back(
      {"focal lengths, skew", fmt::format("{:.4f} {:.4f}, {:.4f} px", view.k[0][0], view.k[1][1], tidy(view.k[0][1]))});
  rows.push_back({"principal point", fmt::format("({:.4f}, {:.4f}) px", view.k[0][2], view.k[1][2])});
  rows.push_back({"rotation", three(view.r[0], "") + '\n' + three(view.r[1], "") + '\n' + three(view.r[2], "")});
  rows.push_back({"translation", three(view.t, "mm")});
}

void addDistortion(BlockRows& rows, const tag_qmDistortParams& p) {
  rows.push_back({"distortion centre", fmt::format("({:.3f}, {:.3f}) px, option {}", p.xp, p.yp, p.distortOption)});
  rows.push_back({"  k1 k2 k3", fmt::format("{:.6e} {:.6e} {:.6e}", p.k1, p.k2, p.k3)});
  rows.push_back({"  p1 p2", fmt::format("{:.6e} {:.6e}", p.p1, p.p2)});
  rows.push_back({"  extra", fmt::format("{:.3e} {:.3e} {:.3e} {:.3e} {:.3e}", p.distortExtra[0], p.distortExtra[1],
                                         p.distortExtra[2], p.distortExtra[3], p.distortExtra[4])});
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

BlockRows identityRows(const tag_qmReconsTensorData& t) {
  return {{"file version", fmt::format("{}", t.version)},
          {"machine, block", fmt::format("{}, {}", machineOf(t), t.blockNumber)},
          {"calibration time stamp", fmt::format("{}", t.calibrationTimeStamp)},
          {"image tag, words", fmt::format("{}, {} {}", t.imageTag, t.calibWord0, t.calibWord2)}};
}

BlockRows headRows(const tag_qmReconsTensorData& t) {
  return {
      {"cameras",
       fmt::format("{}, type {} \"{}\", {} x {} px", t.numCameras, t.ohType, typeOf(t), t.imageWidth, t.imageHeight)},
      {"working distance", fmt::format("{:.3f} mm", t.workingDistance)},
      {"calibration distance", fmt::format("{:.3f} mm", t.calibDistance)},
      {"pixel to world ratio", fmt::format("{:.4f} px/mm", t.pixel2WorldRatio)},
      {"lens, pixel size", fmt::format("{:g}, {:g} mm", t.lensType, t.ccdPixelSize)},
      {"head parameter 4", fmt::format("{:g}", t.headParam4)},
      {"temperatures", fmt::format("{:.2f} {:.2f} {:.2f} deg C", t.temperature[0], t.temperature[1], t.temperature[2])},
      {"reconstruction box X", axisText(t.reconstBoxCenterX, t.reconstBoxHalfSizeX)},
      {"reconstruction box Y", axisText(t.reconstBoxCenterY, t.reconstBoxHalfSizeY)},
      {"reconstruction box Z", axisText(t.reconstBoxCenterZ, t.reconstBoxHalfSizeZ)}};
}

BlockRows cameraRows(const tag_qmReconsTensorData& t, int i) {
  BlockRows rows = {{"location", three(t.cameraLocations[i], "mm")}};
  const View view = viewOf(t, i);
  if (view.valid) {
    addPose(rows, view);
  } else {
    rows.push_back({"projection", "none that can be decomposed"});
  }
  rows.push_back({"image normalisation", fmt::format("({:.4f}, {:.4f}) / {:.4f} px", t.imageCentre[i][0],
                                                     t.imageCentre[i][1], t.imageScale[i])});
  addDistortion(rows, t.distortParams[i]);
  rows.push_back({"LUT type 0", lutText(t.distortParams[i], t.distortLutsInfo[i])});
  rows.push_back({"LUT type 1", lutText(t.distortParams2[i], t.distortLutsInfo2[i])});
  return rows;
}

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
