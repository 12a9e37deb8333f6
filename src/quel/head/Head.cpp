#include "quel/head/Head.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <mutex>
#include <system_error>
#include <utility>

#include "quel/base/Paths.h"
#include "quel/base/Readings.h"
#include "quel/base/TemporaryFolder.h"
#include "quel/cameras/HeadMaker.h"
#include "quel/head/BlockFiles.h"
#include "quelcore/blocks/QmBlockCorrectionParameters.h"
#include "quelcore/tensor/QmReconsTensor.h"
#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelplatform/qmDistort/DistortLutsManager.h"
#include "quelplatform/qmDistort/calibrationPairEmbedded.h"
#include "quelplatform/qmEnv/qmCamera.h"

namespace quel {

namespace fs = std::filesystem;

namespace {

std::string textOf(const char (&machineId)[kMachineIdSize]) { return {machineId, strnlen(machineId, kMachineIdSize)}; }

Result<void> refuseForeignLuts(const fs::path& file, const fs::path& luts) {
  const Reasons reasons;
  auto stamp = quelplatform::LutStamp::kNone;
  if (!quelplatform::compareLutStamp(widePath(luts).c_str(), widePath(file).c_str(), stamp)) {
    return Error{"cannot be compared with " + file.string() + reasons.text(), luts.string()};
  }
  if (stamp != quelplatform::LutStamp::kForeign) return {};
  return Error{"was stored with another tensor file than " + file.string() +
                   "; make the block again, or take both files from one copy",
               luts.string()};
}

// Readings of tensors ask caches that belong to the process.
Result<void> read(QmReconsTensor& tensor, const fs::path& file) {
  static std::mutex oneByOne;
  const std::lock_guard lock(oneByOne);
  const Reasons reasons;
  if (!tensor.LoadFromFile(widePath(file).c_str())) return unreadable(file, reasons);
  return {};
}

Result<void> makeFolder(const fs::path& folder) {
  std::error_code error, unknown;
  fs::create_directories(folder, error);
  if (fs::is_directory(folder, unknown)) return {};
  return Error{"the folder cannot be made: " + error.message(), folder.string()};
}

Result<void> refuseToOverwrite(const BlockFiles& files) {
  std::error_code unknown;
  for (const fs::path& file : {files.tensor, files.luts}) {
    if (!file.empty() && fs::exists(file, unknown)) {
      return Error{"this block is there already and stays", file.string()};
    }
  }
  return {};
}

// Identifiers come out of files too; a name of them may not lead out of the folder.
bool isName(const std::string& machineId) {
  return machineId != "." && machineId != ".." && machineId.find_first_of("/\\") == std::string::npos;
}

// Heads of the QuelHead 200 family keep their LUT file when a tensor is stored; a new place needs its first one.
bool storeFirstLuts(const tag_qmReconsTensorData& tensor, const fs::path& file) {
  DistortLutsManager::LutList luts;
  const auto add = [&luts](const tag_qmDistortParams& params, const tag_qmDistortLutsInfo& info) {
    if (info.useLut != 0 && params.luts != nullptr) luts.emplace_back(info.lutId, params.luts);
  };
  for (std::size_t i = 0; i < 3; ++i) add(tensor.distortParams[i], tensor.distortLutsInfo[i]);
  for (std::size_t i = 0; i < 3; ++i) add(tensor.distortParams2[i], tensor.distortLutsInfo2[i]);
  return luts.empty() || DistortLutsManager::storeLutsFile(luts, widePath(file).c_str(), true);
}

Result<void> write(const tag_qmReconsTensorData& tensor, const BlockFiles& made, const fs::path& file) {
  const Reasons reasons;
  QmReconsTensor copy(tensor);
  const bool stored = (!isQuelHead200(static_cast<OH_CAMERA_TYPE>(tensor.ohType)) || storeFirstLuts(copy, made.luts)) &&
                      copy.StoreToFile(widePath(made.tensor).c_str());
  if (stored) return {};
  return Error{"the block cannot be stored" + reasons.text(), file.string()};
}

template <std::size_t Rows, std::size_t Columns>
bool isFinite(const double (&matrix)[Rows][Columns]) {
  const double* values = matrix[0];
  return std::all_of(values, values + Rows * Columns, [](double value) { return std::isfinite(value); });
}

bool isFinite(const tag_qmDistortParams& p) {
  const double values[1][7] = {{p.k1, p.k2, p.k3, p.p1, p.p2, p.xp, p.yp}};
  return isFinite(values);
}

bool isFinite(const tag_qmReconsTensorData& head) {
  for (int camera = 0; camera < 3; ++camera) {
    if (!isFinite(head.projections[camera]) || !isFinite(head.projectionsInLutFrame[camera]) ||
        !isFinite(head.distortParams[camera]) || !isFinite(head.distortParams2[camera])) {
      return false;
    }
  }
  return true;
}

// A file older than this version holds one temperature, which serves as all three.
constexpr std::int32_t kThreeTemperatures = -10;
constexpr double kTemperatureUnknown = -273.0;

void setReference(tag_qmReconsTensorData& head, double temperature) {
  head.temperature[TEMPERATURE_REFERENCE] = temperature;
  if (head.version <= kThreeTemperatures) return;
  head.temperature[TEMPERATURE_FIRST] = head.temperature[TEMPERATURE_SECOND] = temperature;
}

// What keeps `head` from being compensated; empty where nothing does.
std::string whyNot(const tag_qmReconsTensorData& head, double temperature) {
  const double reference = head.temperature[TEMPERATURE_REFERENCE];
  if (!std::isfinite(temperature)) return "the temperature is no finite number";
  if (head.projectionsValid != 1) return "the head holds no projections; it must be calibrated anew";
  if (!std::isfinite(reference) || reference <= kTemperatureUnknown) {
    return "the head does not tell the temperature of its calibration; it cannot be compensated";
  }
  return {};
}

HeadLens lensOf(const tag_qmDistortParams& p) {
  HeadLens lens{{p.xp, p.yp}, p.k1, p.k2, p.k3, p.p1, p.p2, {}, p.distortOption, p.luts != nullptr};
  std::copy(std::begin(p.distortExtra), std::end(p.distortExtra), lens.extra.begin());
  return lens;
}

}  // namespace

struct Head::State {
  QmReconsTensor tensor;
  std::array<std::string, 3> names = {"camera 0", "camera 1", "camera 2"};
  std::optional<std::array<DistortionFit, 3>> fit = {};
};

Result<Head> Head::load(const fs::path& file) {
  std::error_code unknown;
  if (fs::exists(file, unknown) && !fs::is_regular_file(file, unknown)) {
    return Error{"is no regular file; give the tensor file of a block, such as QUEL0001-1.tns", file.string()};
  }
  auto state = std::make_shared<State>();
  if (const auto done = read(state->tensor, file); !done) return done.error();
  if (usesLuts(state->tensor)) {
    if (const auto done = refuseForeignLuts(file, lutsBeside(file, state->tensor)); !done) return done.error();
  }
  return Head(std::move(state));
}

Result<Head> Head::fromCameras(std::span<const Camera, 3> cameras, const HeadOptions& options) {
  const Result<MadeHead> made = makeHead({cameras[0], cameras[1], cameras[2]}, options);
  if (!made) return made.error();
  auto state = std::make_shared<State>();
  state->tensor = made->tensor;
  state->names = {cameras[0].name, cameras[1].name, cameras[2].name};
  state->fit = made->distortion;
  return Head(std::move(state));
}

Head Head::fromRecord(const tag_qmReconsTensorData& record) {
  auto state = std::make_shared<State>();
  state->tensor = record;
  return Head(std::move(state));
}

Head Head::withCameraNames(const std::array<std::string, 3>& names) const {
  auto state = std::make_shared<State>(*state_);
  state->names = names;
  return Head(std::move(state));
}

Result<fs::path> Head::store(const fs::path& folder, bool overwrite) const {
  const HeadIdentity own = identity();
  if (!isName(own.machineId)) {
    return Error{"the head's machine is \"" + own.machineId + "\", which is no name of a file", folder.string()};
  }
  BlockFiles files = filesOfBlock(folder, own.machineId, own.blockNumber);
  const fs::path lutsName = files.luts.filename();
  if (!isTakenByDoors(files.tensor)) return Error{"a path may hold no '\\' and nothing but UTF-8", folder.string()};
  if (!usesLuts(record())) files.luts.clear();
  if (const auto done = makeFolder(folder); !done) return done.error();
  if (!overwrite) {
    if (const auto done = refuseToOverwrite(files); !done) return done.error();
  }
  TemporaryFolder temporary;
  if (const auto done = temporary.make(); !done) return done.error();
  BlockFiles made{temporary.path() / files.tensor.filename(), temporary.path() / lutsName};
  if (const auto done = write(record(), made, files.tensor); !done) return done.error();
  if (files.luts.empty()) made.luts.clear();
  if (const auto done = replaceBlock(made, files); !done) return done.error();
  return files.tensor;
}

Result<HeadCamera> Head::camera(int camera) const {
  if (camera < 0 || camera > 2) return Error{"a head has the cameras 0, 1 and 2, and no " + std::to_string(camera)};
  const tag_qmReconsTensorData& head = record();
  if (head.projectionsValid != 1) return Error{"the head holds no projections; it must be calibrated anew"};
  double K[3][3], inverse[3][3], R[3][3], t[3];
  if (qmRTdecomposeProj(head.projections[camera], K, inverse, R, t) != 1) {
    return Error{"the projection of camera " + std::to_string(camera) + " is none of a camera"};
  }
  HeadCamera result;
  result.name = state_->names[static_cast<std::size_t>(camera)];
  std::memcpy(&result.K, K, sizeof K);
  std::memcpy(&result.R, R, sizeof R);
  std::memcpy(&result.t, t, sizeof t);
  result.distortion = lensOf(head.distortParams[camera]);
  result.width = head.imageWidth;
  result.height = head.imageHeight;
  return result;
}

HeadIdentity Head::identity() const {
  const tag_qmReconsTensorData& head = record();
  return {textOf(head.machineId), head.blockNumber, head.calibWord0,
          head.imageTag,          head.calibWord2,  head.calibrationTimeStamp};
}

bool Head::belongsTo(const ImageIdentity& image) const {
  if (image.machineId.size() > kMachineIdSize) return false;
  tag_qmImageID id{{}, image.imageTag, image.calibrationTimeStamp, image.blockNumber};
  image.machineId.copy(id.machineId, kMachineIdSize);
  return state_->tensor.IsCompatibleToImage(id);
}

Result<Head> Head::compensated(const fs::path& table, double temperature) const {
  const auto rates = CorrectionTable::load(table);
  if (!rates) return rates.error();
  return compensated(*rates, temperature);
}

Result<Head> Head::compensated(const CorrectionTable& table, double temperature) const {
  const std::string wrong = whyNot(record(), temperature);
  if (!wrong.empty()) return Error{wrong};
  QmBlockCorrectionParameters rates = table.parameters();
  auto state = std::make_shared<State>(*state_);
  if (!state_->tensor.BuildCorrectedTensor(temperature, rates, state->tensor) || !isFinite(state->tensor)) {
    return Error{"a camera that is compensated by these rates is no camera any more", table.file().string()};
  }
  setReference(state->tensor, temperature);
  return Head(std::move(state));
}

const std::optional<std::array<DistortionFit, 3>>& Head::distortionFit() const noexcept { return state_->fit; }

const tag_qmReconsTensorData& Head::record() const noexcept { return state_->tensor; }

}  // namespace quel
