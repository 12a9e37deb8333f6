// Text in lines of a limited width, as a terminal shows it.
#pragma once

#include <cstddef>
#include <string>

namespace queltool {

/// The words of `text` in lines of at most `width` characters, of which all but the first begin with `indent` blanks.
/// The first is taken to begin at `indent` as well, and a word that is wider stands alone. Line ends in `text` stay.
std::string filled(const std::string& text, std::size_t width, std::size_t indent = 0);

/// The same for a text of paragraphs: lines that follow one another are one paragraph. Empty lines, and lines that
/// begin with a blank, such as examples, stay as they are.
std::string flowed(const std::string& text, std::size_t width);

/// How many characters of UTF-8 `text` has.
std::size_t charactersOf(const std::string& text);

}  // namespace queltool
