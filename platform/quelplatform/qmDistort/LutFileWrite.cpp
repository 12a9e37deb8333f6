#include <algorithm>
#include <array>
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

// Gives the bytes of `values` to `take`, piece by piece.
template <typename Take>
void giveFloats(std::span<const float> values, Take& take) {
  std::array<float, 1024> piece;
  while (!values.empty()) {
    const std::size_t count = std::min(values.size(), piece.size());
    std::copy_n(values.begin(), count, piece.begin());
    qmEnvFlip(piece.data(), count, sizeof(float));
    take(std::as_bytes(std::span(piece)).first(count * sizeof(float)));
    values = values.subspan(count);
  }
}

void putShape(Bytes head, const LutShape& shape) {
  std::uint32_t tables = 0;
  for (std::size_t i = 0; i < kLutTables; ++i) tables |= static_cast<std::uint32_t>(shape.hasTable[i]) << i;
  put(head, kLutVersionAt, shape.lutVersion);
  put(head, kTableBitsAt, tables);
  put(head, kColumnsAt, shape.columns);
  put(head, kRowsAt, shape.rows);
  put(head, kLayersAt, shape.layers);
  for (std::size_t i = 0; i < 2; ++i) {
    put(head, kOriginAt + i * sizeof(double), shape.origin[i]);
    put(head, kPitchAt + i * sizeof(double), shape.pitch[i]);
  }
}

// Gives the bytes of a sound set as they stand in the file to `take`, piece by piece.
template <typename Take>
void giveSet(const tag_qmDistortLuts& luts, Take take) {
  const LutShape shape = shapeOf(luts);
  std::array<std::byte, kDepthsAt> head = {};
  putShape(head, shape);
  take(std::span<const std::byte>(head));
  giveFloats({luts.layerDepths, static_cast<std::size_t>(luts.tableCount)}, take);
  forEachLutImage(luts, [&](const qmImageRecord& image) {
    for (std::int32_t row = 0; row < image.height; ++row) {
      giveFloats({image.rows[row], static_cast<std::size_t>(image.width)}, take);
    }
  });
  const std::array<std::byte, 8> filling = {};
  take(std::span<const std::byte>(filling).first(setSize(shape) - setContentSize(shape)));
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
    giveSet(*luts, [&](std::span<const std::byte> piece) {
      std::copy(piece.begin(), piece.end(), file.subspan(at, piece.size()).begin());
      at += piece.size();
    });
  }
  put(file, at, crc64(file.first(at)));
}

}  // namespace

std::uint64_t lutDigest(const tag_qmDistortLuts& luts) noexcept {
  std::uint64_t digest = 0;
  giveSet(luts, [&](std::span<const std::byte> piece) { digest = crc64(piece, digest); });
  return digest;
}

bool restampLutFile(std::span<const std::byte> file, std::optional<std::uint64_t> stamp,
                    LutFileBytes& stamped) noexcept {
  const std::size_t body = file.size() - endSize(file);
  if (!stamped.allocate(body + (stamp ? kStampSize : 0) + kChecksumSize)) return false;
  const Bytes bytes = stamped.all();
  std::memcpy(bytes.data(), file.data(), body);
  put(bytes, kVersionAt, stamp ? kVersion | kStamped : kVersion);
  put(bytes, kFileSizeAt, static_cast<std::uint64_t>(bytes.size()));
  if (stamp) put(bytes, body, *stamp);
  const std::size_t checksumAt = bytes.size() - kChecksumSize;
  put(bytes, checksumAt, crc64(bytes.first(checksumAt)));
  return true;
}

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
