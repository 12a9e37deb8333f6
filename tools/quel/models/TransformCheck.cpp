// The check of transform files: the first line that is not what would be written for the numbers of the file.
#include <fmt/core.h>

#include <sstream>

#include "files/Files.h"
#include "files/TemporaryFolder.h"
#include "models/FileChecks.h"
#include "quelplatform/qmMath/qmMathTransformFile.h"

namespace queltool {

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t kLargestFile = std::uintmax_t{1} << 20;

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// The numbers of the three rows, 0 where there is none.
qmMathTransform numbersOf(const std::vector<std::string>& lines) {
  qmMathTransform transform = {};
  for (std::size_t i = 0; i < 3 && i + 1 < lines.size(); ++i) {
    std::istringstream row(lines[i + 1]);
    for (double& value : transform.rotation[i]) row >> value;
    row >> transform.translation[i];
  }
  return transform;
}

std::string writtenFor(const qmMathTransform& transform) {
  const TemporaryFolder folder;
  const fs::path file = folder.path() / "numbers.trn";
  return qmMathTransformStore(widePath(file).c_str(), &transform) == 1 ? readWholeFile(file, kLargestFile) : "";
}

std::string firstDifference(const std::string& found, const std::string& expected) {
  const std::vector<std::string> lines = linesOf(found);
  const std::vector<std::string> right = linesOf(expected);
  for (std::size_t i = 0; i < right.size(); ++i) {
    if (i >= lines.size()) return fmt::format("line {}: expected \"{}\", found the end of the file", i + 1, right[i]);
    if (lines[i] != right[i]) return fmt::format("line {}: expected \"{}\", found \"{}\"", i + 1, right[i], lines[i]);
  }
  return fmt::format("line {}: expected the end of the file", right.size() + 1);
}

}  // namespace

FileProblems checkTransform(const fs::path& file) {
  qmMathTransform transform;
  if (qmMathTransformLoad(widePath(file).c_str(), &transform) == 1) return {};
  const std::string text = readWholeFile(file, kLargestFile);
  return {{file.string() + ", " + firstDifference(text, writtenFor(numbersOf(linesOf(text))))}, {}};
}

}  // namespace queltool
