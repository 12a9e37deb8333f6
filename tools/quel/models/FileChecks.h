// What is wrong with a file, in the words of whoever in the library reads files of its format: a check for each format.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace queltool {

/// What is wrong with a file, each in one line with its place. A file with any of it is not sound.
struct FileProblems {
  std::vector<std::string> errors;   ///< Why it does not give all that it should.
  std::vector<std::string> remarks;  ///< What the library reads otherwise than it seems to stand there.

  bool areNone() const { return errors.empty() && remarks.empty(); }

  /// The errors first.
  std::vector<std::string> all() const;

  /// Adds the remarks of the library's last reading on this thread: a further part of the file.
  void addLastRemarks();
};

/// What the library's last reading on this thread left: a problem, which some readers have along with success, and its
/// remarks.
FileProblems problemsOfLastReading();

FileProblems checkTensor(const std::filesystem::path& file);
FileProblems checkLuts(const std::filesystem::path& file);
FileProblems checkTransform(const std::filesystem::path& file);
FileProblems checkTransformSets(const std::filesystem::path& file);
FileProblems checkTriplets(const std::filesystem::path& file);
FileProblems checkMultiStage(const std::filesystem::path& file);
FileProblems checkOperations(const std::filesystem::path& file);
FileProblems checkMaterials(const std::filesystem::path& file);
FileProblems checkGlobalMaterials(const std::filesystem::path& file);
FileProblems checkColours(const std::filesystem::path& file);
FileProblems checkSetupMap(const std::filesystem::path& file);
FileProblems checkTargetMask(const std::filesystem::path& file);
FileProblems checkBlockTable(const std::filesystem::path& file);
FileProblems checkCorrectionTable(const std::filesystem::path& file);
FileProblems checkParameters(const std::filesystem::path& file);
FileProblems checkCameraTypes(const std::filesystem::path& file);
FileProblems checkPersistentValues(const std::filesystem::path& file);
FileProblems checkCloud(const std::filesystem::path& file);
FileProblems checkCameras(const std::filesystem::path& file);

/// Of files whose presence alone counts: whatever is in them is sound.
FileProblems checkPresence(const std::filesystem::path& file);

}  // namespace queltool
