// Reads the fields of a tensor file into a record, whatever the file's version.
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>

#include "quelcore/base/problems.h"
#include "quelcore/records/qmReconsTensorData.h"

namespace quelcore {

/// One reading of an open file. The record is cleared before and filled in place, one read per field.
class TensorFileReader {
 public:
  /// `takeOldDefaults`: accept files older than -5, which lack the distortion of the lenses.
  TensorFileReader(std::FILE* file, tag_qmReconsTensorData& tensor, bool takeOldDefaults)
      : file_(file), tensor_(tensor), takeOldDefaults_(takeOldDefaults) {}

  /// Reads all fields and gives those that the file is too old to hold their defaults. False, with a trace and a
  /// problem, on failure. A file that ends within identifiers and has no fields behind them leaves a problem, too.
  bool read();

  /// The system's error of the read that failed; 0 when the file was too short or the failure was another.
  int error() const { return error_; }

 private:
  bool readBytes(void* target, std::size_t size);
  bool readFields(std::span<const struct FileField> fields);
  void flipFields(std::span<const struct FileField> fields);
  bool refuseRead(const ProblemText& part) const;
  bool refuseLutId(std::int32_t camera) const;
  bool readVersion();
  bool readRows();
  bool readLutIds(std::int32_t lutType);
  enum class LutIdRead { GoOn, Stop };
  LutIdRead readLutId(std::int32_t lutType, std::int32_t camera, tag_qmDistortLutsInfo& info);
  LutIdRead skipLutId(std::int32_t lutType, std::int32_t camera, std::int32_t length);

  std::FILE* file_;
  tag_qmReconsTensorData& tensor_;
  bool takeOldDefaults_;
  int error_ = 0;
  bool atEnd_ = false;
  std::uint64_t offset_ = 0;  ///< How many bytes of the file were taken,
  std::size_t wanted_ = 0;    ///< and how many more the last read asked for.
};

}  // namespace quelcore
