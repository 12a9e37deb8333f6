// Text and flag types that every library of the system shares.
#pragma once

#include <cstdint>
#include <string>

/// One 16-bit code unit of wide text (UTF-16). The unit of every path, name, message and text format of the system, on
/// every operating system.
using qmWChar = char16_t;

/// Owning wide text.
using qmWString = std::u16string;

/// A 32-bit flag: 0 is false, anything else true.
using _qmBool = std::int32_t;
