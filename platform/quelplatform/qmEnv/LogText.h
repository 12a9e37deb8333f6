// The texts of log calls.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "quelplatform/qmEnv/qmLogEmbedded.h"

namespace quelplatform {

/// The printf `format` filled with `count` arguments; the format itself when it does not fit them.
std::string formattedText(const char* format, const qmLogArg* args, std::size_t count);

/// One argument as text: numbers in their shortest form, null text as "(null)".
std::string textOf(const qmLogArg& arg);

/// `text` without control characters but line feed and tab, for each of which it has a '?': those of ASCII, and those
/// that UTF-8 has as C2 80 to C2 9F. A terminal takes them for orders, and what files and other systems gave must not
/// give any.
std::string withoutControls(std::string_view text);

/// "error qmParam:12: text", the line of a record as standard error shows it. Further lines of the text are indented,
/// so that no text can pass for a line of its own. Without control characters.
std::string consoleLine(const LogRecord& record);

/// As above with the build date of the module, for the file.
std::string fileLine(const LogRecord& record);

}  // namespace quelplatform
