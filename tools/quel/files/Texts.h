// Values in the text of an argument.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace queltool {

/// The parts of `text` between separators; the end of `text` after a separator begins no further one. At least one.
std::vector<std::string> partsOf(const std::string& text, char separator);

/// The parts in one text, `separator` between them.
std::string joined(const std::vector<std::string>& parts, char separator);

/// The text with its Latin capitals as small letters.
std::string lowerCase(std::string text);

/// The number that `text` is as a whole, in any form that C takes, "inf" and hexadecimal ones included.
std::optional<double> numberOf(const std::string& text);

}  // namespace queltool
