#include "quelplatform/qmDistort/LutFileCheck.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "quelplatform/ground/files/Crc64.h"
#include "quelplatform/qmDistort/LutFileLayout.h"

namespace quelplatform {

using namespace lutfile;

namespace {

using Bytes = std::span<const std::byte>;
using PrintedNumber = unsigned long long;

// A set of the table of contents, for its messages.
struct Entry {
  Bytes file;
  std::uint64_t number;  // From 0.

  std::uint64_t place() const { return entryAt(number); }
  const char* id() const { return reinterpret_cast<const char*>(file.data() + place() + kIdAt); }
  std::uint64_t offset() const { return get<std::uint64_t>(file, place() + kOffsetAt); }
  std::uint64_t length() const { return get<std::uint64_t>(file, place() + kLengthAt); }

  bool refuse(std::uint64_t at, const char* cause, LutFileProblem& problem) const {
    return problem.say("set %llu (\"%.*s\"), offset %llu: %s", static_cast<PrintedNumber>(number + 1),
                       static_cast<int>(kLutIdSize), id(), static_cast<PrintedNumber>(at), cause);
  }
};

bool checkChecksum(Bytes file, LutFileProblem& problem) {
  const std::uint64_t at = file.size() - kChecksumSize;
  if (crc64(file.first(at)) == get<std::uint64_t>(file, at)) return true;
  return problem.say("offset %llu: the checksum does not match", static_cast<PrintedNumber>(at));
}

bool checkId(const Entry& entry, LutFileProblem& problem) {
  const char* begin = entry.id();
  const char* end = begin + kLutIdSize;
  const char* nul = std::find(begin, end, '\0');
  if (nul == begin) return entry.refuse(entry.place(), "the identifier is empty", problem);
  if (nul == end) return entry.refuse(entry.place(), "the identifier is not terminated", problem);
  if (std::any_of(nul, end, [](char c) { return c != '\0'; })) {
    return entry.refuse(entry.place(), "the identifier is not filled up with NUL", problem);
  }
  if (entry.number > 0 && std::memcmp(begin - kEntrySize, begin, kLutIdSize) >= 0) {
    return entry.refuse(entry.place(), "the identifiers do not ascend", problem);
  }
  return true;
}

const char* headDefect(Bytes file, std::uint64_t offset) {
  if (get<std::uint32_t>(file, offset + kTableBitsAt) >> kLutTables != 0)
    return "a table of unknown meaning is present";
  if (get<std::uint32_t>(file, offset + kReservedAt) != 0) return "the reserved word is not 0";
  return shapeDefect(lutShapeAt(file, offset));
}

const char* storedDepthDefect(Bytes file, std::uint64_t at, std::int32_t layers) {
  float before = -std::numeric_limits<float>::infinity();
  for (std::int32_t i = 0; i < layers; ++i, at += sizeof(float)) {
    const float depth = get<float>(file, at);
    if (const char* defect = depthDefect(before, depth)) return defect;
    before = depth;
  }
  return nullptr;
}

// `begin` is where the set has to begin, `end` is the first byte behind all sets.
bool checkSet(const Entry& entry, std::uint64_t begin, std::uint64_t end, LutFileProblem& problem) {
  if (entry.offset() != begin) {
    return entry.refuse(entry.place() + kOffsetAt, "the set does not begin where the one before ends", problem);
  }
  const std::uint64_t length = entry.length();
  if (length > end - begin || length < kDepthsAt) {
    return entry.refuse(entry.place() + kLengthAt, "the length does not fit into the file", problem);
  }
  if (const char* defect = headDefect(entry.file, begin)) return entry.refuse(begin, defect, problem);
  const LutShape shape = lutShapeAt(entry.file, begin);
  if (setSize(shape) != length) {
    return entry.refuse(begin + kColumnsAt, "columns, rows and layers do not fit the length", problem);
  }
  if (const char* defect = storedDepthDefect(entry.file, begin + kDepthsAt, shape.layers)) {
    return entry.refuse(begin + kDepthsAt, defect, problem);
  }
  const std::uint64_t filling = begin + setContentSize(shape);
  const auto fillers = entry.file.subspan(filling, begin + length - filling);
  if (std::any_of(fillers.begin(), fillers.end(), [](std::byte b) { return b != std::byte{0}; })) {
    return entry.refuse(filling, "the set is not filled up with 0", problem);
  }
  return true;
}

}  // namespace

LutShape lutShapeAt(Bytes file, std::uint64_t offset) noexcept {
  LutShape shape = {};
  shape.lutVersion = get<std::int32_t>(file, offset + kLutVersionAt);
  shape.columns = get<std::int32_t>(file, offset + kColumnsAt);
  shape.rows = get<std::int32_t>(file, offset + kRowsAt);
  shape.layers = get<std::int32_t>(file, offset + kLayersAt);
  const std::uint32_t tables = get<std::uint32_t>(file, offset + kTableBitsAt);
  for (std::size_t i = 0; i < kLutTables; ++i) shape.hasTable[i] = ((tables >> i) & 1) != 0;
  for (std::size_t i = 0; i < 2; ++i) {
    shape.origin[i] = get<double>(file, offset + kOriginAt + i * sizeof(double));
    shape.pitch[i] = get<double>(file, offset + kPitchAt + i * sizeof(double));
  }
  return shape;
}

bool checkLutFileHeader(Bytes header, std::uint64_t fileSize, LutFileProblem& problem) noexcept {
  if (std::memcmp(header.data(), kMagic, kMagicSize) != 0) return problem.say("offset 0: it is not a LUT file");
  const std::uint32_t version = get<std::uint32_t>(header, kVersionAt);
  if (version != kVersion && !isStamped(header)) {
    return problem.say("offset %zu: version %u is not known, only %u", kVersionAt, version, kVersion);
  }
  const std::uint64_t size = get<std::uint64_t>(header, kFileSizeAt);
  if (size != fileSize) {
    return problem.say("offset %zu: it should have %llu bytes but has %llu", kFileSizeAt,
                       static_cast<PrintedNumber>(size), static_cast<PrintedNumber>(fileSize));
  }
  const std::uint32_t sets = get<std::uint32_t>(header, kSetCountAt);
  if (entryAt(sets) + endSize(header) > fileSize) {
    return problem.say("offset %zu: the file is too short for %u sets", kSetCountAt, sets);
  }
  return true;
}

bool checkLutFileContent(Bytes file, LutFileProblem& problem) noexcept {
  if (!checkChecksum(file, problem)) return false;
  const std::uint32_t sets = get<std::uint32_t>(file, kSetCountAt);
  const std::uint64_t end = file.size() - endSize(file);
  std::uint64_t begin = entryAt(sets);
  for (std::uint32_t set = 0; set < sets; ++set) {
    const Entry entry = {file, set};
    if (!checkId(entry, problem) || !checkSet(entry, begin, end, problem)) return false;
    begin += entry.length();
  }
  if (begin == end) return true;
  return problem.say("offset %llu: bytes follow the last set", static_cast<PrintedNumber>(begin));
}

}  // namespace quelplatform
