#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

#include "quelplatform/ground/files/Crc64.h"
#include "quelplatform/qmDistort/LutFile.h"
#include "quelplatform/qmDistort/LutFileCheck.h"
#include "quelplatform/qmDistort/LutFileLayout.h"
#include "quelplatform/qmEnv/qmFile.h"
#include "quelplatform/qmEnv/qmMemory.h"

namespace quelplatform {

using namespace lutfile;

namespace {

struct FileHandle {
  const qmWChar* path;
  std::FILE* file = nullptr;

  explicit FileHandle(const qmWChar* p) : path(p) {}
  ~FileHandle() { qmFileClose(path, &file); }
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;
};

// The real size, with the file set back to its beginning; negative on failure.
std::int64_t sizeOf(std::FILE* file) {
  if (std::fseek(file, 0, SEEK_END) != 0) return -1;
  const std::int64_t size = std::ftell(file);
  return std::fseek(file, 0, SEEK_SET) == 0 ? size : -1;
}

bool readBytes(std::FILE* file, std::span<std::byte> out, LutFileProblem& problem) {
  if (std::fread(out.data(), 1, out.size(), file) == out.size()) return true;
  if (std::ferror(file) != 0) return problem.saySystemError("it cannot be read", errno);
  return problem.say("it became shorter while it was read");
}

// Reads `count` floats and moves on behind them.
void readFloats(std::span<const std::byte> file, std::uint64_t& at, float* out, std::int32_t count) {
  const std::size_t size = static_cast<std::size_t>(count) * sizeof(float);
  std::memcpy(out, file.subspan(at, size).data(), size);
  qmEnvFlip(out, static_cast<std::size_t>(count), sizeof(float));
  at += size;
}

}  // namespace

bool LutFileBytes::allocate(std::uint64_t size) noexcept {
  void* memory = nullptr;
  if (qmMallocInitZero(size, &memory) == 0) return false;
  memory_.reset(static_cast<std::byte*>(memory));
  size_ = size;
  return true;
}

void LutFileBytes::Free::operator()(std::byte* bytes) const noexcept {
  void* memory = bytes;
  qmMallocFree(&memory);
}

std::optional<LutFile> LutFile::read(const qmWChar* path, LutFileProblem& problem) noexcept {
  LutFile file;
  if (!file.load(path, problem) || !checkLutFileContent(file.bytes_.all(), problem)) return std::nullopt;
  return file;
}

// The header is checked before the rest is read, so that a large file of another kind costs nothing.
bool LutFile::load(const qmWChar* path, LutFileProblem& problem) noexcept try {
  FileHandle handle(path);
  if (qmFileOpen(path, u"rb", &handle.file) == 0) return problem.saySystemError("it cannot be opened", errno);
  const std::int64_t size = sizeOf(handle.file);
  if (size < 0) return problem.saySystemError("its size cannot be found", errno);
  const auto fileSize = static_cast<std::uint64_t>(size);
  if (fileSize < kHeaderSize + kChecksumSize) {
    return problem.say("it has only %llu bytes, less than the header", static_cast<unsigned long long>(fileSize));
  }
  std::byte header[kHeaderSize];
  if (!readBytes(handle.file, header, problem) || !checkLutFileHeader(header, fileSize, problem)) return false;

  if (!bytes_.allocate(fileSize)) return problem.sayMemoryExhausted();
  std::memcpy(bytes_.all().data(), header, kHeaderSize);
  return readBytes(handle.file, bytes_.all().subspan(kHeaderSize), problem);
} catch (const std::bad_alloc&) {
  return problem.sayMemoryExhausted();
}

// The identifiers ascend.
std::optional<std::uint32_t> LutFile::find(std::string_view id) const noexcept {
  if (!isLutId(id)) return std::nullopt;
  char wanted[kLutIdSize] = {};
  id.copy(wanted, kLutIdSize - 1);
  const std::span<const std::byte> file = bytes_.all();
  std::uint32_t low = 0, high = get<std::uint32_t>(file, kSetCountAt);
  while (low < high) {
    const std::uint32_t middle = low + (high - low) / 2;
    const int order = std::memcmp(file.data() + entryAt(middle) + kIdAt, wanted, kLutIdSize);
    if (order == 0) return middle;
    (order < 0 ? low : high) = order < 0 ? middle + 1 : middle;
  }
  return std::nullopt;
}

std::optional<std::uint64_t> LutFile::stamp() const noexcept {
  const std::span<const std::byte> file = bytes_.all();
  if (!isStamped(file)) return std::nullopt;
  return get<std::uint64_t>(file, file.size() - endSize(file));
}

LutSetPointer LutFile::makeSet(std::uint32_t set) const noexcept {
  const std::span<const std::byte> file = bytes_.all();
  std::uint64_t at = get<std::uint64_t>(file, entryAt(set) + kOffsetAt);
  LutSetPointer luts = allocateLutSet(lutShapeAt(file, at));
  if (!luts) return nullptr;
  at += kDepthsAt;
  readFloats(file, at, luts->layerDepths, luts->tableCount);
  forEachLutImage(*luts, [&](const qmImageRecord& image) {
    for (std::int32_t row = 0; row < image.height; ++row) readFloats(file, at, image.rows[row], image.width);
  });
  finishLutSet(*luts);
  return luts;
}

std::uint64_t LutFile::digest(std::uint32_t set) const noexcept {
  const std::span<const std::byte> file = bytes_.all();
  const auto length = static_cast<std::size_t>(get<std::uint64_t>(file, entryAt(set) + kLengthAt));
  return crc64(file.subspan(static_cast<std::size_t>(get<std::uint64_t>(file, entryAt(set) + kOffsetAt)), length));
}

}  // namespace quelplatform
