// Ini files: lines, sections and entries.
//
// Blanks around section names, keys and values do not count, nor does the case of ASCII letters in names. Of sections
// and entries of the same name the first wins. Lines whose first character is ';' or '#' are comments.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "quelplatform/ground/text/blanks.h"

namespace quelplatform {

enum class IniLineKind { Blank, Comment, Section, Entry, Other };

/// One line, as views of its text. `name` is that of a section or a key; `value` belongs to an entry.
template <typename Char>
struct IniLine {
  IniLineKind kind = IniLineKind::Other;
  std::basic_string_view<Char> name;
  std::basic_string_view<Char> value;
};

/// What begins a comment line.
enum class IniComments { SemicolonOrHash, Semicolon };

/// What the line `text`, without its line feed, is. Works on 8-bit and 16-bit text alike.
template <typename Char>
constexpr IniLine<Char> parseIniLine(std::basic_string_view<Char> text,
                                     IniComments comments = IniComments::SemicolonOrHash) {
  text = trimmed(text);
  if (text.empty()) return {IniLineKind::Blank, {}, {}};
  if (text.front() == Char(';')) return {IniLineKind::Comment, {}, {}};
  if (text.front() == Char('#') && comments == IniComments::SemicolonOrHash) return {IniLineKind::Comment, {}, {}};
  if (text.front() == Char('[')) {
    const std::size_t end = text.find(Char(']'));
    if (end == text.npos) return {};
    return {IniLineKind::Section, trimmed(text.substr(1, end - 1)), {}};
  }
  const std::size_t equals = text.find(Char('='));
  if (equals == text.npos || trimmed(text.substr(0, equals)).empty()) return {};
  return {IniLineKind::Entry, trimmed(text.substr(0, equals)), trimmed(text.substr(equals + 1))};
}

/// What is wrong with a file; line 0 stands for the file as a whole.
struct IniProblem {
  int line;
  std::string cause;
};

struct IniEntry {
  std::string key;
  std::string value;
  int line;
};

/// Entries before the first section line are in a section without a name at line 0.
struct IniSection {
  std::string name;
  int line;
  std::vector<IniEntry> entries;

  /// The first entry of that key; null when there is none.
  const IniEntry* find(std::string_view key) const;
};

/// Content of an ini file as UTF-8 text. Its number of problems is bounded: behind the last one that is kept stands a
/// line that says so.
struct IniFile {
  std::vector<IniSection> sections;
  std::vector<IniProblem> problems;

  /// It could not be read, for a reason that may pass without the file being changed: what is in it is not known.
  bool unknown = false;

  /// The first section of that name; null when there is none.
  const IniSection* find(std::string_view name) const;

  void report(int line, std::string cause);
};

/// Parses a whole file: UTF-8 with or without a mark, or UTF-16 of either byte order with its mark.
IniFile parseIniText(std::string_view bytes);

/// Reads the file at the path of the operating system `path`. A file that is not there is empty; one that cannot be
/// read or is larger than 4 MiB is empty with one problem.
IniFile readIniFile(const std::string& path);

}  // namespace quelplatform
