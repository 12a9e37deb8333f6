#include "quelplatform/windows/profile.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quelplatform/ground/files/nativePath.h"
#include "quelplatform/ground/files/systemErrors.h"
#include "quelplatform/ground/ini/ProfileCache.h"
#include "quelplatform/ground/ini/ProfileFile.h"
#include "quelplatform/ground/text/blanks.h"
#include "quelplatform/ground/text/wideNumber.h"

namespace {

using quelplatform::isProfileKey;
using quelplatform::isProfileSection;
using quelplatform::isProfileValue;
using quelplatform::ProfileFile;
using quelplatform::profileName;

// The file at `path`; empty when it cannot be read, which the last error tells.
ProfileFile fileAt(const qmWChar* path) {
  ProfileFile file;
  if (path == nullptr) {
    quelplatform::setLastError(quelplatform::kErrorInvalidParameter);
    return file;
  }
  const std::string native = quelplatform::nativePath(path);
  const int error = native.empty() ? ENOENT : readProfile(native, file);
  quelplatform::setLastError(error == 0 ? 0 : quelplatform::windowsError(error));
  return file;
}

// The value of an entry of the file at `path`.
std::optional<qmWString> valueAt(const qmWChar* path, const qmWChar* section, const qmWChar* key) {
  const auto entries =
      path == nullptr ? nullptr : quelplatform::profileCache().entriesOf(quelplatform::nativePath(path));
  if (entries == nullptr) return fileAt(path).value(profileName(section), profileName(key));
  quelplatform::setLastError(0);
  const qmWString* value = entries->value(profileName(section), profileName(key));
  return value == nullptr ? std::nullopt : std::optional(*value);
}

// Copies as much of `text` as leaves room for `closing` NULs behind it, and those. Returns the number of units copied.
std::uint32_t copyCut(std::u16string_view text, qmWChar* buffer, std::uint32_t size, std::uint32_t closing) {
  const std::size_t count = std::min<std::size_t>(text.size(), size > closing ? size - closing : 0);
  std::copy_n(text.data(), count, buffer);
  std::fill_n(buffer + count, std::min<std::size_t>(closing, size - count), u'\0');
  return static_cast<std::uint32_t>(count);
}

// A list that fits counts the NUL behind its last name, one that is cut does not. Even an empty one ends in two.
std::uint32_t copyList(const std::vector<qmWString>& names, qmWChar* buffer, std::uint32_t size) {
  qmWString list;
  for (const qmWString& name : names) list += name + u'\0';
  return copyCut(list, buffer, size, !list.empty() && list.size() < size ? 1 : 2);
}

std::u16string_view defaultText(const qmWChar* text) {
  return text == nullptr ? std::u16string_view() : quelplatform::withoutTrailingBlanks(std::u16string_view(text));
}

// Why a write with these arguments is refused; 0 when it is not.
int refusalOf(const qmWChar* section, const qmWChar* key, const qmWChar* value, const qmWChar* path) {
  const bool good = path != nullptr && isProfileSection(profileName(section)) &&
                    (key == nullptr || isProfileKey(profileName(key))) && (value == nullptr || isProfileValue(value));
  return good ? 0 : EINVAL;
}

bool change(ProfileFile& file, const qmWChar* section, const qmWChar* key, const qmWChar* value) {
  if (key == nullptr) return file.removeSection(profileName(section));
  if (value == nullptr) return file.removeKey(profileName(section), profileName(key));
  return file.setValue(profileName(section), profileName(key), value);
}

}  // namespace

std::uint32_t GetPrivateProfileIntW(const qmWChar* section, const qmWChar* key, std::int32_t defaultValue,
                                    const qmWChar* path) noexcept try {
  const auto value = valueAt(path, section, key);
  return value ? quelplatform::wrappedInteger(*value) : static_cast<std::uint32_t>(defaultValue);
} catch (const std::bad_alloc&) {
  quelplatform::setLastError(quelplatform::kErrorNotEnoughMemory);
  return static_cast<std::uint32_t>(defaultValue);
}

std::uint32_t GetPrivateProfileStringW(const qmWChar* section, const qmWChar* key, const qmWChar* defaultValue,
                                       qmWChar* buffer, std::uint32_t size, const qmWChar* path) noexcept try {
  if (buffer == nullptr || size == 0) return 0;
  if (section == nullptr) return copyList(fileAt(path).sectionNames(), buffer, size);
  if (key == nullptr) return copyList(fileAt(path).keyNames(profileName(section)), buffer, size);
  const auto value = valueAt(path, section, key);
  return copyCut(value ? std::u16string_view(*value) : defaultText(defaultValue), buffer, size, 1);
} catch (const std::bad_alloc&) {
  quelplatform::setLastError(quelplatform::kErrorNotEnoughMemory);
  const bool list = section == nullptr || key == nullptr;
  return copyCut(list ? std::u16string_view() : defaultText(defaultValue), buffer, size, list ? 2 : 1);
}

std::int32_t WritePrivateProfileStringW(const qmWChar* section, const qmWChar* key, const qmWChar* value,
                                        const qmWChar* path) noexcept try {
  if (section == nullptr && key == nullptr && value == nullptr) return 0;
  int error = refusalOf(section, key, value, path);
  const std::string native = error == 0 ? quelplatform::nativePath(path) : std::string();
  if (error == 0) {
    error = quelplatform::editProfile(native, [&](ProfileFile& file) { return change(file, section, key, value); });
  }
  if (error == 0) return 1;
  quelplatform::setLastError(quelplatform::windowsError(error, native));
  return 0;
} catch (const std::bad_alloc&) {
  quelplatform::setLastError(quelplatform::kErrorNotEnoughMemory);
  return 0;
}
