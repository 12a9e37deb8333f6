#include "quelcore/tensor/tensorFileReader.h"

#include <cerrno>

#include "quelcore/tensor/tensorFileFormat.h"
#include "quelcore/tensor/tensorFileLog.h"
#include "quelplatform/qmEnv/qmFile.h"

namespace quelcore {

namespace {

constexpr std::int32_t kLongestSkipped = 0x7FFF;  // bytes of an identifier; a length is signed 16-bit

}  // namespace

bool TensorFileReader::readBytes(void* target, std::size_t size) {
  wanted_ = size;
  errno = 0;
  if (!atEnd_ && std::fread(target, size, 1, file_) == 1) {
    offset_ += size;
    return true;
  }
  error_ = errno;
  return false;
}

bool TensorFileReader::readFields(std::span<const FileField> fields) {
  for (const FileField& field : fields) {
    unsigned char pad[kPadSize];
    unsigned char* target = isPad(field) ? pad : fieldOf(tensor_, field);
    if (!readBytes(target, field.size)) {
      refuseRead(field.name);
      kTensorFileLog.trace();
      return false;
    }
  }
  return true;
}

bool TensorFileReader::read() { return readVersion() && readRows(); }

bool TensorFileReader::refuseRead(const ProblemText& part) const {
  if (error_ != 0) return refuseUnreadable(error_);
  const auto expected = ProblemText::printed("%zu bytes from there on", wanted_);
  return refuse({.offset = static_cast<std::int64_t>(offset_)}, part, "the end of the file", expected);
}

bool TensorFileReader::readVersion() {
  std::int32_t word = 0;
  if (!readBytes(&word, sizeof(word))) {
    refuseRead("version");
    kTensorFileLog.trace();
    return false;
  }
  if (word < kNewestVersion) {
    refuse({.offset = 0}, "version", ProblemText::printed("%d", word),
           ProblemText::printed("%d or above", kNewestVersion));
    kTensorFileLog.trace();
    return false;
  }
  const std::span<const FileField> fields(kFieldsOfAllVersions);
  if (word < 1) {
    tensor_.version = word;
    return readFields(fields);
  }
  tensor_.numCameras = word;  // a legacy file begins with the number of cameras
  return readFields(fields.subspan(1));
}

bool TensorFileReader::readRows() {
  for (const VersionRow& row : kVersionRows) {
    if (tensor_.version > row.version) {
      if (row.setDefaults != nullptr && !row.setDefaults(tensor_, takeOldDefaults_)) {
        kTensorFileLog.trace();
        return false;
      }
    } else if (row.lutType >= 0) {
      readLutIds(row.lutType);  // an unreadable identifier fails at the next fixed field, if there is one
    } else {
      if (!readFields(row.fields)) return false;
      flipFields(row.fields);
    }
    if (row.complete != nullptr) row.complete(tensor_);
  }
  return true;
}

void TensorFileReader::flipFields(std::span<const FileField> fields) {
  for (const FileField& field : fields) {
    if (field.flipCount != 0) qmEnvFlip(fieldOf(tensor_, field), field.flipCount, field.flipSize);
  }
}

bool TensorFileReader::readLutIds(std::int32_t lutType) {
  for (std::int32_t camera = 0; camera < 3; ++camera) {
    tag_qmDistortLutsInfo& info = lutInfosOf(tensor_, lutType)[camera];
    if (readLutId(lutType, camera, info) == LutIdRead::Stop) return false;
  }
  return true;
}

bool TensorFileReader::refuseLutId(std::int32_t camera) const {
  return refuseRead(ProblemText::printed("LUT identifier of camera %d", camera));
}

TensorFileReader::LutIdRead TensorFileReader::readLutId(std::int32_t lutType, std::int32_t camera,
                                                        tag_qmDistortLutsInfo& info) {
  std::uint16_t length = 0;
  info.useLut = 0;
  if (!readBytes(&length, sizeof(length))) {
    refuseLutId(camera);
    kTensorFileLog.write(kLogError, "cannot read valUseLut for camera %d lutType %d", camera, lutType);
    return LutIdRead::Stop;
  }
  if (length == 0) return LutIdRead::GoOn;
  if (length > LUT_ID_SIZE && length <= kLongestSkipped) return skipLutId(lutType, camera, length);
  // A length above 0x7FFF is a negative one, which asks for more bytes than a file can hold: that read meets the end of
  // the file, so nothing behind it is taken for a field.
  if (length > kLongestSkipped) atEnd_ = true;
  if (!readBytes(info.lutId, length)) {
    refuseLutId(camera);
    kTensorFileLog.write(kLogError, "cannot read lutId for camera %d lutType %d", camera, lutType);
    return LutIdRead::Stop;
  }
  info.lutId[LUT_ID_SIZE - 1] = '\0';  // whatever the file says
  info.useLut = 1;
  return LutIdRead::GoOn;
}

TensorFileReader::LutIdRead TensorFileReader::skipLutId(std::int32_t lutType, std::int32_t camera,
                                                        std::int32_t length) {
  char discarded[kLongestSkipped];
  const auto begin = static_cast<std::int64_t>(offset_);
  if (!readBytes(discarded, static_cast<std::size_t>(length))) {
    refuseLutId(camera);
    kTensorFileLog.write(kLogError, "cannot read lutId for camera %d = lutType %d", camera, lutType);
    return LutIdRead::Stop;
  }
  kTensorFileLog.write(kLogError,
                       "cannot read lutId for camera %d : skipped valUseLut = %i LUT_ID_SIZE = %i lutType = %d\n",
                       camera, length, LUT_ID_SIZE, lutType);
  remark({.offset = begin}, ProblemText::printed("LUT identifier of camera %d", camera),
         ProblemText::printed("%d bytes", length), ProblemText::printed("at most %d", LUT_ID_SIZE));
  return LutIdRead::GoOn;
}

}  // namespace quelcore
