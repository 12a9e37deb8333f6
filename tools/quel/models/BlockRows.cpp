#include "models/BlockRows.h"

#include <fmt/core.h>

#include <cmath>
#include <cstring>

#include "models/BlockView.h"
#include "models/HeadIdentity.h"

namespace queltool {

namespace {

// To four decimals, without the sign of a zero.
double tidy(double value) { return std::round(value * 1e4) / 1e4 + 0.0; }

std::string axisText(double centre, double half) {
  return half < 0.0 ? fmt::format("{:.3f}, no limit", centre) : fmt::format("{:.3f} +- {:.3f} mm", centre, half);
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
  rows.push_back({"rotation", threeNumbers(view.r[0], "") + '\n' + threeNumbers(view.r[1], "") + '\n' +
                                  threeNumbers(view.r[2], "")});
  rows.push_back({"translation", threeNumbers(view.t, "mm")});
}

void addDistortion(BlockRows& rows, const tag_qmDistortParams& p) {
  rows.push_back({"distortion centre", fmt::format("({:.3f}, {:.3f}) px, option {}", p.xp, p.yp, p.distortOption)});
  rows.push_back({"  k1 k2 k3", fmt::format("{:.6e} {:.6e} {:.6e}", p.k1, p.k2, p.k3)});
  rows.push_back({"  p1 p2", fmt::format("{:.6e} {:.6e}", p.p1, p.p2)});
  rows.push_back({"  extra", fmt::format("{:.3e} {:.3e} {:.3e} {:.3e} {:.3e}", p.distortExtra[0], p.distortExtra[1],
                                         p.distortExtra[2], p.distortExtra[3], p.distortExtra[4])});
}

}  // namespace

std::string threeNumbers(const double (&v)[3], const char* unit) {
  return fmt::format("{:>12.4f} {:>12.4f} {:>12.4f}  {}", tidy(v[0]), tidy(v[1]), tidy(v[2]), unit);
}

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
  BlockRows rows = {{"location", threeNumbers(t.cameraLocations[i], "mm")}};
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

}  // namespace queltool
