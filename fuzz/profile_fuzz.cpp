// Profile files, by the calls that read and write them and by what stands behind these. Input: a file.
//
// Losses: half a unit at the end of 16-bit text; of equal names the later.
#include <algorithm>
#include <vector>

#include "fuzz/support/Fuzzing.h"
#include "quelplatform/ground/ini/IniFile.h"
#include "quelplatform/ground/ini/ProfileCache.h"
#include "quelplatform/ground/ini/ProfileFile.h"
#include "quelplatform/ground/text/wideNumber.h"
#include "quelplatform/windows/profile.h"

namespace {

using quelplatform::ProfileFile;

struct Entry {
  qmWString section;
  qmWString key;
  qmWString value;

  bool operator==(const Entry&) const = default;
};

std::vector<Entry> entriesOf(const ProfileFile& file) {
  std::vector<Entry> entries;
  for (const qmWString& section : file.sectionNames()) {
    for (const qmWString& key : file.keyNames(section)) {
      const auto value = file.value(section, key);
      quelfuzz::require(value.has_value(), "a key that is listed has a value");
      entries.push_back({section, key, *value});
    }
  }
  return entries;
}

/// Whether asking for `name` finds a line of that name: what is no text may be told apart only byte by byte.
bool isText(const qmWString& name) { return !name.empty() && name.find(u'\xFFFD') == name.npos; }

void requireBytes(const ProfileFile& file, std::string_view bytes) {
  const std::string again = file.encode();
  const bool hasHalf = !file.isNarrow() && bytes.size() % 2 != 0;
  quelfuzz::require(again == bytes.substr(0, bytes.size() - (hasHalf ? 1 : 0)), "what is not changed keeps its bytes");
}

/// Sets, asks for, and removes an entry; all others stay.
void requireChange(ProfileFile file, const std::vector<Entry>& before) {
  const std::string bytes = file.encode();
  const qmWString section = before.empty() ? qmWString(u"New section") : before[before.size() / 2].section;
  if (!isText(section) || !quelplatform::isProfileSection(section)) return;
  const auto isOurs = [](const Entry& entry) { return entry.key == u"fuzzed key"; };
  if (file.value(section, u"fuzzed key") || std::any_of(before.begin(), before.end(), isOurs)) return;
  const bool hadSection = file.hasSection(section);
  quelfuzz::require(file.setValue(section, u"fuzzed key", u"a value; with = and #"), "a new value changes the file");
  quelfuzz::require(file.value(section, u"FUZZED key") == u"a value; with = and #", "a value that was set is there");
  quelfuzz::require(!file.setValue(section, u"Fuzzed Key", u"a value; with = and #"), "the same value changes nothing");
  std::vector<Entry> after = entriesOf(ProfileFile::decode(file.encode()));
  const std::size_t removed = std::erase_if(after, isOurs);
  quelfuzz::require(removed > 0 && after == before, "other entries stay what they were");
  quelfuzz::require(file.removeKey(section, u"fuzzed key"), "an entry can be removed");
  if (hadSection && file.isNarrow() && !bytes.empty() && bytes.back() == '\n') {
    quelfuzz::require(file.encode() == bytes, "setting and removing a key leaves the file");
  }
  quelfuzz::require(file.removeSection(section), "a section can be removed");
}

/// The entries that are kept of a file answer as the file does.
void requireKept(const ProfileFile& file, const std::vector<Entry>& entries) {
  const quelplatform::ProfileEntries kept(file);
  for (const Entry& entry : entries) {
    const qmWString* value = kept.value(entry.section, entry.key);
    const auto asked = file.value(entry.section, entry.key);
    quelfuzz::require((value != nullptr) == asked.has_value(), "an entry is kept when it is there");
    if (asked) quelfuzz::require(*value == *asked, "an entry is kept as it stands");
    quelfuzz::require(kept.value(entry.section, u"no = key") == nullptr, "a key that is not there is not kept");
  }
  quelfuzz::require(kept.value(u"no ] section", u"a") == nullptr, "nor is a section");
}

/// The same answers by the calls.
void requireCalls(const qmWString& path, const ProfileFile& file, const Entry& entry) {
  if (!isText(entry.section) || !isText(entry.key)) return;
  const qmWString value = *file.value(entry.section, entry.key);
  qmWChar text[64] = {};
  const std::uint32_t length =
      GetPrivateProfileStringW(entry.section.c_str(), entry.key.c_str(), u"none", text, 64, path.c_str());
  const bool hasNul = (entry.section + entry.key + value).find(u'\0') != qmWString::npos;
  if (hasNul) return;
  quelfuzz::require(qmWString(text) == value.substr(0, 63) && length == qmWString(text).size(), "a value as it stands");
  const std::uint32_t number = GetPrivateProfileIntW(entry.section.c_str(), entry.key.c_str(), 5, path.c_str());
  quelfuzz::require(number == quelplatform::wrappedInteger(value), "a number is that of the text");
}

void requireLists(const qmWString& path, const ProfileFile& file) {
  qmWChar names[256] = {};
  const std::uint32_t length = GetPrivateProfileStringW(nullptr, nullptr, nullptr, names, 256, path.c_str());
  quelfuzz::require(length <= 255 && names[length] == u'\0', "a list of names is closed");
  std::size_t whole = 0;
  for (const qmWString& name : file.sectionNames()) whole += name.size() + 1;
  if (whole <= 255) quelfuzz::require(length == whole, "a list that fits is whole");
}

void requireWrites(const qmWString& path, std::string_view name) {
  const std::string before = quelfuzz::contentOf(name);
  quelfuzz::require(WritePrivateProfileStringW(u"fuzz", u"k", u" quoted ", path.c_str()) == 1,
                    "a value can be written");
  qmWChar text[16] = {};
  GetPrivateProfileStringW(u"FUZZ", u"K", u"", text, 16, path.c_str());
  quelfuzz::require(qmWString(text) == u"quoted", "what was written is read without blanks");
  const std::string after = quelfuzz::contentOf(name);
  quelfuzz::require(WritePrivateProfileStringW(u"fuzz", u"a=b", u"", path.c_str()) == 0 &&
                        WritePrivateProfileStringW(u"fuzz", u"k", u"a\nb", path.c_str()) == 0 &&
                        quelfuzz::contentOf(name) == after,
                    "what could not be read back is not written");
}

void requireRemovals(const qmWString& path, std::string_view name) {
  qmWChar text[8] = {u'x', u'x'};
  const auto keys = [&] { return GetPrivateProfileStringW(u"fuzz", nullptr, nullptr, text, 8, path.c_str()); };
  quelfuzz::require(keys() > 0, "a section that has an entry lists it");
  quelfuzz::require(WritePrivateProfileStringW(u"fuzz", u"K", nullptr, path.c_str()) == 1, "an entry can be removed");
  quelfuzz::require(WritePrivateProfileStringW(u"fuzz", nullptr, nullptr, path.c_str()) == 1, "so can a section");
  const std::string before = quelfuzz::contentOf(name);
  quelfuzz::require(WritePrivateProfileStringW(u"no such", u"K", nullptr, path.c_str()) == 1,
                    "what is not there is gone");
  quelfuzz::require(quelfuzz::contentOf(name) == before, "without a change the file stays");
}

/// Files that are not there, and calls without one.
void requireRefusals() {
  qmWChar text[8] = {u'x', u'x'};
  const qmWString nowhere = quelfuzz::pathOf("nowhere/settings.ini");
  const qmWString folder = quelfuzz::pathOf("legends");
  for (const qmWChar* path : {nowhere.c_str(), folder.c_str(), static_cast<const qmWChar*>(nullptr)}) {
    quelfuzz::require(GetPrivateProfileIntW(u"a", u"b", 7, path) == 7, "without a file the default holds");
    quelfuzz::require(GetPrivateProfileStringW(u"a", u"b", u"c ", text, 8, path) == 1 && text[0] == u'c',
                      "for texts too");
    quelfuzz::require(GetPrivateProfileStringW(u"a", u"b", nullptr, text, 8, path) == 0, "or nothing does");
    quelfuzz::require(WritePrivateProfileStringW(u"a", u"b", u"c", path) == 0, "what can be no file is not written");
  }
  quelfuzz::require(GetPrivateProfileStringW(u"a", u"b", u"c", nullptr, 8, nowhere.c_str()) == 0, "there is no room");
  quelfuzz::require(WritePrivateProfileStringW(nullptr, nullptr, nullptr, nowhere.c_str()) == 0, "there is no cache");
  ProfileFile file;
  quelfuzz::require(file.addSection(u"a") && !file.addSection(u"A"), "a section is added once");
  quelfuzz::require(
      file.setValue(u"a", u"k", u"v") && file.setValue(u"a", u"k", u"  w") && file.setValue(u"a", u"k", u"x"),
      "a value is replaced");
  quelfuzz::require(!file.removeKey(u"b", u"k") && !file.removeKey(u"a", u"l") && !file.removeSection(u"b"), "absent");
  quelfuzz::require(file.keyNames(u"b").empty() && quelplatform::profileName(nullptr).empty(), "no names");
  const qmWString kept = quelfuzz::makeFile("kept.ini", "[a]\nb=c\n");
  quelfuzz::require(GetPrivateProfileStringW(u"a", nullptr, nullptr, text, 1, kept.c_str()) == 0, "a list has no room");
  quelfuzz::makeReadOnly("kept.ini");
  quelfuzz::require(WritePrivateProfileStringW(u"a", u"b", u"d", kept.c_str()) == 0, "a read-only file stays");
  quelfuzz::require(WritePrivateProfileStringW(u"a", u"b", u"c", u"") == 0, "no path is no file");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quelfuzz::atFirst(requireRefusals);
  const std::string_view bytes = quelfuzz::bytesOf(data, size);
  ProfileFile file;
  std::vector<Entry> entries;
  {
    const quelfuzz::MemoryWatch watch;
    file = ProfileFile::decode(std::string(bytes));
    watch.requireAtMost(quelfuzz::kTimesFile, 0, size);
  }
  requireBytes(file, bytes);
  if (file.sectionNames().size() > 40) return 0;  // The questions below walk the file for each.
  entries = entriesOf(file);
  requireChange(file, entries);
  requireKept(file, entries);

  const quelplatform::IniFile ini = quelplatform::parseIniText(bytes);
  std::size_t lines = 0;
  for (const quelplatform::IniSection& section : ini.sections) lines += section.entries.size();
  quelfuzz::require(lines <= size / 2, "an entry takes two bytes at least");

  const qmWString path = quelfuzz::makeFile("settings.ini", bytes);
  if (!entries.empty()) requireCalls(path, file, entries[entries.size() / 2]);
  requireLists(path, file);
  requireWrites(path, "settings.ini");
  requireRemovals(path, "settings.ini");
  return 0;
}
