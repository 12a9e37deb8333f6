#include "quelplatform/ground/ini/ProfileFile.h"

#include <cerrno>
#include <span>

#include "quelplatform/ground/files/atomicFile.h"
#include "quelplatform/ground/files/nativePath.h"
#include "quelplatform/ground/files/presence.h"
#include "quelplatform/ground/text/byteOrderMark.h"
#include "quelplatform/ground/text/conversion.h"
#include "quelplatform/ground/text/utf16.h"

namespace quelplatform {

namespace {

constexpr std::size_t kLargestFile = std::size_t{64} << 20;

bool hasLineEnd(std::u16string_view text) { return text.find_first_of(u"\r\n") != text.npos; }

// In a text of that character type: what a name or a value is written as, and what a name is looked up by.
std::string written(std::u16string_view text, char) { return utf8Of(text); }
std::u16string_view written(std::u16string_view text, char16_t) { return text; }
std::u16string sought(std::u16string_view name, char) { return utf16Of(utf8Of(name)); }
std::u16string_view sought(std::u16string_view name, char16_t) { return name; }

std::u16string wide(std::string_view text) { return utf16Of(text); }
std::u16string wide(std::u16string_view text) { return std::u16string(text); }

template <typename Views>
std::vector<std::u16string> allWide(const Views& views) {
  std::vector<std::u16string> texts;
  texts.reserve(views.size());
  for (const auto view : views) texts.push_back(wide(view));
  return texts;
}

/// Calls `action(text, a character of its type)`.
template <typename Text, typename Action>
auto onText(Text& variant, const Action& action) {
  return std::visit(
      [&action](auto& text) {
        using Char = typename std::decay_t<decltype(text)>::View::value_type;
        return action(text, Char());
      },
      variant);
}

}  // namespace

std::u16string_view profileName(const char16_t* name) {
  return name == nullptr ? std::u16string_view() : trimmed(std::u16string_view(name));
}

bool isProfileSection(std::u16string_view name) {
  return !name.empty() && !hasLineEnd(name) && name.find(u']') == name.npos;
}

bool isProfileKey(std::u16string_view name) {
  return !name.empty() && !hasLineEnd(name) && name.find(u'=') == name.npos && name.front() != u';' &&
         name.front() != u'[';
}

bool isProfileValue(std::u16string_view value) { return !hasLineEnd(value); }

ProfileFile ProfileFile::decode(std::string bytes) {
  ProfileFile file;
  file.mark_ = markOf(bytes);
  if (isUtf16Mark(file.mark_)) {
    const std::string_view units = std::string_view(bytes).substr(file.mark_.size());
    file.text_ = ProfileText<char16_t>(utf16Units(units, file.mark_ == kUtf16BigMark));
  } else {
    bytes.erase(0, file.mark_.size());
    file.text_ = ProfileText<char>(std::move(bytes));
  }
  return file;
}

std::string ProfileFile::encode() const {
  std::string bytes(mark_);
  if (const auto* narrow = std::get_if<ProfileText<char>>(&text_)) {
    bytes += narrow->text();
  } else {
    appendUtf16Bytes(bytes, std::get<ProfileText<char16_t>>(text_).text(), mark_ == kUtf16BigMark);
  }
  return bytes;
}

bool ProfileFile::hasSection(std::u16string_view section) const {
  return onText(text_, [&](auto& text, auto c) { return text.hasSection(sought(section, c)); });
}

std::optional<std::u16string> ProfileFile::value(std::u16string_view section, std::u16string_view key) const {
  return onText(text_, [&](auto& text, auto c) {
    const auto found = text.value(sought(section, c), sought(key, c));
    return found ? std::optional(wide(*found)) : std::nullopt;
  });
}

std::vector<std::u16string> ProfileFile::sectionNames() const {
  return onText(text_, [](auto& text, auto) { return allWide(text.sectionNames()); });
}

std::vector<std::u16string> ProfileFile::keyNames(std::u16string_view section) const {
  return onText(text_, [&](auto& text, auto c) { return allWide(text.keyNames(sought(section, c))); });
}

void ProfileFile::forEachEntry(const std::function<void(std::u16string)>& onSection,
                               const std::function<void(std::u16string, std::u16string)>& onEntry) const {
  onText(text_, [&](auto& text, auto) {
    text.forEachLine([&](const auto& line) {
      if (line.kind == IniLineKind::Section) onSection(wide(line.name));
      if (line.kind == IniLineKind::Entry) onEntry(wide(line.name), wide(withoutQuotes(line.value)));
    });
  });
}

std::u16string ProfileFile::soughtName(std::u16string_view name, bool narrow) {
  return narrow ? sought(name, char()) : std::u16string(name);
}

bool ProfileFile::setValue(std::u16string_view section, std::u16string_view key, std::u16string_view value) {
  return onText(text_, [&](auto& text, auto c) {
    return text.setValue(written(section, c), sought(section, c), written(key, c), sought(key, c), written(value, c));
  });
}

bool ProfileFile::addSection(std::u16string_view section) {
  return onText(text_, [&](auto& text, auto c) { return text.addSection(written(section, c), sought(section, c)); });
}

bool ProfileFile::removeKey(std::u16string_view section, std::u16string_view key) {
  return onText(text_, [&](auto& text, auto c) { return text.removeKey(sought(section, c), sought(key, c)); });
}

bool ProfileFile::removeSection(std::u16string_view section) {
  return onText(text_, [&](auto& text, auto c) { return text.removeSection(sought(section, c)); });
}

int readProfile(const std::string& nativePath, ProfileFile& file) {
  std::string bytes;
  const int error = readWholeFile(nativePath, kLargestFile, bytes);
  file = error == 0 ? ProfileFile::decode(std::move(bytes)) : ProfileFile();
  return error;
}

int ProfileChange::read(ProfileFile& file) const { return unlessAbsent(readProfile(path_, file)); }

// A link stands for the file that it leads to, so that all who write that file wait for each other.
int ProfileChange::begin() {
  if (path_.empty()) return ENOENT;
  if (const int error = followLinks(path_); error != 0) return error;
  if (isWriteProtected(path_)) return EACCES;
  return lock_.acquire(directoryOf(path_));
}

int ProfileChange::write(const ProfileFile& file) const {
  const std::string bytes = file.encode();
  if (bytes.size() > kLargestFile) return EFBIG;
  int error = 0;
  writeFileAtomically(path_, std::as_bytes(std::span(bytes)), error);
  return error;
}

}  // namespace quelplatform
