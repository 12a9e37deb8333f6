// What tells one state of a file from another without reading it.
#pragma once

#include <cstdint>
#include <string>

namespace quelplatform {

/// Device, inode, size and the times of the last changes; all 0 for a file that is not there.
struct FileStamp {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::int64_t size = 0;
  std::int64_t modifiedSeconds = 0;
  std::int64_t modifiedNanoseconds = 0;
  std::int64_t changedSeconds = 0;
  std::int64_t changedNanoseconds = 0;

  bool operator==(const FileStamp&) const = default;
};

FileStamp stampOf(const std::string& path) noexcept;

}  // namespace quelplatform
