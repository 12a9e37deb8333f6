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

/// Why `text` is a number in another form than the one that options take, with a decimal point; empty where it is not,
/// be it a number or none. "-0" is such a form: behind it stood a decimal comma that separated, as in "-0,1".
std::string whyOtherNumberForm(const std::string& text);

/// Why `text` is no whole number as options take it; empty where it is one, or none at all. A zero in front would make
/// it octal for the parser of the command line, which read 17 as 15 where it was written 017.
std::string whyNoWholeNumber(const std::string& text);

/// The number that `text` is as a whole, in any form that C takes, "inf" and hexadecimal ones included.
std::optional<double> numberOf(const std::string& text);

}  // namespace queltool
