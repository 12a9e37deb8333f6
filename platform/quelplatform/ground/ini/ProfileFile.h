// Profile files: a text of entries in the encoding that the file has, and the way back to the disk.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "quelplatform/ground/files/WriterLock.h"
#include "quelplatform/ground/ini/ProfileText.h"

namespace quelplatform {

/// `section` or `key` as names are compared: without blanks around it.
std::u16string_view profileName(const char16_t* name);

/// True when a line that holds such a name is read back as that name.
bool isProfileSection(std::u16string_view name);
bool isProfileKey(std::u16string_view name);

/// True when a line can hold `value`: it has no line ends.
bool isProfileValue(std::u16string_view value);

/// The content of a profile file. Names are without blanks around them. Changes return false when nothing had to
/// change. 8-bit text takes a lone surrogate as U+FFFD.
class ProfileFile {
 public:
  /// Content of a file: UTF-16 of either byte order behind its mark, otherwise UTF-8 with or without one. Half a unit
  /// at the end of UTF-16 does not count.
  static ProfileFile decode(std::string bytes);

  /// The bytes of the file, in the encoding that it came in.
  std::string encode() const;

  bool hasSection(std::u16string_view section) const;
  std::optional<std::u16string> value(std::u16string_view section, std::u16string_view key) const;
  std::vector<std::u16string> sectionNames() const;
  std::vector<std::u16string> keyNames(std::u16string_view section) const;

  /// Walks the file: `onSection(name)` for each section line, `onEntry(key, value)` for each entry behind it.
  void forEachEntry(const std::function<void(std::u16string)>& onSection,
                    const std::function<void(std::u16string, std::u16string)>& onEntry) const;

  /// Whether the text is of 8 bits, and what a name is looked up as in such a text, or in one of 16 bits.
  bool isNarrow() const { return std::holds_alternative<ProfileText<char>>(text_); }
  static std::u16string soughtName(std::u16string_view name, bool narrow);

  bool setValue(std::u16string_view section, std::u16string_view key, std::u16string_view value);
  bool addSection(std::u16string_view section);
  bool removeKey(std::u16string_view section, std::u16string_view key);
  bool removeSection(std::u16string_view section);

 private:
  std::string_view mark_;  ///< That the file begins with.
  std::variant<ProfileText<char>, ProfileText<char16_t>> text_;
};

/// Reads the profile file at `nativePath`. Returns 0 or the `errno` of the failure. Throws std::bad_alloc.
int readProfile(const std::string& nativePath, ProfileFile& file);

/// Replaces the file at `nativePath` as `edit` changes it, while other writers wait. `edit` takes a `ProfileFile&`,
/// empty when there is no file, and says whether it changed anything; if not, nothing is written. It may run twice.
/// Returns 0 or the `errno` of the failure, with the file as it was. Throws std::bad_alloc.
template <typename Edit>
int editProfile(const std::string& nativePath, const Edit& edit);

/// What `editProfile` is made of: from `begin` to the end of its life other writers wait.
class ProfileChange {
 public:
  explicit ProfileChange(std::string nativePath) : path_(std::move(nativePath)) {}

  /// Reads the file as it stands; one that is not there is empty.
  int read(ProfileFile& file) const;

  int begin();
  int write(const ProfileFile& file) const;

 private:
  std::string path_;
  WriterLock lock_;
};

template <typename Edit>
int editProfile(const std::string& nativePath, const Edit& edit) {
  ProfileChange change(nativePath);
  ProfileFile file;
  int error = change.read(file);
  if (error != 0 || !edit(file)) return error;
  error = change.begin();
  if (error == 0) error = change.read(file);
  if (error != 0 || !edit(file)) return error;
  return change.write(file);
}

}  // namespace quelplatform
