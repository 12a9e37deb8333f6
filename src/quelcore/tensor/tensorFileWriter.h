// Writes the fields of a record as a tensor file of a given version.
#pragma once

#include <array>
#include <cstddef>
#include <cstdio>

#include "quelcore/records/qmReconsTensorData.h"

namespace quelcore {

/// One writing to an open file. The stream keeps no bytes back: what a failed write leaves in the file is all that
/// will ever be there, and closing the stream tries none of it again.
class TensorFileWriter {
 public:
  /// `file` is one that nothing was written to yet.
  TensorFileWriter(std::FILE* file, tag_qmReconsTensorData& tensor) : file_(file), tensor_(tensor) {
    std::setvbuf(file, nullptr, _IONBF, 0);
  }

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
  std::array<std::byte, 4096> block_;
  std::size_t held_ = 0;  ///< Bytes in `block_` that are not written yet.
  tag_qmReconsTensorData& tensor_;
  int error_ = 0;
};

}  // namespace quelcore
