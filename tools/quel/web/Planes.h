// Numbers that change little from one to the next as planes of bytes, which deflate well. assets/blocks.js reads them.
//
// A column is coded as the differences of neighbours, the first from 0, modulo its width; then zigzag: 0, -1, 1, -2
// become 0, 1, 2, 3; then plane by plane, the lowest byte of each number first.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace queltool {

/// Adds the two planes of a column of 16 bits to `bytes`.
void addPlanes(std::span<const std::uint16_t> column, std::string& bytes);

/// Adds the four planes of a column of 32 bits to `bytes`.
void addPlanes(std::span<const std::int32_t> column, std::string& bytes);

}  // namespace queltool
