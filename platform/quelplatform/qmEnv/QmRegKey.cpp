#include "quelplatform/qmEnv/QmRegKey.h"

#include <array>
#include <charconv>
#include <map>
#include <new>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include "quelplatform/ground/files/home.h"
#include "quelplatform/ground/files/nativePath.h"
#include "quelplatform/ground/files/systemErrors.h"
#include "quelplatform/ground/ini/ProfileFile.h"
#include "quelplatform/ground/text/blanks.h"
#include "quelplatform/ground/text/wideNumber.h"
#include "quelplatform/qmEnv/qmText.h"

using quelplatform::isProfileKey;
using quelplatform::isProfileSection;
using quelplatform::isProfileValue;
using quelplatform::ProfileFile;
using quelplatform::profileName;

namespace {

// What `operation` returns, or `otherwise` when memory is exhausted.
template <typename Operation, typename Result>
Result orElse(const Operation& operation, Result otherwise) noexcept try {
  return operation();
} catch (const std::bad_alloc&) {
  return otherwise;
}

template <typename Number>
qmWString decimal(Number number) {
  std::array<char, 32> text;
  const auto end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
  return qmWString(text.data(), end);
}

// Text that would lose something of its ends when it is read back goes between quotation marks.
qmWString quotedIfNeeded(const qmWChar* text) {
  const std::u16string_view view = text == nullptr ? std::u16string_view() : std::u16string_view(text);
  const bool kept = quelplatform::withoutQuotes(quelplatform::trimmed(view)) == view;
  return kept ? qmWString(view) : u'"' + qmWString(view) + u'"';
}

// All of a text that was stored from a double, infinities and NaN included; of other text the number in front.
double doubleOf(const qmWString& text) {
  const std::string narrow = toNarrow(text);
  double value = 0.0;
  const auto [end, error] = std::from_chars(narrow.data(), narrow.data() + narrow.size(), value);
  return error == std::errc() && end == narrow.data() + narrow.size() ? value : quelplatform::decimalNumber(text);
}

constexpr std::uint32_t kNotOpen = quelplatform::kErrorInvalidHandle;
constexpr std::uint32_t kNoMemory = quelplatform::kErrorNotEnoughMemory;

}  // namespace

struct QmRegKey::State {
  std::string file;  ///< Empty: quelmetra.ini of the home directory.
  qmWString section;
  bool open = false;
  std::uint32_t access = kReadWrite;
  std::map<qmWString, qmWString> texts;  ///< What was given out as text, by name.

  std::string path() const { return file.empty() ? quelplatform::homeFile("quelmetra.ini") : file; }

  // The file as it stands; empty where it cannot be read, which the last error tells.
  ProfileFile content() const {
    ProfileFile profile;
    const std::string native = path();
    quelplatform::setLastErrorOfReading(readProfile(native, profile), native);
    return profile;
  }

  void close() {
    open = false;
    section.clear();
    texts.clear();
  }

  // Returns 0 or the Windows number of the failure.
  template <typename Edit>
  std::uint32_t edit(const Edit& change) const {
    const std::string native = path();
    const int error = quelplatform::editProfile(native, change);
    return error == 0 ? 0 : quelplatform::windowsError(error, native);
  }

  // Why values of the open key cannot be changed; 0 when they can.
  std::uint32_t refusal() const { return access == kRead ? quelplatform::kErrorAccessDenied : 0; }

  std::optional<qmWString> value(const qmWChar* name) const {
    return open ? content().value(section, profileName(name)) : std::nullopt;
  }

  std::uint32_t store(const qmWChar* name, const qmWString& value) const {
    const std::u16string_view key = profileName(name);
    if (const std::uint32_t error = refusal(); error != 0) return error;
    if (!isProfileKey(key) || !isProfileValue(value)) return quelplatform::kErrorInvalidParameter;
    return edit([&](ProfileFile& profile) { return profile.setValue(section, key, value); });
  }

  std::uint32_t remove(const qmWChar* name) const {
    if (const std::uint32_t error = refusal(); error != 0) return error;
    return edit([&](ProfileFile& profile) { return profile.removeKey(section, profileName(name)); });
  }

  // What `use` makes of the text of a value of `key`; `otherwise` for one that is absent.
  template <typename Use, typename Result>
  static Result read(const QmRegKey& key, const qmWChar* name, Result otherwise, const Use& use) noexcept try {
    std::optional<qmWString> text = key.IsValid() ? key.state_->value(name) : std::nullopt;
    return text ? use(std::move(*text)) : otherwise;
  } catch (const std::bad_alloc&) {
    quelplatform::setLastError(kNoMemory);
    return otherwise;
  }

  // Stores what `text` makes as a value of `key`.
  template <typename Text>
  static void write(const QmRegKey& key, const qmWChar* name, const Text& text) noexcept {
    key.lastError_ = orElse([&] { return key.IsValid() ? key.state_->store(name, text()) : kNotOpen; }, kNoMemory);
  }
};

QmRegKey::QmRegKey(const QmRegKey& other) : state_(other.state_ == nullptr ? nullptr : new State(*other.state_)) {
  if (state_ != nullptr) state_->texts.clear();
}

QmRegKey::QmRegKey(const QmRegKey& other, std::uint32_t access) : QmRegKey(other) {
  if (state_ != nullptr) state_->access = access;
}

QmRegKey& QmRegKey::operator=(const QmRegKey& other) {
  if (this == &other) return *this;
  QmRegKey copy(other);
  std::swap(state_, copy.state_);
  lastError_ = 0;
  return *this;
}

QmRegKey::~QmRegKey() { delete state_; }

bool QmRegKey::AttachIniFile(const qmWChar* path) noexcept {
  return orElse(
      [&] {
        std::string native = path == nullptr ? std::string() : quelplatform::nativePath(path);
        if (native.empty()) return false;
        if (state_ == nullptr) state_ = new State;
        state_->close();
        state_->file = std::move(native);
        return true;
      },
      false);
}

bool QmRegKey::Branch(const qmWChar* path, bool create, std::uint32_t access) noexcept {
  Close();
  lastError_ = orElse(
      [&]() -> std::uint32_t {
        const std::u16string_view section = profileName(path);
        if (!isProfileSection(section)) return quelplatform::kErrorInvalidParameter;
        if (state_ == nullptr) state_ = new State;
        if (create) {
          const auto add = [&](ProfileFile& profile) { return profile.addSection(section); };
          if (const std::uint32_t error = state_->edit(add); error != 0) return error;
        }
        state_->section = section;
        state_->access = access;
        state_->open = true;
        return 0;
      },
      kNoMemory);
  return lastError_ == 0;
}

bool QmRegKey::IsBranch(const qmWChar* path, std::uint32_t) const noexcept {
  if (path == nullptr) return false;
  try {
    const State unattached;
    return (state_ == nullptr ? unattached : *state_).content().hasSection(profileName(path));
  } catch (const std::bad_alloc&) {
    quelplatform::setLastError(kNoMemory);
    return false;
  }
}

bool QmRegKey::IsValid() const noexcept { return state_ != nullptr && state_->open; }

bool QmRegKey::IsValue(const qmWChar* name) const noexcept {
  return State::read(*this, name, false, [](const qmWString&) { return true; });
}

bool QmRegKey::DeleteValue(const qmWChar* name) noexcept {
  lastError_ = orElse([&] { return IsValid() ? state_->remove(name) : kNotOpen; }, kNoMemory);
  return lastError_ == 0;
}

std::uint32_t QmRegKey::LastError() const noexcept { return lastError_; }

void QmRegKey::Close() noexcept {
  if (state_ != nullptr) state_->close();
}

QmRegValue::operator std::uint32_t() const noexcept {
  return QmRegKey::State::read(*key_, name_, std::uint32_t{0},
                               [](const qmWString& text) { return quelplatform::wrappedInteger(text); });
}

QmRegValue::operator std::int32_t() const noexcept {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(*this));
}

QmRegValue::operator bool() const noexcept { return static_cast<std::uint32_t>(*this) != 0; }

QmRegValue::operator double() const noexcept { return QmRegKey::State::read(*key_, name_, 0.0, doubleOf); }

QmRegValue::operator const qmWChar*() const noexcept {
  const auto keep = [this](qmWString text) -> const qmWChar* {
    qmWString& kept = key_->state_->texts[qmWString(profileName(name_))];
    kept = std::move(text);
    return kept.c_str();
  };
  return QmRegKey::State::read(*key_, name_, static_cast<const qmWChar*>(nullptr), keep);
}

const QmRegValue& QmRegValue::operator=(std::int32_t value) const noexcept {
  QmRegKey::State::write(*key_, name_, [value] { return decimal(value); });
  return *this;
}

const QmRegValue& QmRegValue::operator=(std::uint32_t value) const noexcept {
  QmRegKey::State::write(*key_, name_, [value] { return decimal(value); });
  return *this;
}

const QmRegValue& QmRegValue::operator=(bool value) const noexcept { return *this = std::int32_t{value}; }

const QmRegValue& QmRegValue::operator=(double value) const noexcept {
  QmRegKey::State::write(*key_, name_, [value] { return decimal(value); });
  return *this;
}

const QmRegValue& QmRegValue::operator=(const qmWChar* text) const noexcept {
  QmRegKey::State::write(*key_, name_, [text] { return quotedIfNeeded(text); });
  return *this;
}
