// The mark at the head of a text file.
#pragma once

namespace quelcore {

/// As a unit of text.
inline constexpr char16_t kByteOrderMark = u'\uFEFF';

/// As the bytes that a file of 16-bit units, low byte first, begins with.
inline constexpr unsigned char kMarkOfUnits[2] = {0xFF, 0xFE};

}  // namespace quelcore
