#include "quelplatform/ground/ini/IniFile.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "quelplatform/ground/files/openFile.h"
#include "quelplatform/ground/files/presence.h"
#include "quelplatform/ground/text/asciiCase.h"
#include "quelplatform/ground/text/byteOrderMark.h"
#include "quelplatform/ground/text/conversion.h"
#include "quelplatform/ground/text/utf16.h"

namespace quelplatform {

namespace {

constexpr std::size_t kLargestFile = std::size_t{4} << 20;
constexpr std::size_t kMostProblems = 20;

std::string asUtf8(std::string_view bytes) {
  const std::string_view mark = markOf(bytes);
  bytes.remove_prefix(mark.size());
  return isUtf16Mark(mark) ? utf8Of(utf16Units(bytes, mark == kUtf16BigMark)) : std::string(bytes);
}

void takeLine(IniFile& file, std::string_view text, int number) {
  const IniLine<char> line = parseIniLine(text);
  switch (line.kind) {
    case IniLineKind::Blank:
    case IniLineKind::Comment:
      return;
    case IniLineKind::Section:
      file.sections.push_back({std::string(line.name), number, {}});
      return;
    case IniLineKind::Entry:
      if (file.sections.empty()) file.sections.push_back({"", 0, {}});
      file.sections.back().entries.push_back({std::string(line.name), std::string(line.value), number});
      return;
    case IniLineKind::Other:
      file.report(number, "neither a comment nor a section nor a key with a value");
      return;
  }
}

// Too many open files, exhausted memory, a disk that fails; a directory in the file's place stays one until that
// changes.
bool mayPass(int error) { return error == EMFILE || error == ENFILE || error == ENOMEM || error == EIO; }

IniFile unreadable(int error) {
  IniFile file;
  file.unknown = mayPass(error);
  file.report(0, std::string("cannot be read: ") + std::strerror(error));
  return file;
}

template <typename Named>
const Named* findNamed(const std::vector<Named>& list, std::string_view name, std::string Named::*member) {
  for (const Named& item : list) {
    if (sameButAsciiCase(item.*member, name)) return &item;
  }
  return nullptr;
}

}  // namespace

const IniEntry* IniSection::find(std::string_view key) const { return findNamed(entries, key, &IniEntry::key); }

const IniSection* IniFile::find(std::string_view wanted) const {
  return findNamed(sections, wanted, &IniSection::name);
}

void IniFile::report(int line, std::string cause) {
  if (problems.size() < kMostProblems) {
    problems.push_back({line, std::move(cause)});
  } else if (problems.size() == kMostProblems) {
    problems.push_back({0, "has further problems, which are not listed"});
  }
}

IniFile parseIniText(std::string_view bytes) {
  const std::string text = asUtf8(bytes);
  IniFile file;
  int number = 0;
  for (std::string_view rest = text; !rest.empty();) {
    const std::size_t end = rest.find('\n');
    takeLine(file, rest.substr(0, end), ++number);
    rest.remove_prefix(end == rest.npos ? rest.size() : end + 1);
  }
  return file;
}

IniFile readIniFile(const std::string& path) {
  std::string bytes;
  const int error = readWholeFile(path, kLargestFile, bytes);
  if (presenceBy(error) == Presence::Absent) return {};
  return error == 0 ? parseIniText(bytes) : unreadable(error);
}

}  // namespace quelplatform
