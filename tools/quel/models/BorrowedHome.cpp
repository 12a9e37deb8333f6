#include "models/BorrowedHome.h"

#include "files/Files.h"

namespace queltool {

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t kLargestFile = std::uintmax_t{64} << 20;

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != text.npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
}

}  // namespace

BorrowedHome::BorrowedHome(const fs::path& file, const fs::path& place)
    : file_(file), copy_(home_.path() / place), rooted_(place.string()) {
  rooted_.insert(0, 1, '\\');
  makeFolder(copy_.parent_path());
  writeWholeFile(copy_, readWholeFile(file, kLargestFile));
}

void BorrowedHome::addBeside(const fs::path& file) const {
  writeWholeFile(copy_.parent_path() / file.filename(), readWholeFile(file, kLargestFile));
}

std::string BorrowedHome::aboutTheFile(std::string text) const {
  replaceAll(text, copy_.string(), file_.string());
  if (text.starts_with(rooted_)) return file_.string() + text.substr(rooted_.size());
  const bool isBeside = text.starts_with('\\');
  return isBeside ? (file_.parent_path() / text.substr(1)).string() : text;
}

}  // namespace queltool
