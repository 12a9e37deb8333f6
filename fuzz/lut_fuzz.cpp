// LUT files. Input: a file, read as it is and once more with size and checksum put right, so that what lies behind them
// is reached.
//
// Losses: a set below version 2 has no NaN; its cells are the largest float then. A stamp goes.
#include <cstring>
#include <span>
#include <vector>

#include "fuzz/support/Fuzzing.h"
#include "quelplatform/ground/files/Crc64.h"
#include "quelplatform/qmDistort/DistortLutsManager.h"
#include "quelplatform/qmDistort/LutFile.h"
#include "quelplatform/qmDistort/LutFileLayout.h"
#include "quelplatform/qmEnv/qmMemoryEmbedded.h"

namespace {

using namespace quelplatform::lutfile;

std::string mended(std::string_view bytes) {
  std::string file(bytes);
  if (file.size() < kHeaderSize + kChecksumSize) return file;
  const std::span<std::byte> all = std::as_writable_bytes(std::span(file));
  put(all, kFileSizeAt, static_cast<std::uint64_t>(file.size()));
  put(all, file.size() - kChecksumSize, quelplatform::crc64(all.first(file.size() - kChecksumSize)));
  return file;
}

/// A sound file without its stamp, as it is written again.
std::string unstamped(const std::string& content) {
  if (!isStamped(std::as_bytes(std::span(content)))) return content;
  std::string file = content;
  file.erase(file.size() - kChecksumSize - kStampSize, kStampSize);
  put(std::as_writable_bytes(std::span(file)), kVersionAt, kVersion);
  return mended(file);
}

/// The identifiers of a sound file, each with null.
DistortLutsManager::LutMap idsOf(const std::string& file) {
  DistortLutsManager::LutMap ids;
  const auto bytes = std::as_bytes(std::span(file));
  for (std::uint32_t set = 0; set < get<std::uint32_t>(bytes, kSetCountAt); ++set) {
    ids.emplace(file.data() + entryAt(set) + kIdAt, nullptr);
  }
  return ids;
}

bool hasOldSet(const DistortLutsManager::LutMap& luts) {
  for (const auto& [id, set] : luts) {
    if (set->lutVersion < quelplatform::kLutVersionWithNaN) return true;
  }
  return false;
}

bool isSound(const qmWString& path, const std::string& content) {
  const quelfuzz::MemoryWatch watch;
  quelplatform::LutFileProblem problem;
  const auto file = quelplatform::LutFile::read(path.c_str(), problem);
  watch.requireAtMost(quelfuzz::kTimesFile, 0, content.size());
  if (file)
    quelfuzz::require(file->stamp().has_value() == isStamped(std::as_bytes(std::span(content))),
                      "a stamp is there when the file says so");
  return file.has_value();
}

void load(DistortLutsManager::LutMap& luts, const qmWString& path, std::size_t size) {
  const quelfuzz::MemoryWatch watch;
  const bool loaded = DistortLutsManager::getManager().loadLutsFile(luts, path.c_str());
  // A set of one cell takes some hundred bytes in memory.
  watch.requireAtMost(quelfuzz::kTimesFile, 40, size);
  quelfuzz::require(loaded, "a sound file is loaded");
}

/// A set for which there is no memory is none.
void requireSetOrNothing(const qmWString& path) {
  quelplatform::LutFileProblem problem;
  const auto file = quelplatform::LutFile::read(path.c_str(), problem);
  if (!file || !file->find("A")) return;
  quelplatform::failAllocations(0, 1);
  quelfuzz::require(file->makeSet(0) == nullptr, "without memory there is no set");
  quelplatform::stopFailingAllocations();
}

void tryFile(const std::string& content) {
  const qmWString path = quelfuzz::makeFile("head.lut", content);
  if (!isSound(path, content)) return;
  DistortLutsManager::LutMap luts = idsOf(content);
  const std::string absent = luts.empty() ? "absent" : luts.begin()->first + '!';
  if (!luts.empty() && luts.begin()->first.size() < 22) luts.emplace(absent, nullptr);
  load(luts, path, content.size());
  luts.erase(absent);
  DistortLutsManager::LutList list;
  for (const auto& [id, set] : luts) {
    quelfuzz::require(set != nullptr, "every set of the file is delivered");
    list.emplace_back(id, set);
  }
  const qmWString again = quelfuzz::pathOf("again.lut");
  quelfuzz::require(DistortLutsManager::storeLutsFile(list, again.c_str(), false), "what was read can be written");
  const std::string written = quelfuzz::contentOf("again.lut");
  const std::string expected = unstamped(content);
  quelfuzz::require(written.size() == expected.size(), "a written file has the size of the one that was read");
  if (!hasOldSet(luts)) quelfuzz::require(written == expected, "what was read is written to the byte");
  quelfuzz::require(isSound(again, written), "what was written can be read");
  requireSetOrNothing(path);
  DistortLutsManager::getManager().releaseAllDistortLuts();
}

/// What is no file, and no identifier.
void requireRefusals() {
  quelplatform::LutFileProblem problem;
  for (const char* name : {"nowhere/head.lut", "legends"}) {
    quelfuzz::require(!quelplatform::LutFile::read(quelfuzz::pathOf(name).c_str(), problem),
                      "what is no file is refused");
  }
  const qmWString path = quelfuzz::pathOf("empty.lut");
  quelfuzz::require(DistortLutsManager::storeLutsFile({}, path.c_str(), false), "a file without sets can be written");
  const auto file = quelplatform::LutFile::read(path.c_str(), problem);
  quelfuzz::require(file && !file->find("") && !file->find("any"), "it has no set of any name");
  for (std::int64_t successes = 0; successes < 2; ++successes) {
    quelplatform::failAllocations(successes, 1);
    quelplatform::LutFile::read(path.c_str(), problem);
    quelplatform::stopFailingAllocations();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quelfuzz::atFirst(requireRefusals);
  const std::string content(quelfuzz::bytesOf(data, size));
  tryFile(content);
  const std::string right = mended(content);
  if (right != content) tryFile(right);
  return 0;
}
