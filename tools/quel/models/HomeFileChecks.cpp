// The checks of files that the library looks for in the home directory, by a copy in a borrowed one.
#include <atomic>

#include "files/Failure.h"
#include "files/Texts.h"
#include "models/BlockList.h"
#include "models/BorrowedHome.h"
#include "models/FileChecks.h"
#include "models/Reasons.h"
#include "models/SetupList.h"
#include "quelcore/patches/QmPatchBlockInfo.h"
#include "quelcore/transforms/QmCommutatorTrnsMan.h"
#include "quelplatform/qmEnv/qmCamera.h"
#include "quelplatform/qmEnv/qmParam.h"

namespace queltool {

namespace fs = std::filesystem;

namespace {

FileProblems aboutTheFile(const BorrowedHome& home, FileProblems problems) {
  for (auto* lines : {&problems.errors, &problems.remarks}) {
    for (std::string& each : *lines) each = home.aboutTheFile(std::move(each));
  }
  return problems;
}

// By `read`, which throws or leaves a problem and remarks.
template <typename Read>
FileProblems readAtHome(const fs::path& file, const char* place, Read read) {
  const BorrowedHome home(file, place);
  try {
    read();
    return aboutTheFile(home, problemsOfLastReading());
  } catch (const Failure& failure) {
    return aboutTheFile(home, {{failure.what()}, {}});
  }
}

// By `ask`, a question that makes the platform read the file; what is wrong with it stands in the log.
template <typename Ask>
FileProblems askedAtHome(const fs::path& file, const char* place, Ask ask) {
  const BorrowedHome home(file, place);
  const Reasons reasons;
  ask();
  FileProblems problems;
  for (const std::string& line : partsOf(reasons.text(), '\n')) {
    if (!line.empty()) problems.remarks.push_back(line.substr(line.find_first_not_of(' ')));
  }
  return aboutTheFile(home, std::move(problems));
}

struct TransformSets : QmCommutatorTrnsMan {
  TransformSets() = default;
};

// The pairs of the sets lie beside the list.
void addTransforms(const BorrowedHome& home, const fs::path& list) {
  std::error_code error;
  const fs::path folder = list.has_parent_path() ? list.parent_path() : fs::path(".");
  for (const fs::directory_entry& each : fs::directory_iterator(folder, error)) {
    if (each.is_regular_file(error) && each.path().extension() == ".trn") home.addBeside(each.path());
  }
}

// Answers are kept until another type is asked for, so each file gets a type of its own.
OH_CAMERA_TYPE unaskedType() {
  static std::atomic<std::int32_t> last{1000000};
  return static_cast<OH_CAMERA_TYPE>(++last);
}

}  // namespace

FileProblems checkSetupMap(const fs::path& file) {
  return readAtHome(file, "SetupMap.txt", [] { listSetups(); });
}

FileProblems checkBlockTable(const fs::path& file) {
  return readAtHome(file, "blocks.ini", [] { listBlocks(); });
}

FileProblems checkMultiStage(const fs::path& file) {
  const OH_CAMERA_TYPE type = unaskedType();
  const std::string place = "multistage/" + std::to_string(type) + ".ini";
  return readAtHome(file, place.c_str(), [type] { QmPatchBlockInfo::getUseDistortLut(type); });
}

// The list, and each set of it, whose pairs are read when it is asked for.
FileProblems checkTransformSets(const fs::path& file) {
  const BorrowedHome home(file, "CommutatorTrnsManager.xml");
  addTransforms(home, file);
  TransformSets sets;
  sets.loadAllTrnsSets();
  FileProblems problems = problemsOfLastReading();
  for (std::size_t i = 0; i < sets.getNumberTrnsSets(); ++i) {
    sets.getTrnsSet(i);
    problems.addLastRemarks();
  }
  return aboutTheFile(home, std::move(problems));
}

FileProblems checkParameters(const fs::path& file) {
  return askedAtHome(file, "params.ini", [] {
    double value = 0.0;
    qmEnvGetParam2double("", 0.0, &value);
  });
}

FileProblems checkCameraTypes(const fs::path& file) {
  return askedAtHome(file, "cameras.ini", [] {
    CameraInfo info{};
    getCameraInfo(static_cast<OH_CAMERA_TYPE>(1000000), info);
  });
}

FileProblems checkPersistentValues(const fs::path& file) {
  return askedAtHome(file, "quelmetra.ini", [] {
    char id[8] = {};
    qmEnvMachineID(id, sizeof id);
  });
}

}  // namespace queltool
