#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "quelplatform/ground/files/Crc64.h"
#include "quelplatform/ground/files/atomicFile.h"
#include "quelplatform/ground/files/nativePath.h"
#include "quelplatform/qmDistort/LutFile.h"
#include "quelplatform/qmDistort/LutFileLayout.h"

namespace quelplatform {

using namespace lutfile;

namespace {

using NamedSet = std::pair<std::string, const tag_qmDistortLuts*>;
using Bytes = std::span<std::byte>;

const char* defectOf(const NamedSet& named) {
  if (named.first.empty()) return "the identifier is empty";
  if (!isLutId(named.first)) return "the identifier has more than 23 characters or a NUL among them";
  if (named.second == nullptr) return "there is no LUT set";
  return lutDefect(*named.second);
}

bool checkSets(const std::vector<NamedSet>& sets, LutFileProblem& problem) {
  if (sets.size() > std::numeric_limits<std::uint32_t>::max()) return problem.say("there are too many sets");
  for (std::size_t i = 0; i < sets.size(); ++i) {
    const char* defect = defectOf(sets[i]);
    if (defect != nullptr) return problem.say("set %zu (\"%.64s\"): %s", i + 1, sets[i].first.c_str(), defect);
  }
  return true;
}

// In the order of the file.
bool sortById(std::vector<const NamedSet*>& sets, LutFileProblem& problem) {
  std::sort(sets.begin(), sets.end(), [](auto a, auto b) { return a->first < b->first; });
  const auto twice = std::adjacent_find(sets.begin(), sets.end(), [](auto a, auto b) { return a->first == b->first; });
  if (twice == sets.end()) return true;
  return problem.say("the identifier \"%s\" is in the list twice", (*twice)->first.c_str());
}

std::uint64_t fileSizeOf(const std::vector<const NamedSet*>& sets) {
  std::uint64_t size = entryAt(sets.size()) + kChecksumSize;
  for (const NamedSet* named : sets) size += setSize(shapeOf(*named->second));
  return size;
}

// Writes `count` floats and moves on behind them.
void putFloats(Bytes file, std::uint64_t& at, const float* values, std::int32_t count) {
  const std::size_t size = static_cast<std::size_t>(count) * sizeof(float);
  std::byte* target = file.subspan(at, size).data();
  std::memcpy(target, values, size);
  qmEnvFlip(target, static_cast<std::size_t>(count), sizeof(float));
  at += size;
}

void putShape(Bytes file, std::uint64_t at, const LutShape& shape) {
  std::uint32_t tables = 0;
  for (std::size_t i = 0; i < kLutTables; ++i) tables |= static_cast<std::uint32_t>(shape.hasTable[i]) << i;
  put(file, at + kLutVersionAt, shape.lutVersion);
  put(file, at + kTableBitsAt, tables);
  put(file, at + kColumnsAt, shape.columns);
  put(file, at + kRowsAt, shape.rows);
  put(file, at + kLayersAt, shape.layers);
  for (std::size_t i = 0; i < 2; ++i) {
    put(file, at + kOriginAt + i * sizeof(double), shape.origin[i]);
    put(file, at + kPitchAt + i * sizeof(double), shape.pitch[i]);
  }
}

void putSet(Bytes file, std::uint64_t at, const tag_qmDistortLuts& luts) {
  putShape(file, at, shapeOf(luts));
  at += kDepthsAt;
  putFloats(file, at, luts.layerDepths, luts.tableCount);
  forEachLutImage(luts, [&](const qmImageRecord& image) {
    for (std::int32_t row = 0; row < image.height; ++row) putFloats(file, at, image.rows[row], image.width);
  });
}

// `file` is zero-filled and of the right size.
void putFile(Bytes file, const std::vector<const NamedSet*>& sets) {
  std::memcpy(file.data(), kMagic, kMagicSize);
  put(file, kVersionAt, kVersion);
  put(file, kSetCountAt, static_cast<std::uint32_t>(sets.size()));
  put(file, kFileSizeAt, static_cast<std::uint64_t>(file.size()));
  std::uint64_t at = entryAt(sets.size());
  for (std::size_t i = 0; i < sets.size(); ++i) {
    const auto& [id, luts] = *sets[i];
    const std::uint64_t entry = entryAt(i), size = setSize(shapeOf(*luts));
    std::memcpy(file.subspan(entry + kIdAt, kLutIdSize).data(), id.data(), id.size());
    put(file, entry + kOffsetAt, at);
    put(file, entry + kLengthAt, size);
    putSet(file, at, *luts);
    at += size;
  }
  put(file, at, crc64(file.first(at)));
}

}  // namespace

bool writeLutFile(const std::vector<NamedSet>& sets, const qmWChar* path, LutFileProblem& problem) noexcept try {
  if (path == nullptr) return problem.say("there is no path");
  if (!checkSets(sets, problem)) return false;
  std::vector<const NamedSet*> sorted;
  for (const NamedSet& named : sets) sorted.push_back(&named);
  if (!sortById(sorted, problem)) return false;
  LutFileBytes file;
  if (!file.allocate(fileSizeOf(sorted))) return problem.sayMemoryExhausted();
  putFile(file.all(), sorted);
  int error = 0;
  if (writeFileAtomically(nativePath(path), file.all(), error)) return true;
  return problem.saySystemError("it cannot be written", error);
} catch (const std::bad_alloc&) {
  return problem.sayMemoryExhausted();
}

}  // namespace quelplatform
