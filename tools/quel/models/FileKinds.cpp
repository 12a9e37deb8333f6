#include "models/FileKinds.h"

#include <fmt/core.h>
#include <fnmatch.h>

#include <algorithm>

namespace queltool {

namespace fs = std::filesystem;

namespace {

bool begins(const FileSample& sample, const char* text) { return sample.text.starts_with(text); }

bool isDataFile(const FileSample& sample) { return rootOf(sample) == "QuelmetraDataFile"; }

bool hasColours(const FileSample& sample) { return isDataFile(sample) && hasText(sample, "<DeviationColorTable"); }
bool hasConfigTable(const FileSample& sample) { return isDataFile(sample) && hasText(sample, "<ConfigTable"); }

bool isLutFile(const FileSample& sample) { return sample.bytes.starts_with("\x89QLUT"); }
bool isTransform(const FileSample& sample) { return begins(sample, "QuelTransform"); }
bool isMaterials(const FileSample& sample) { return begins(sample, "QmM1"); }
bool isCorrectionTable(const FileSample& sample) { return rootOf(sample) == "BlockCorrectionParameters"; }
bool isTransformSets(const FileSample& sample) { return rootOf(sample) == "CommutatorTrns"; }
bool isCameras(const FileSample& sample) { return begins(sample, "{") && hasText(sample, "\"cameras\""); }
bool isBlockTable(const FileSample& sample) {
  return hasText(sample, "NumberOfBlocks") && hasText(sample, "[General]");
}
bool isMultiStage(const FileSample& sample) { return hasText(sample, "qmDistortLut") && hasText(sample, "[General]"); }
bool isCameraTypes(const FileSample& sample) { return hasText(sample, "[Camera ") && !hasText(sample, "[Machine]"); }
bool isPersistentValues(const FileSample& sample) { return hasText(sample, "[Machine]") || hasText(sample, "[HKEY_"); }

bool isNamed(const fs::path& file, const char* pattern) {
  const fs::path rooted = fs::path("/") / file;
  return fnmatch(fmt::format("*/{}", pattern).c_str(), rooted.c_str(), FNM_CASEFOLD) == 0;
}

// The first that a file looks like counts.
const std::vector<FileKind> kKinds = {
    {"lut", "LUT file", isLutFile, {"*.lut"}, checkLuts},
    {"transform", "transform file", isTransform, {"*.trn"}, checkTransform},
    {"materials", "material file", isMaterials, {}, checkMaterials},
    {"colours", "table of deviation colours", hasColours, {"DeviationColor.xml"}, checkColours},
    {"global-materials", "global materials", hasConfigTable, {}, checkGlobalMaterials},
    {"operations", "operations file", isDataFile, {}, checkOperations},
    {"correction-table", "correction table", isCorrectionTable, {}, checkCorrectionTable},
    {"transform-sets", "list of transform sets", isTransformSets, {"CommutatorTrnsManager.xml"}, checkTransformSets},
    {"cameras", "cameras of a head", isCameras, {}, checkCameras},
    {"block-table", "block table", isBlockTable, {"blocks.ini"}, checkBlockTable},
    {"multi-stage", "multi-stage calibration", isMultiStage, {"multistage/*.ini"}, checkMultiStage},
    {"camera-types", "camera types", isCameraTypes, {"cameras.ini"}, checkCameraTypes},
    {"values", "persistent values", isPersistentValues, {"quelmetra.ini"}, checkPersistentValues},
    {"parameters", "tuning values", nullptr, {"params.ini"}, checkParameters},
    {"cloud",
     "cloud of points",
     looksLikeCloud,
     {"*.ply", "*.pcd", "*.stl", "*.obj", "*.off", "*.pts", "*.xyz"},
     checkCloud},
    {"setup-map", "setup map", looksLikeSetupMap, {"SetupMap.txt"}, checkSetupMap},
    {"tensor", "tensor file", looksLikeTensor, {"*.tns"}, checkTensor},
    {"triplets", "point triplets", looksLikeTriplets, {}, checkTriplets},
    {"target-mask", "target mask", looksLikeTargetMask, {}, checkTargetMask},
    {"project",
     "file of the project store",
     nullptr,
     {"setup.qms", "autosetup.qms", "part.qmp", "partinfo.qmp"},
     checkPresence}};

}  // namespace

const std::vector<FileKind>& fileKinds() { return kKinds; }

const FileKind* kindOf(const FileSample& sample) {
  const std::vector<FileKind>& kinds = fileKinds();
  const auto looksSo = [&](const FileKind& kind) { return kind.looksSo != nullptr && kind.looksSo(sample); };
  const auto isNamedSo = [&](const FileKind& kind) {
    return std::any_of(kind.names.begin(), kind.names.end(),
                       [&](const char* each) { return isNamed(sample.file, each); });
  };
  auto found = std::find_if(kinds.begin(), kinds.end(), looksSo);
  if (found == kinds.end()) found = std::find_if(kinds.begin(), kinds.end(), isNamedSo);
  return found == kinds.end() ? nullptr : &*found;
}

const FileKind* kindNamed(const std::string& word) {
  const std::vector<FileKind>& kinds = fileKinds();
  const auto found = std::find_if(kinds.begin(), kinds.end(), [&](const FileKind& kind) { return word == kind.word; });
  return found == kinds.end() ? nullptr : &*found;
}

}  // namespace queltool
