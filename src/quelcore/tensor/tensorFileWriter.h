// Writes the fields of a record as a tensor file of a given version.
#pragma once

#include <cstdio>

#include "quelcore/records/qmReconsTensorData.h"

namespace quelcore {

/// One writing to an open file.
class TensorFileWriter {
 public:
  TensorFileWriter(std::FILE* file, tag_qmReconsTensorData& tensor) : file_(file), tensor_(tensor) {}

  /// Writes the version word `version` and all fields as far as that version reaches. False, with a trace, on failure.
  bool write(std::int32_t version);

  /// The system's error of the write that failed.
  int error() const { return error_; }

 private:
  bool writeBytes(const void* source, std::size_t size);
  bool writeField(const struct FileField& field, bool flipSingly);
  bool writeRow(const struct VersionRow& row);
  bool reaches(std::int32_t version, const struct VersionRow& row) const;
  bool writeLutIds(std::int32_t lutType);
  bool flush();

  std::FILE* file_;
  tag_qmReconsTensorData& tensor_;
  int error_ = 0;
};

}  // namespace quelcore
