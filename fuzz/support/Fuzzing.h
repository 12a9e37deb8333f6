// What all fuzz targets share: a home directory of their own, checks that end the process, and a watch on memory.
//
//   extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
//     const auto path = quelfuzz::makeFile("mask", quelfuzz::bytesOf(data, size));
//     ...
//     quelfuzz::require(again == mask, "what was written is read again the same");
//     return 0;
//   }
//
// The home directory lies in the system's temporary directory, which scripts/run-fuzz puts on a memory file system. The
// log goes nowhere, and nothing starts a thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "quelplatform/qmEnv/qmTypes.h"

namespace quelfuzz {

/// Ends the process, with `claim` on standard error, where it does not hold.
void require(bool holds, const char* claim);

/// Runs `body` once in the life of the process: what has to be tried, but not for each input.
template <typename Body>
void atFirst(const Body& body) {
  static const bool done = (body(), true);
  static_cast<void>(done);
}

inline std::string_view bytesOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// The input as 16-bit text: each pair of bytes a unit, low byte first, up to a NUL.
qmWString unitsOf(std::string_view bytes);

/// The path of `name`, which may have folders in front, in this process's home directory.
qmWString pathOf(std::string_view name);

/// Makes or replaces a file of the home directory and returns its path.
qmWString makeFile(std::string_view name, std::string_view content);

/// The whole content of a file of the home directory; empty when it is not there.
std::string contentOf(std::string_view name);

void removeFile(std::string_view name);
void makeReadOnly(std::string_view name);

/// A folder of the home directory, to be removed with all that is in it.
void makeFolder(std::string_view name);
void removeFolder(std::string_view name);

/// Takes numbers and texts off the front of an input, for targets whose input is no file.
class Input {
 public:
  explicit Input(std::string_view bytes) : rest_(bytes) {}

  bool atEnd() const { return rest_.empty(); }
  std::uint8_t byte();
  std::uint32_t word();
  double real();
  /// Up to the next zero byte or the end.
  std::string_view text();
  std::string_view rest() const { return rest_; }

 private:
  std::uint64_t take(std::size_t size);

  std::string_view rest_;
};

/// Counts the bytes that are allocated while it lives. Without the address sanitizer it sees none.
class MemoryWatch {
 public:
  MemoryWatch();
  ~MemoryWatch();
  MemoryWatch(const MemoryWatch&) = delete;
  MemoryWatch& operator=(const MemoryWatch&) = delete;

  /// The most bytes in use at one time, beyond those that were in use at the beginning.
  std::size_t peak() const;

  /// Requires the peak to be at most `timesFile` times the file's size, and `timesRecords` times for the records that
  /// are handed out, and a mebibyte.
  void requireAtMost(std::size_t timesFile, std::size_t timesRecords, std::size_t fileSize) const;
};

/// Of the readers of files of bytes and of XML documents.
inline constexpr std::size_t kTimesFile = 4;
inline constexpr std::size_t kTimesXml = 20;

}  // namespace quelfuzz
