#include "quelcore/tensor/tensorFileWriter.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "quelcore/tensor/tensorFileFormat.h"
#include "quelcore/tensor/tensorFileLog.h"
#include "quelplatform/qmEnv/qmFile.h"

namespace quelcore {

bool TensorFileWriter::writeBytes(const void* source, std::size_t size) {
  const auto* from = static_cast<const std::byte*>(source);
  while (size > 0) {
    if (held_ == block_.size() && !flush()) return false;
    const std::size_t piece = std::min(size, block_.size() - held_);
    std::memcpy(block_.data() + held_, from, piece);
    held_ += piece;
    from += piece;
    size -= piece;
  }
  return true;
}

bool TensorFileWriter::flush() {
  errno = 0;
  const bool written = held_ == 0 || std::fwrite(block_.data(), held_, 1, file_) == 1;
  held_ = 0;
  if (written) return true;
  error_ = errno;
  kTensorFileLog.trace();
  return false;
}

bool TensorFileWriter::writeField(const FileField& field, bool flipSingly) {
  if (isPad(field)) {
    constexpr unsigned char kZeros[kPadSize] = {};
    return writeBytes(kZeros, kPadSize);
  }
  if (!flipSingly) return writeBytes(fieldOf(tensor_, field), field.size);
  unsigned char flipped[sizeof(double)];
  std::memcpy(flipped, fieldOf(tensor_, field), field.size);
  qmEnvFlip(flipped, field.flipCount, field.flipSize);
  return writeBytes(flipped, field.size);
}

bool TensorFileWriter::writeLutIds(std::int32_t lutType) {
  for (std::int32_t camera = 0; camera < 3; ++camera) {
    const tag_qmDistortLutsInfo& info = lutInfosOf(tensor_, lutType)[camera];
    char id[LUT_ID_SIZE] = {};
    std::memcpy(id, info.lutId, LUT_ID_SIZE - 1);
    const auto length = static_cast<std::uint16_t>(info.useLut == 0 ? 0 : std::strlen(id) + 1);
    if (!writeBytes(&length, sizeof(length))) return false;
    if (length != 0 && !writeBytes(id, length)) return false;
  }
  return true;
}

bool TensorFileWriter::writeRow(const VersionRow& row) {
  if (row.lutType >= 0) return writeLutIds(row.lutType);
  return std::all_of(row.fields.begin(), row.fields.end(),
                     [&](const FileField& field) { return writeField(field, field.flipCount != 0); });
}

bool TensorFileWriter::reaches(std::int32_t version, const VersionRow& row) const {
  if (row.storedByRecord) return version <= row.version + 1 && tensor_.version <= row.version;
  return version <= row.version;
}

bool TensorFileWriter::write(std::int32_t version) {
  if (!writeBytes(&version, sizeof(version))) return false;
  for (const FileField& field : kFieldsOfAllVersions) {
    if (!writeField(field, false)) return false;
  }
  for (const VersionRow& row : kVersionRows) {
    if (reaches(version, row) && !writeRow(row)) return false;
  }
  return flush();
}

}  // namespace quelcore
