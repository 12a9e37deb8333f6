#include "models/FileChecks.h"

#include <charconv>
#include <optional>

#include "clouds/Points.h"
#include "files/Failure.h"
#include "files/Files.h"
#include "models/Block.h"
#include "models/Problems.h"
#include "models/Reasons.h"
#include "quel/cameras/CameraFile.h"
#include "quel/store/Operations.h"
#include "quelcore/blocks/QmBlockCorrectionParameters.h"
#include "quelcore/features/QmTargetCopMask.h"
#include "quelcore/operations/QmMaterialIO.h"
#include "quelcore/operations/QmXmlMaterialIO.h"
#include "quelcore/operations/XMLOperationIO.h"
#include "quelcore/patches/QmCorresPtsTriplets.h"
#include "quelcore/presentation/DeviationColorScheme.h"
#include "quelplatform/qmDistort/DistortLutsManager.h"

namespace queltool {

namespace fs = std::filesystem;

namespace {

// What the last reading left, and in any case why where it failed.
FileProblems told(const fs::path& file, bool isRead) {
  FileProblems problems = problemsOfLastReading();
  if (!isRead) problems.errors = {unreadable(file).what()};
  return problems;
}

// Nothing for an id that no call can ask for.
std::optional<std::uint32_t> askableId(const std::string& text) {
  std::uint32_t id = 0;
  const char* const end = text.data() + text.size();
  const std::from_chars_result result = std::from_chars(text.data(), end, id);
  return result.ec == std::errc() && result.ptr == end ? std::optional(id) : std::nullopt;
}

FileProblems oneError(const std::string& error) { return {{error}, {}}; }

}  // namespace

std::vector<std::string> FileProblems::all() const {
  std::vector<std::string> lines = errors;
  lines.insert(lines.end(), remarks.begin(), remarks.end());
  return lines;
}

void FileProblems::addLastRemarks() {
  const std::vector<std::string> more = lastRemarks();
  remarks.insert(remarks.end(), more.begin(), more.end());
}

FileProblems problemsOfLastReading() {
  FileProblems problems;
  const std::string problem = lastProblem();
  if (!problem.empty()) problems.errors.push_back(problem);
  problems.addLastRemarks();
  return problems;
}

FileProblems checkTensor(const fs::path& file) try {
  loadBlock(file);
  return told(file, true);
} catch (const Failure& failure) {
  return oneError(failure.what());
}

FileProblems checkLuts(const fs::path& file) {
  const Reasons reasons;
  DistortLutsManager::LutMap none;
  if (DistortLutsManager::getManager().loadLutsFile(none, widePath(file).c_str())) return {};
  return oneError(file.string() + ": is damaged" + reasons.text());
}

FileProblems checkTriplets(const fs::path& file) {
  QmCorresPtsTriplets triplets;
  return told(file, triplets.loadFromFile(widePath(file).c_str()));
}

FileProblems checkTargetMask(const fs::path& file) {
  QmTargetCopMask mask;
  return told(file, mask.loadFromFile(widePath(file).c_str()));
}

FileProblems checkMaterials(const fs::path& file) {
  QmMaterialIO materials(widePath(file).c_str());
  return told(file, materials.read());
}

FileProblems checkColours(const fs::path& file) {
  return told(file, qmDeviationColorFileCheck(widePath(file).c_str()));
}

FileProblems checkCorrectionTable(const fs::path& file) {
  QmBlockCorrectionParameters table;
  return told(file, table.Initialize(widePath(file)));
}

// The list is read by one call, whose result says nothing, and the tiles of each operation by another.
FileProblems checkOperations(const fs::path& file) {
  XMLOperationIO operations;
  if (!operations.load(widePath(file).c_str(), true)) return told(file, false);
  std::vector<OperationTypeId> types;
  operations.getOperations(types);
  FileProblems problems = told(file, true);
  if (!problems.errors.empty()) return problems;
  for (const quel::Operation& operation : orFail(quel::readOperations(file)).operations) {
    const std::optional<std::uint32_t> id = askableId(operation.id);
    std::vector<std::uint32_t> tiles;
    if (!id) continue;
    operations.getOperationData(*id, tiles);
    problems.addLastRemarks();
  }
  return problems;
}

// The heads that have a section of their own; the others share one of these.
FileProblems checkGlobalMaterials(const fs::path& file) {
  QmXmlGlobalMaterialIO document;
  if (!document.Open(widePath(file).c_str())) return told(file, false);
  QmGlobalMaterialTable table;
  const bool isRead = document.Read(OPTICAL_HEAD_2002_A, table);
  return told(file, isRead);
}

FileProblems checkCloud(const fs::path& file) try {
  readPoints({file.string()});
  return {};
} catch (const Failure& failure) {
  return oneError(failure.what());
}

FileProblems checkCameras(const fs::path& file) {
  const auto cameras = quel::readCameras(file);
  return cameras ? FileProblems() : oneError(cameras.error().message());
}

FileProblems checkPresence(const fs::path&) { return {}; }

}  // namespace queltool
