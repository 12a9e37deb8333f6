// Finding and changing entries in the text of a profile file, of which every other character stays as it is.
//
// Written for 8-bit (UTF-8) and 16-bit (UTF-16) text alike. Names are given as 16-bit text without blanks around it.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quelplatform/ground/ini/IniFile.h"

namespace quelplatform {

/// `value` without one pair of quotation marks around it.
template <typename Char>
constexpr std::basic_string_view<Char> withoutQuotes(std::basic_string_view<Char> value) {
  const bool quoted =
      value.size() >= 2 && value.front() == value.back() && (value.front() == Char('"') || value.front() == Char('\''));
  return quoted ? value.substr(1, value.size() - 2) : value;
}

template <typename Char>
class ProfileText {
 public:
  using View = std::basic_string_view<Char>;

  ProfileText() = default;
  explicit ProfileText(std::basic_string<Char> text) : text_(std::move(text)) {}

  const std::basic_string<Char>& text() const { return text_; }

  bool hasSection(std::u16string_view section) const { return findSection(section).has_value(); }

  /// The value of the first entry of that key in the first section of that name, without blanks and quotation marks.
  std::optional<View> value(std::u16string_view section, std::u16string_view key) const;

  std::vector<View> sectionNames() const;
  std::vector<View> keyNames(std::u16string_view section) const;

  /// Calls `visit` with each line as it is parsed, in order.
  template <typename Visit>
  void forEachLine(const Visit& visit) const {
    for (std::size_t at = 0; at < text_.size();) {
      const Line line = lineAt(at);
      at = line.end;
      visit(line.parsed);
    }
  }

  // Each returns false when nothing had to change.
  bool setValue(View section, std::u16string_view wideSection, View key, std::u16string_view wideKey, View value);
  bool addSection(View section, std::u16string_view wideSection);
  bool removeKey(std::u16string_view section, std::u16string_view key);
  bool removeSection(std::u16string_view section);

 private:
  struct Line {
    std::size_t begin;
    std::size_t end;  ///< Behind its line end.
    IniLine<Char> parsed;
  };
  struct Section {
    std::size_t begin;  ///< Of its own line.
    std::size_t body;
    std::size_t end;
  };

  Line lineAt(std::size_t begin) const;
  std::optional<Section> findSection(std::u16string_view name) const;
  std::optional<Line> findEntry(const Section& section, std::u16string_view key) const;
  std::size_t contentEnd(const Line& line) const;
  std::size_t endOfContent(const Section& section) const;
  bool replaceValue(const Line& line, View value);
  void insertLine(std::size_t at, const std::basic_string<Char>& line);
  std::basic_string<Char> lineEnd() const;

  std::basic_string<Char> text_;
};

extern template class ProfileText<char>;
extern template class ProfileText<char16_t>;

}  // namespace quelplatform
