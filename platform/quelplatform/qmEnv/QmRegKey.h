// Persistent values under registry-style key paths, kept in an ini file.
//
//   QmRegKey key;
//   key.AttachIniFile(path);
//   if (key.Branch(u"HKEY_LOCAL_MACHINE\\Software\\Quelmetra\\Measurement", true, 0)) key[u"LastMappingID"] = 7;
//
// The section of the file is named by the whole key path. Files are as windows/profile.h has them: names do not depend
// on case, every call looks at the file as it stands, and a write replaces the file as a whole while writers of all
// processes wait for each other. Integers are kept in decimal, doubles in the shortest text that reads back exactly,
// text as it is (in quotation marks where it would lose blanks or marks at its ends otherwise).
//
// A key is for one thread at a time. Calls throw nothing unless they say so.
#pragma once

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmEnv/qmTypes.h"

class QmRegKey;

/// One value of a key, read and written through to the file. It lives no longer than its key and its name's text.
///
/// Reading a value that is absent, or whose file cannot be read, gives 0, false or null. Which of the two it is tells
/// the last error (`GetLastError`), as it does for `QmRegKey::IsValue` and `IsBranch`: 0 for a file that was read, 2 or
/// 3 for one that is not there, anything else for one of which nobody knows what is in it.
class QUELPLATFORM_API QmRegValue {
 public:
  QmRegValue(const QmRegValue&) = delete;

  /// The integer that the text begins with (see `GetPrivateProfileIntW`); 0 for other text.
  operator std::int32_t() const noexcept;
  operator std::uint32_t() const noexcept;

  /// True for any integer but 0.
  operator bool() const noexcept;

  /// The number that the text begins with; 0 for other text.
  operator double() const noexcept;

  /// The text, closed by a NUL; null for a value that is absent or when memory is exhausted. The key owns it: it is
  /// valid until the same name is read as text again, or the key is closed, opened anew, assigned to or ends.
  operator const qmWChar*() const noexcept;

  /// Stores a value. Whether it took tells `QmRegKey::LastError`.
  const QmRegValue& operator=(std::int32_t value) const noexcept;
  const QmRegValue& operator=(std::uint32_t value) const noexcept;
  const QmRegValue& operator=(bool value) const noexcept;  ///< As 1 or 0.
  const QmRegValue& operator=(double value) const noexcept;
  const QmRegValue& operator=(const qmWChar* text) const noexcept;  ///< Null counts as empty.
  const QmRegValue& operator=(const QmRegValue&) = delete;

 private:
  friend class QmRegKey;
  QmRegValue(const QmRegKey* key, const qmWChar* name) noexcept : key_(key), name_(name) {}

  const QmRegKey* key_;
  const qmWChar* name_;
};

class QUELPLATFORM_API QmRegKey {
 public:
  /// Access values: read only, and read and write. Any other value counts as read and write.
  static constexpr std::uint32_t kReadWrite = 0;
  static constexpr std::uint32_t kRead = 7;

  /// A key that is not open. Its file is quelmetra.ini of the home directory (`QmWorkPlace::getQmIniFilePath`).
  QmRegKey() noexcept = default;

  /// A second key on the same file and branch, with the same access or with `access`. Texts that were read belong to
  /// the first. Throws std::bad_alloc.
  QmRegKey(const QmRegKey& other);
  QmRegKey(const QmRegKey& other, std::uint32_t access);

  /// File, branch and access become those of `other`. Throws std::bad_alloc, and is as it was then.
  QmRegKey& operator=(const QmRegKey& other);

  ~QmRegKey();

  /// Reads and keeps values in the file at `path`, which need not be there; the key is closed. Null or empty: false,
  /// and nothing changes.
  bool AttachIniFile(const qmWChar* path) noexcept;

  /// Opens the section named `path`. With `create` it is made, empty, when it is not there yet, whatever the access;
  /// otherwise nothing is made before a value is written. False, with the key closed, for a null or empty path, and
  /// when the section cannot be made: `LastError` then says why.
  bool Branch(const qmWChar* path, bool create, std::uint32_t access) noexcept;

  /// True when the file has the section named `path`. Makes nothing and opens nothing.
  bool IsBranch(const qmWChar* path, std::uint32_t access) const noexcept;

  /// True when the key is open.
  bool IsValid() const noexcept;

  /// True when the key is open and has a value of that name, be it empty.
  bool IsValue(const qmWChar* name) const noexcept;

  /// Deletes a value. True when it is gone, absent before or not; false when the key is not open or the write failed.
  bool DeleteValue(const qmWChar* name) noexcept;

  /// The value of that name, which need not be there. On a key that is not open it reads as absent, and writing fails.
  QmRegValue operator[](const qmWChar* name) const noexcept { return QmRegValue(this, name); }

  /// How the last assignment to a value, `DeleteValue` or `Branch` of this key went: 0 when it took, otherwise the
  /// number that `GetLastError` has for it: 5 for a file that cannot be written or a key opened for reading, 6 for one
  /// that is not open, 8 for exhausted memory, 87 for a name or text that an ini line cannot hold (see
  /// `WritePrivateProfileStringW`), and so on.
  std::uint32_t LastError() const noexcept;

  /// Closes the branch and drops the texts that were read. The file stays attached.
  void Close() noexcept;

 private:
  friend class QmRegValue;
  struct State;

  State* state_ = nullptr;
  mutable std::uint32_t lastError_ = 0;
};
