// Reading and writing the LUT file. Its layout stands in docs/formats.md.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "quelplatform/qmDistort/LutFileProblem.h"
#include "quelplatform/qmDistort/LutSet.h"
#include "quelplatform/qmEnv/qmTypes.h"

namespace quelplatform {

/// Zero-filled memory of the platform for the bytes of a file.
class LutFileBytes {
 public:
  /// False when memory is exhausted.
  bool allocate(std::uint64_t size) noexcept;

  std::span<std::byte> all() const noexcept { return {memory_.get(), size_}; }

 private:
  struct Free {
    void operator()(std::byte* bytes) const noexcept;
  };

  std::unique_ptr<std::byte, Free> memory_;
  std::size_t size_ = 0;
};

/// A LUT file in memory, sound in every part.
class LutFile {
 public:
  /// Reads the file and checks it as a whole. No more memory is taken than the file really has bytes.
  static std::optional<LutFile> read(const qmWChar* path, LutFileProblem& problem) noexcept;

  /// Number of the set stored under `id`, or nothing.
  std::optional<std::uint32_t> find(std::string_view id) const noexcept;

  /// Makes that set in memory; null when memory is exhausted.
  LutSetPointer makeSet(std::uint32_t set) const noexcept;

  /// The whole file.
  std::span<const std::byte> bytes() const noexcept { return bytes_.all(); }

  /// The digest of the tensor file that it was stored with, where it bears one.
  std::optional<std::uint64_t> stamp() const noexcept;

  /// What tells its content from that of others; see `lutDigest`.
  std::uint64_t digest(std::uint32_t set) const noexcept;

 private:
  bool load(const qmWChar* path, LutFileProblem& problem) noexcept;

  LutFileBytes bytes_;
};

/// The checksum of the bytes that a file holds, or would hold, of a sound set: its shape, depths and cells.
std::uint64_t lutDigest(const tag_qmDistortLuts& luts) noexcept;

/// The bytes of a sound file with that stamp in place of its own, or with none. False when memory is exhausted.
bool restampLutFile(std::span<const std::byte> file, std::optional<std::uint64_t> stamp,
                    LutFileBytes& stamped) noexcept;

/// Writes `sets` to the new file `path`: it is whole afterwards, or an old file stays. False for a set that is null or
/// unsound, for an identifier that is empty, too long or twice in the list, and when the file cannot be written.
bool writeLutFile(const std::vector<std::pair<std::string, const tag_qmDistortLuts*>>& sets, const qmWChar* path,
                  LutFileProblem& problem) noexcept;

}  // namespace quelplatform
