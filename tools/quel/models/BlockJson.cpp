#include "models/BlockJson.h"

#include <cstring>

#include "models/BlockView.h"
#include "models/HeadIdentity.h"
#include "quel/measure/SharedPole.h"

namespace queltool {

namespace {

Json distortionJson(const tag_qmDistortParams& p, const tag_qmDistortLutsInfo& info) {
  Json json = {{"xp", p.xp},
               {"yp", p.yp},
               {"k1", p.k1},
               {"k2", p.k2},
               {"k3", p.k3},
               {"p1", p.p1},
               {"p2", p.p2},
               {"extra", p.distortExtra},
               {"option", p.distortOption},
               {"use_lut", info.useLut}};
  if (info.useLut != 0) json.set("lut_id", std::string(info.lutId, strnlen(info.lutId, sizeof(info.lutId))));
  return json;
}

Json cameraJson(const tag_qmReconsTensorData& t, int i) {
  Json json = {{"location_mm", t.cameraLocations[i]},
               {"projection", t.projections[i]},
               {"projection_in_lut_frame", t.projectionsInLutFrame[i]},
               {"image_centre_px", t.imageCentre[i]},
               {"image_scale_px", t.imageScale[i]},
               {"distortion", distortionJson(t.distortParams[i], t.distortLutsInfo[i])},
               {"distortion_type_1", distortionJson(t.distortParams2[i], t.distortLutsInfo2[i])},
               {"result_avg", t.resultAvg[i]},
               {"result_std", t.resultStd[i]},
               {"result_max", t.resultMax[i]}};
  const View view = viewOf(t, i);
  if (!view.valid) return json;
  json.set("intrinsics", view.k);
  json.set("rotation", view.r);
  json.set("translation_mm", view.t);
  return json;
}

Json headJson(const tag_qmReconsTensorData& t) {
  return {{"type", t.ohType},
          {"type_name", typeOf(t)},
          {"cameras", t.numCameras},
          {"image_width", t.imageWidth},
          {"image_height", t.imageHeight},
          {"working_distance_mm", t.workingDistance},
          {"calibration_distance_mm", t.calibDistance},
          {"pixel_to_world_ratio", t.pixel2WorldRatio},
          {"lens", t.lensType},
          {"pixel_size_mm", t.ccdPixelSize},
          {"parameter_4", t.headParam4},
          {"temperature_c", t.temperature},
          {"box_centre_mm", Json::list({t.reconstBoxCenterX, t.reconstBoxCenterY, t.reconstBoxCenterZ})},
          {"box_half_size_mm", Json::list({t.reconstBoxHalfSizeX, t.reconstBoxHalfSizeY, t.reconstBoxHalfSizeZ})}};
}

Json tablesJson(const tag_qmReconsTensorData& t) {
  return {{"transfer_flag", t.transferFlag},
          {"planar_flag", t.planarFlag},
          {"auxiliary_flag", t.auxFlag},
          {"metric_flag", t.reconsFlag},
          {"projections_valid", t.projectionsValid},
          {"epipole", t.epipole},
          {"planar_transfer", t.planarTransfer},
          {"planar_depth_scale", t.planarDepthScale},
          {"singular_transfer", t.singularTransfer},
          {"singular_depth_scale", t.singularDepthScale},
          {"pair_reconstruction", t.pairReconstruction},
          {"world_centre_mm", t.worldCentre},
          {"world_scale_mm", t.worldScale},
          {"view_matrices", t.viewMatrices},
          {"lut_frame_transform", t.lutFrameTransform},
          {"lut_extra_flag", t.lutExtraFlag},
          {"lut_extra_value", t.lutExtraValue}};
}

Json identityJson(const tag_qmReconsTensorData& t) {
  return {{"version", t.version},        {"machine", machineOf(t)},
          {"block", t.blockNumber},      {"calibration_time_stamp", t.calibrationTimeStamp},
          {"image_tag", t.imageTag},     {"calib_word_0", t.calibWord0},
          {"calib_word_2", t.calibWord2}};
}

Json healthJson(const std::vector<Check>& checks) {
  Json each;
  for (const Check& check : checks) {
    each.set(check.key, {{"verdict", nameOf(check.verdict)}, {"what", check.what}, {"finding", check.finding}});
  }
  return {{"verdict", nameOf(worstOf(checks))}, {"checks", each}};
}

Json polesJson(const tag_qmReconsTensorData& t) {
  Json list = Json::list({});
  for (const quel::SharedPole& pole : quel::sharedPoles(t)) {
    list.add({{"reference", pole.reference},
              {"targets", Json::list({pole.targetB, pole.targetC})},
              {"meaning", meaningOf(pole)}});
  }
  return list;
}

}  // namespace

Json jsonOfBlock(const tag_qmReconsTensorData& t, const std::vector<Check>& checks) {
  Json cameras = Json::list({});
  for (int i = 0; i < 3; ++i) cameras.add(cameraJson(t, i));
  return {{"identity", identityJson(t)}, {"head", headJson(t)},          {"cameras", cameras},
          {"tables", tablesJson(t)},     {"health", healthJson(checks)}, {"shared_denominators", polesJson(t)}};
}

}  // namespace queltool
