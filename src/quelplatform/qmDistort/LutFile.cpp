#include "quelplatform/qmDistort/LutFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <system_error>

#include "quelplatform/qmDistort/Crc64.h"
#include "quelplatform/qmDistort/LutFileLayout.h"
#include "quelplatform/qmEnv/qmFile.h"
#include "quelplatform/qmEnv/qmMemory.h"

namespace quelplatform {

using namespace lutfile;

namespace {

constexpr const char* kOutOfMemory = "memory is exhausted";

struct OpenFile {
  const qmWChar* path;
  std::FILE* file = nullptr;

  explicit OpenFile(const qmWChar* p) : path(p) {}
  ~OpenFile() { qmFileClose(path, &file); }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
};

// The real size, with the file set back to its beginning; negative on failure.
std::int64_t sizeOf(std::FILE* file) {
  if (std::fseek(file, 0, SEEK_END) != 0) return -1;
  const std::int64_t size = std::ftell(file);
  return std::fseek(file, 0, SEEK_SET) == 0 ? size : -1;
}

bool sayErrno(LutFileProblem& problem, const char* what, int error) {
  return problem.say("%s: %s", what, std::generic_category().message(error).c_str());
}

struct SetShape {
  LutShape shape;
  std::uint32_t tableBits;
  std::uint32_t reserved;
};

SetShape shapeAt(std::span<const std::byte> bytes, std::size_t at) {
  SetShape result = {};
  LutShape& shape = result.shape;
  shape.lutVersion = get<std::int32_t>(bytes, at + kLutVersionAt);
  shape.columns = get<std::int32_t>(bytes, at + kColumnsAt);
  shape.rows = get<std::int32_t>(bytes, at + kRowsAt);
  shape.layers = get<std::int32_t>(bytes, at + kLayersAt);
  for (std::size_t i = 0; i < 2; ++i) {
    shape.origin[i] = get<double>(bytes, at + kOriginAt + 8 * i);
    shape.pitch[i] = get<double>(bytes, at + kPitchAt + 8 * i);
  }
  result.tableBits = get<std::uint32_t>(bytes, at + kTableBitsAt);
  result.reserved = get<std::uint32_t>(bytes, at + kReservedAt);
  for (std::size_t i = 0; i < kLutTables; ++i) shape.hasTable[i] = ((result.tableBits >> i) & 1) != 0;
  return result;
}

const char* defectOf(const SetShape& set) {
  if (set.tableBits >> kLutTables != 0) return "there are tables of unknown meaning";
  if (set.reserved != 0) return "the reserved word is not 0";
  return shapeDefect(set.shape);
}

}  // namespace

bool LutFileProblem::say(const char* format, ...) noexcept {
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  return false;
}

void LutFile::Free::operator()(std::byte* bytes) const noexcept {
  void* memory = bytes;
  qmMallocFree(&memory);
}

std::optional<LutFile> LutFile::read(const qmWChar* path, LutFileProblem& problem) noexcept {
  LutFile file;
  if (!file.load(path, problem) || !file.checkContents(problem)) return std::nullopt;
  return file;
}

bool LutFile::load(const qmWChar* path, LutFileProblem& problem) noexcept try {
  OpenFile open(path);
  if (qmFileOpen(path, u"rb", &open.file) == 0) return sayErrno(problem, "it cannot be opened", errno);
  const std::int64_t size = sizeOf(open.file);
  if (size < 0) return sayErrno(problem, "its size cannot be found", errno);
  if (size < static_cast<std::int64_t>(kHeaderSize + kChecksumSize)) {
    return problem.say("offset %lld: the file ends within its header", static_cast<long long>(size));
  }
  // The header first, so that a large file of another kind is not read.
  std::byte header[kHeaderSize];
  if (std::fread(header, 1, kHeaderSize, open.file) != kHeaderSize) return problem.say("offset 0: it cannot be read");
  bytes_ = std::span<const std::byte>(header);
  const std::uint64_t real = static_cast<std::uint64_t>(size);
  if (!checkHeader(real, problem)) return false;

  void* memory = nullptr;
  if (qmMallocNoInit(real, &memory) == 0) return problem.say("%s", kOutOfMemory);
  memory_.reset(static_cast<std::byte*>(memory));
  std::memcpy(memory_.get(), header, kHeaderSize);
  const std::size_t rest = std::fread(memory_.get() + kHeaderSize, 1, real - kHeaderSize, open.file);
  if (rest != real - kHeaderSize) return problem.say("offset %zu: it cannot be read further", kHeaderSize + rest);
  bytes_ = {memory_.get(), real};
  return true;
} catch (const std::bad_alloc&) {
  return problem.say("%s", kOutOfMemory);
}
