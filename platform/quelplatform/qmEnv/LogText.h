// The texts of log calls.
#pragma once

#include <cstddef>
#include <string>

#include "quelplatform/qmEnv/qmLogEmbedded.h"

namespace quelplatform {

/// The printf `format` filled with `count` arguments; the format itself when it does not fit them.
std::string formattedText(const char* format, const qmLogArg* args, std::size_t count);

/// One argument as text: numbers in their shortest form, null text as "(null)".
std::string textOf(const qmLogArg& arg);

/// "error qmParam:12: text", the line of a record as standard error shows it. Further lines of the text are indented,
/// so that no text can pass for a line of its own.
std::string consoleLine(const LogRecord& record);

/// As above with the build date of the module, for the file.
std::string fileLine(const LogRecord& record);

}  // namespace quelplatform
