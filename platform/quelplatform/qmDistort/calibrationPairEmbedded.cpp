#include "quelplatform/qmDistort/calibrationPairEmbedded.h"

#include <unistd.h>

#include <cerrno>
#include <limits>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "quelplatform/ground/files/Crc64.h"
#include "quelplatform/ground/files/atomicFile.h"
#include "quelplatform/ground/files/nativePath.h"
#include "quelplatform/ground/files/openFile.h"
#include "quelplatform/qmDistort/LutFile.h"
#include "quelplatform/qmEnv/WholeFileStreams.h"
#include "quelplatform/qmEnv/platformLog.h"

namespace quelplatform {

namespace {

constexpr std::int32_t kLogError = 5;

using Bytes = std::span<const std::byte>;

bool report(const qmWChar* path, const LutFileProblem& problem, LogPlace place = kLogError) {
  tell(place, "calibrationPair", "%s: %s", path == nullptr ? u"" : path, problem.text);
  return false;
}

bool reportSystemError(const qmWChar* path, const char* what, int error, LogPlace place = kLogError) {
  LutFileProblem problem;
  problem.saySystemError(what, error);
  return report(path, problem, place);
}

bool reportMemory(const qmWChar* path, LogPlace place = kLogError) {
  LutFileProblem problem;
  problem.sayMemoryExhausted();
  return report(path, problem, place);
}

std::string nativeOf(const qmWChar* path) { return path == nullptr ? std::string() : nativePath(path); }

bool readFile(const qmWChar* path, std::string& bytes) {
  const int error = readWholeFile(nativeOf(path), std::numeric_limits<std::size_t>::max(), bytes);
  return error == 0 || reportSystemError(path, "it cannot be read", error);
}

std::optional<LutFile> readLuts(const qmWChar* path) {
  LutFileProblem problem;
  std::optional<LutFile> file = LutFile::read(path, problem);
  if (!file) report(path, problem);
  return file;
}

Bytes bytesOf(const std::string& text) { return std::as_bytes(std::span(text)); }

// The file that a calibration is to have at a path, and the one that it has there.
class Replacement {
 public:
  explicit Replacement(const qmWChar* path) : path_(path), native_(nativeOf(path)) {}

  // Writes the new file beside the old one and flushes it.
  bool prepare(Bytes content) {
    bool whole = true;
    int error = canBeWrittenWhole(native_, whole);
    if (error == 0 && !whole) error = EINVAL;  // A device, of which some never end.
    if (error == 0) error = readOld();
    if (error == 0) error = file_.open(native_);
    if (error == 0) error = file_.write(content);
    if (error == 0) error = file_.flush();
    return succeeded(error);
  }

  bool replace() noexcept try { return succeeded(file_.replace()); } catch (const std::bad_alloc&) {
    return reportMemory(path_);
  }

  // Puts back what was there.
  void undo() noexcept {
    int error = 0;
    if (old_) {
      writeFileAtomically(native_, bytesOf(*old_), error);
    } else if (unlink(native_.c_str()) != 0) {
      error = errno;
    }
    if (error != 0) reportSystemError(path_, "the former file cannot be put back", error);
  }

 private:
  int readOld() {
    std::string bytes;
    const int error = readWholeFile(native_, std::numeric_limits<std::size_t>::max(), bytes);
    if (error == 0) old_ = std::move(bytes);
    return error == ENOENT ? 0 : error;
  }

  bool succeeded(int error) const { return error == 0 || reportSystemError(path_, "it cannot be written", error); }

  const qmWChar* path_;
  std::string native_;
  std::optional<std::string> old_;
  PendingFile file_;
};

bool replacePair(const LutFile& luts, const std::string& tensor, const CalibrationFiles& to) {
  LutFileBytes stamped;
  if (!restampLutFile(luts.bytes(), crc64(bytesOf(tensor)), stamped)) return reportMemory(to.luts);
  Replacement newLuts(to.luts);
  Replacement newTensor(to.tensor);
  if (!newLuts.prepare(stamped.all()) || !newTensor.prepare(bytesOf(tensor)) || !newLuts.replace()) return false;
  if (newTensor.replace()) return true;
  newLuts.undo();
  return false;
}

bool replaceTensor(const std::string& tensor, const qmWChar* to) {
  Replacement newTensor(to);
  return newTensor.prepare(bytesOf(tensor)) && newTensor.replace();
}

bool compare(const qmWChar* luts, const qmWChar* tensor, LutStamp& stamp) {
  const auto file = readLuts(luts);
  std::string bytes;
  if (!file || !readFile(tensor, bytes)) return false;
  const auto found = file->stamp();
  stamp = !found ? LutStamp::kNone : *found == crc64(bytesOf(bytes)) ? LutStamp::kOwn : LutStamp::kForeign;
  return true;
}

bool replace(const CalibrationFiles& from, const CalibrationFiles& to) {
  std::string tensor;
  if (!readFile(from.tensor, tensor)) return false;
  if (from.luts == nullptr) return replaceTensor(tensor, to.tensor);
  const auto luts = readLuts(from.luts);
  return luts && replacePair(*luts, tensor, to);
}

bool removeStamp(const qmWChar* luts) {
  const auto file = readLuts(luts);
  if (!file) return false;
  if (!file->stamp()) return true;
  LutFileBytes bare;
  if (!restampLutFile(file->bytes(), std::nullopt, bare)) return reportMemory(luts);
  Replacement replacement(luts);
  return replacement.prepare(bare.all()) && replacement.replace();
}

}  // namespace

bool compareLutStamp(const qmWChar* luts, const qmWChar* tensor, LutStamp& stamp) noexcept try {
  return compare(luts, tensor, stamp);
} catch (const std::bad_alloc&) {
  return reportMemory(luts);
}

bool replaceCalibration(const CalibrationFiles& from, const CalibrationFiles& to) noexcept try {
  return replace(from, to);
} catch (const std::bad_alloc&) {
  return reportMemory(to.tensor);
}

bool removeLutStamp(const qmWChar* luts) noexcept try { return removeStamp(luts); } catch (const std::bad_alloc&) {
  return reportMemory(luts);
}

}  // namespace quelplatform
