#include "testing/TensorFile.h"

#include <cstring>
#include <stdexcept>

namespace quel::testing {

namespace {

class Bytes {
 public:
  template <typename T>
  void put(const T& value) {
    text_.append(reinterpret_cast<const char*>(&value), sizeof(value));
  }
  void pad() { text_.append(4, '\0'); }
  void append(const std::string& text) { text_ += text; }

  /// The description gives the offset of every group; here it is held against what was written.
  void at(std::size_t offset) const {
    if (text_.size() + shift_ != offset) throw std::logic_error("offset " + std::to_string(offset) + " is not reached");
  }
  void shift(std::size_t bytes) { shift_ = bytes; }

  const std::string& text() const { return text_; }

 private:
  std::string text_;
  std::size_t shift_ = 0;
};

void putGroupOfAllVersions(const tag_qmReconsTensorData& t, Bytes& out) {
  out.at(4);
  out.put(t.numCameras);
  out.pad();
  out.at(12);
  out.put(t.tensorCoefficients);
  out.at(5844);
  out.put(t.tensorCoefficients2);
  out.at(8436);
  out.put(t.transferFlag);
  out.pad();
  out.at(8444);
  out.put(t.epipole);
  out.at(8660);
  out.put(t.imageCentre);
  out.at(8708);
  out.put(t.imageScale);
  out.at(8732);
  out.put(t.auxTransfer0);
  out.at(9380);
  out.put(t.singularTransfer);
  out.at(10028);
  out.put(t.singularDepthScale);
  out.at(10100);
  out.put(t.auxTransfer1);
  out.at(10748);
  out.put(t.planarFlag);
  out.pad();
  out.at(10756);
  out.put(t.planarTransfer);
  out.at(11404);
  out.put(t.planarDepthScale);
  out.at(11476);
  out.put(t.auxFlag);
  out.pad();
  out.at(11484);
  out.put(t.auxTransfer2);
  out.at(12132);
  out.put(t.reconsFlag);
  out.pad();
  out.at(12140);
  out.put(t.reconsCoefficients);
  out.at(15596);
  out.put(t.pairReconstruction);
  out.at(16748);
  out.put(t.viewMatrices);
  out.at(17132);
  out.put(t.worldCentre);
  out.at(17156);
  out.put(t.worldScale);
  out.at(17164);
}

void putIds(const tag_qmDistortLutsInfo (&infos)[3], Bytes& out) {
  for (const tag_qmDistortLutsInfo& info : infos) {
    const std::string text = info.useLut != 0 ? std::string(info.lutId) + '\0' : std::string();
    out.append(lutEntry(static_cast<std::uint16_t>(text.size()), text));
  }
}

void putVersion5(const tag_qmReconsTensorData& t, Bytes& out) {
  for (const tag_qmDistortParams& p : t.distortParams) {
    for (const double value : {p.xp, p.yp, p.k1, p.k2, p.k3, p.p1, p.p2}) out.put(value);
  }
  out.put(t.resultAvg);
  out.put(t.resultStd);
  out.put(t.resultMax);
  out.put(t.resultValue0);
  out.put(t.resultValue1);
  out.put(t.resultValue2);
  out.put(t.resultInt);
}

/// The groups that have a fixed offset, -1 to -11.
void putFixedGroups(const tag_qmReconsTensorData& t, std::int32_t version, Bytes& out) {
  if (version > -1) return;
  out.put(t.temperature[0]);
  out.at(17172);
  if (version > -2) return;
  out.put(t.ohType);
  out.put(t.pixel2WorldRatio);
  out.at(17184);
  if (version > -3) return;
  for (const double value : {t.workingDistance, t.lensType, t.ccdPixelSize, t.headParam4}) out.put(value);
  out.at(17216);
  if (version > -4) return;
  out.put(t.projectionsValid);
  out.put(t.projections);
  out.at(17604);
  if (version > -5) return;
  putVersion5(t, out);
  out.at(17872);
  if (version > -6) return;
  out.put(t.machineId);
  for (const std::int32_t word : {t.blockNumber, t.calibWord0, t.imageTag, t.calibWord2}) out.put(word);
  out.at(17896);
  if (version > -7) return;
  out.put(t.reconstBoxCenterZ);
  out.put(t.reconstBoxHalfSizeZ);
  out.at(17912);
  if (version > -8) return;
  out.put(t.calibrationTimeStamp);
  out.at(17916);
  if (version > -9) return;
  out.put(t.cameraLocations);
  out.put(t.calibDistance);
  out.at(17996);
  if (version > -10) return;
  out.put(t.temperature[1]);
  out.put(t.temperature[2]);
  out.at(18012);
  if (version > -11) return;
  for (const double value : {t.reconstBoxCenterX, t.reconstBoxHalfSizeX, t.reconstBoxCenterY, t.reconstBoxHalfSizeY}) {
    out.put(value);
  }
  out.at(18044);
}

/// The groups behind the first identifiers, whose offsets depend on these.
void putFloatingGroups(const tag_qmReconsTensorData& t, std::int32_t version, bool optionWord, Bytes& out) {
  if (version > -12) return;
  putIds(t.distortLutsInfo, out);
  if (version > -13) return;
  for (const tag_qmDistortParams& p : t.distortParams) out.put(p.distortExtra);
  if (version > -14) return;
  out.put(t.lutExtraFlag);
  out.put(t.lutExtraValue);
  if (version > -15) return;
  putIds(t.distortLutsInfo2, out);
  if (version > -16) return;
  out.put(t.lutFrameTransform);
  out.put(t.projectionsInLutFrame);
  if (version > -17 || !optionWord) return;
  out.put(t.distortParams[0].distortOption);
}

template <typename T>
void fill(T& field, double first) {
  auto* values = reinterpret_cast<double*>(&field);
  for (std::size_t i = 0; i < sizeof(field) / sizeof(double); ++i) values[i] = first + 0.125 * static_cast<double>(i);
}

bool sameModel(const tag_qmDistortParams& a, const tag_qmDistortParams& b) {
  return std::memcmp(&a, &b, offsetof(tag_qmDistortParams, luts)) == 0 && a.distortOption == b.distortOption;
}

bool sameLut(const tag_qmDistortLutsInfo& a, const tag_qmDistortLutsInfo& b) {
  return a.useLut == b.useLut && std::strncmp(a.lutId, b.lutId, LUT_ID_SIZE) == 0;
}

}  // namespace

std::string tensorFileBytes(const tag_qmReconsTensorData& tensor, std::int32_t version, bool optionWord) {
  Bytes out;
  out.put(version);
  putGroupOfAllVersions(tensor, out);
  putFixedGroups(tensor, version, out);
  putFloatingGroups(tensor, version, optionWord, out);
  return out.text();
}

std::string legacyTensorFileBytes(const tag_qmReconsTensorData& tensor) {
  Bytes out;
  out.shift(4);
  putGroupOfAllVersions(tensor, out);
  return out.text();
}

std::string lutEntry(std::uint16_t length, const std::string& text) {
  const char bytes[2] = {static_cast<char>(length & 0xFF), static_cast<char>(length >> 8)};
  return std::string(bytes, 2) + text;
}

void fillPreservedFields(tag_qmReconsTensorData& t) {
  fill(t.tensorCoefficients, 1000.0);
  fill(t.tensorCoefficients2, 2000.0);
  t.transferFlag = 11;
  fill(t.auxTransfer0, 3000.0);
  fill(t.auxTransfer1, 4000.0);
  t.planarFlag = 12;
  t.auxFlag = 13;
  fill(t.auxTransfer2, 5000.0);
  fill(t.reconsCoefficients, 6000.0);
  fill(t.viewMatrices, 7000.0);
  fill(t.temperature, 21.0);
  t.pixel2WorldRatio = 4.5;
  t.headParam4 = 71.5;
  fill(t.resultAvg, 0.01);
  fill(t.resultStd, 0.51);
  fill(t.resultMax, 0.81);
  t.resultValue0 = 0.1;
  t.resultValue1 = 0.2;
  t.resultValue2 = 0.3;
  t.resultInt = 14;
  std::memcpy(t.machineId, "ABCD1234", 8);
  t.blockNumber = 7;
  t.calibWord0 = 15;
  t.imageTag = 16;
  t.calibWord2 = 17;
  t.calibrationTimeStamp = 18;
  t.reconstBoxCenterZ = 19.5;
  t.reconstBoxHalfSizeZ = 20.5;
  t.reconstBoxCenterX = 21.5;
  t.reconstBoxHalfSizeX = 22.5;
  t.reconstBoxCenterY = 23.5;
  t.reconstBoxHalfSizeY = 24.5;
  t.calibDistance = 1234.5;
  t.lutExtraFlag = 25;
  fill(t.lutExtraValue, 26.0);
  fill(t.lutFrameTransform, 8000.0);
  fill(t.projectionsInLutFrame, 9000.0);
}

std::string differingFields(const tag_qmReconsTensorData& a, const tag_qmReconsTensorData& b) {
  std::string names;
#define COMPARE(field) \
  if (std::memcmp(&a.field, &b.field, sizeof(a.field)) != 0) names += #field " "
  COMPARE(version);
  COMPARE(numCameras);
  COMPARE(tensorCoefficients);
  COMPARE(tensorCoefficients2);
  COMPARE(transferFlag);
  COMPARE(epipole);
  COMPARE(imageCentre);
  COMPARE(imageScale);
  COMPARE(auxTransfer0);
  COMPARE(singularTransfer);
  COMPARE(singularDepthScale);
  COMPARE(auxTransfer1);
  COMPARE(planarFlag);
  COMPARE(planarTransfer);
  COMPARE(planarDepthScale);
  COMPARE(auxFlag);
  COMPARE(auxTransfer2);
  COMPARE(reconsFlag);
  COMPARE(reconsCoefficients);
  COMPARE(pairReconstruction);
  COMPARE(viewMatrices);
  COMPARE(worldCentre);
  COMPARE(worldScale);
  COMPARE(temperature);
  COMPARE(ohType);
  COMPARE(pixel2WorldRatio);
  COMPARE(workingDistance);
  COMPARE(lensType);
  COMPARE(ccdPixelSize);
  COMPARE(headParam4);
  COMPARE(projectionsValid);
  COMPARE(projections);
  COMPARE(resultAvg);
  COMPARE(resultStd);
  COMPARE(resultMax);
  COMPARE(resultValue0);
  COMPARE(resultValue1);
  COMPARE(resultValue2);
  COMPARE(resultInt);
  COMPARE(machineId);
  COMPARE(blockNumber);
  COMPARE(calibWord0);
  COMPARE(imageTag);
  COMPARE(calibWord2);
  COMPARE(calibrationTimeStamp);
  COMPARE(reconstBoxCenterZ);
  COMPARE(reconstBoxHalfSizeZ);
  COMPARE(cameraLocations);
  COMPARE(calibDistance);
  COMPARE(reconstBoxCenterX);
  COMPARE(reconstBoxHalfSizeX);
  COMPARE(reconstBoxCenterY);
  COMPARE(reconstBoxHalfSizeY);
  COMPARE(lutExtraFlag);
  COMPARE(lutExtraValue);
  COMPARE(lutFrameTransform);
  COMPARE(projectionsInLutFrame);
  COMPARE(imageWidth);
  COMPARE(imageHeight);
#undef COMPARE
  for (int i = 0; i < 3; ++i) {
    const std::string index = std::string("[").append(std::to_string(i)).append("] ");
    if (!sameModel(a.distortParams[i], b.distortParams[i])) names += "distortParams" + index;
    if (!sameModel(a.distortParams2[i], b.distortParams2[i])) names += "distortParams2" + index;
    if (!sameLut(a.distortLutsInfo[i], b.distortLutsInfo[i])) names += "distortLutsInfo" + index;
    if (!sameLut(a.distortLutsInfo2[i], b.distortLutsInfo2[i])) names += "distortLutsInfo2" + index;
  }
  return names;
}

}  // namespace quel::testing
