// Whether the bytes of a LUT file are sound. What passes here is read without further tests.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "quelplatform/qmDistort/LutFileProblem.h"
#include "quelplatform/qmDistort/LutSet.h"

namespace quelplatform {

/// Checks the header of a file that has `fileSize` bytes in truth.
bool checkLutFileHeader(std::span<const std::byte> header, std::uint64_t fileSize, LutFileProblem& problem) noexcept;

/// Checks the checksum, the table of contents and every set of a whole file whose header is sound.
bool checkLutFileContent(std::span<const std::byte> file, LutFileProblem& problem) noexcept;

/// The shape of the set at `offset` of a sound file.
LutShape lutShapeAt(std::span<const std::byte> file, std::uint64_t offset) noexcept;

}  // namespace quelplatform
