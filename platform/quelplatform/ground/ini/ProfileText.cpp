#include "quelplatform/ground/ini/ProfileText.h"

#include "quelplatform/ground/text/conversion.h"
#include "quelplatform/ground/text/wideCase.h"

namespace quelplatform {

namespace {

bool sameName(std::u16string_view name, std::u16string_view wanted) {
  return name.size() == wanted.size() && compareNoCase(name, wanted) == 0;
}

// A name of n bytes has at most n units, so most lines of a long file need no conversion.
bool sameName(std::string_view name, std::u16string_view wanted) {
  if (name.size() < wanted.size()) return false;
  std::size_t i = 0;
  for (; i < name.size() && static_cast<unsigned char>(name[i]) < 0x80; ++i) {
    if (i == wanted.size() || lowerUnit(static_cast<char16_t>(name[i])) != lowerUnit(wanted[i])) return false;
  }
  return i == name.size() ? i == wanted.size() : compareNoCase(utf16Of(name.substr(i)), wanted.substr(i)) == 0;
}

}  // namespace

template <typename Char>
auto ProfileText<Char>::lineAt(std::size_t begin) const -> Line {
  const std::size_t feed = text_.find(Char('\n'), begin);
  const std::size_t end = feed == text_.npos ? text_.size() : feed + 1;
  const View content = View(text_).substr(begin, (feed == text_.npos ? end : feed) - begin);
  return {begin, end, parseIniLine(content, IniComments::Semicolon)};
}

template <typename Char>
auto ProfileText<Char>::findSection(std::u16string_view name) const -> std::optional<Section> {
  std::optional<Section> found;
  for (std::size_t at = 0; at < text_.size();) {
    const Line line = lineAt(at);
    at = line.end;
    if (line.parsed.kind != IniLineKind::Section) continue;
    if (found) {
      found->end = line.begin;
      return found;
    }
    if (sameName(line.parsed.name, name)) found = Section{line.begin, line.end, text_.size()};
  }
  return found;
}

template <typename Char>
auto ProfileText<Char>::findEntry(const Section& section, std::u16string_view key) const -> std::optional<Line> {
  for (std::size_t at = section.body; at < section.end;) {
    const Line line = lineAt(at);
    at = line.end;
    if (line.parsed.kind == IniLineKind::Entry && sameName(line.parsed.name, key)) return line;
  }
  return std::nullopt;
}

template <typename Char>
auto ProfileText<Char>::value(std::u16string_view section, std::u16string_view key) const -> std::optional<View> {
  const auto place = findSection(section);
  const auto entry = place ? findEntry(*place, key) : std::nullopt;
  return entry ? std::optional(withoutQuotes(entry->parsed.value)) : std::nullopt;
}

template <typename Char>
auto ProfileText<Char>::sectionNames() const -> std::vector<View> {
  std::vector<View> names;
  forEachLine([&](const IniLine<Char>& line) {
    if (line.kind == IniLineKind::Section) names.push_back(line.name);
  });
  return names;
}

template <typename Char>
auto ProfileText<Char>::keyNames(std::u16string_view section) const -> std::vector<View> {
  std::vector<View> names;
  const auto place = findSection(section);
  for (std::size_t at = place ? place->body : 0; place && at < place->end;) {
    const Line line = lineAt(at);
    at = line.end;
    if (line.parsed.kind == IniLineKind::Entry) names.push_back(line.parsed.name);
  }
  return names;
}

template <typename Char>
std::size_t ProfileText<Char>::contentEnd(const Line& line) const {
  std::size_t end = line.end;
  if (end > line.begin && text_[end - 1] == Char('\n')) --end;
  if (end > line.begin && text_[end - 1] == Char('\r')) --end;
  return end;
}

// Behind the last line of a section that is not blank, so that blank lines stay between it and the next section.
template <typename Char>
std::size_t ProfileText<Char>::endOfContent(const Section& section) const {
  std::size_t end = section.body;
  for (std::size_t at = section.body; at < section.end;) {
    const Line line = lineAt(at);
    at = line.end;
    if (line.parsed.kind != IniLineKind::Blank) end = at;
  }
  return end;
}

// The line end of the first line that has one.
template <typename Char>
std::basic_string<Char> ProfileText<Char>::lineEnd() const {
  const std::size_t feed = text_.find(Char('\n'));
  const bool bare = feed != text_.npos && (feed == 0 || text_[feed - 1] != Char('\r'));
  std::basic_string<Char> end(bare ? 0 : 1, Char('\r'));
  end.push_back(Char('\n'));
  return end;
}

template <typename Char>
void ProfileText<Char>::insertLine(std::size_t at, const std::basic_string<Char>& line) {
  const std::basic_string<Char> end = lineEnd();
  const bool open = at > 0 && text_[at - 1] != Char('\n');
  text_.insert(at, open ? end + line + end : line + end);
}

// The key, the equals sign and blanks behind it stay as they are written.
template <typename Char>
bool ProfileText<Char>::replaceValue(const Line& line, View value) {
  const std::size_t end = contentEnd(line);
  std::size_t begin = text_.find(Char('='), line.begin) + 1;
  while (begin < end && isBlank(text_[begin])) ++begin;
  if (View(text_).substr(begin, end - begin) == value) return false;
  text_.replace(begin, end - begin, value);
  return true;
}

template <typename Char>
bool ProfileText<Char>::setValue(View section, std::u16string_view wideSection, View key, std::u16string_view wideKey,
                                 View value) {
  auto place = findSection(wideSection);
  if (place) {
    if (const auto entry = findEntry(*place, wideKey)) return replaceValue(*entry, value);
  } else {
    addSection(section, wideSection);
    place = findSection(wideSection);
  }
  insertLine(endOfContent(*place), std::basic_string<Char>(key) + Char('=') + std::basic_string<Char>(value));
  return true;
}

template <typename Char>
bool ProfileText<Char>::addSection(View section, std::u16string_view wideSection) {
  if (hasSection(wideSection)) return false;
  insertLine(text_.size(), Char('[') + std::basic_string<Char>(section) + Char(']'));
  return true;
}

template <typename Char>
bool ProfileText<Char>::removeKey(std::u16string_view section, std::u16string_view key) {
  const auto place = findSection(section);
  const auto entry = place ? findEntry(*place, key) : std::nullopt;
  if (!entry) return false;
  text_.erase(entry->begin, entry->end - entry->begin);
  return true;
}

template <typename Char>
bool ProfileText<Char>::removeSection(std::u16string_view section) {
  const auto place = findSection(section);
  if (!place) return false;
  text_.erase(place->begin, place->end - place->begin);
  return true;
}

template class ProfileText<char>;
template class ProfileText<char16_t>;

}  // namespace quelplatform
