#include "quelplatform/qmEnv/qmParam.h"

#include <array>
#include <cerrno>
#include <exception>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "quelplatform/ground/files/systemErrors.h"
#include "quelplatform/ground/text/asciiCase.h"
#include "quelplatform/ground/text/iniNumber.h"
#include "quelplatform/qmEnv/HomeTable.h"

namespace {

using quelplatform::asciiLowered;
using quelplatform::IniEntry;
using quelplatform::IniFile;
using quelplatform::IniSection;

/// The values of params.ini by key in small letters.
class Params {
 public:
  explicit Params(IniFile& file) : known_(!file.unknown) {
    for (const IniSection& section : file.sections) {
      if (section.line != 0) file.report(section.line, "there are no sections in this file; the line is ignored");
      for (const IniEntry& entry : section.entries) values_.emplace(asciiLowered(entry.key), entry.value);
    }
  }

  /// Whether these are those of the file as it stands; otherwise it could not be read.
  bool areKnown() const { return known_; }

  std::optional<std::string> find(const char* key) const {
    const auto found = values_.find(asciiLowered(key));
    return found == values_.end() ? std::nullopt : std::optional(found->second);
  }

 private:
  bool known_;
  std::map<std::string, std::string> values_;
};

// The last error tells an absent value from one that nobody knows.
std::optional<std::string> valueOf(const char* key) {
  static auto& table = *new quelplatform::HomeTable<Params>("params.ini", "qmParam");
  const std::shared_ptr<const Params> params = table.get();
  std::optional<std::string> value = params->find(key);
  quelplatform::setLastError(params->areKnown() ? 0 : quelplatform::windowsError(EIO));
  return value;
}

std::int32_t failForMemory() noexcept {
  quelplatform::setLastError(quelplatform::kErrorNotEnoughMemory);
  return 0;
}

struct FlagWord {
  std::string_view word;
  _qmBool flag;
};
constexpr std::array kFlagWords = {FlagWord{"1", 1}, FlagWord{"true", 1},  FlagWord{"yes", 1}, FlagWord{"on", 1},
                                   FlagWord{"0", 0}, FlagWord{"false", 0}, FlagWord{"no", 0},  FlagWord{"off", 0}};

std::optional<_qmBool> flagOf(const std::string& text) {
  for (const FlagWord& known : kFlagWords) {
    if (quelplatform::sameButAsciiCase(text, known.word)) return known.flag;
  }
  return std::nullopt;
}

template <typename Number>
std::int32_t readNumber(const char* key, Number defaultValue, Number* result) noexcept try {
  if (result == nullptr) return 0;
  *result = defaultValue;
  if (key == nullptr) return 0;
  const std::optional<std::string> value = valueOf(key);
  const std::optional<Number> read = value ? quelplatform::iniNumber<Number>(*value) : std::nullopt;
  if (!read) return 0;
  *result = *read;
  return 1;
} catch (const std::exception&) {
  return failForMemory();
}

}  // namespace

std::int32_t qmEnvGetParam2qmBool(const char* key, std::int32_t, _qmBool* flag) noexcept try {
  if (key == nullptr || flag == nullptr) return 0;
  const std::optional<std::string> value = valueOf(key);
  const std::optional<_qmBool> read = value ? flagOf(*value) : std::nullopt;
  if (!read) return 0;
  *flag = *read;
  return 1;
} catch (const std::exception&) {
  return failForMemory();
}

std::int32_t qmEnvGetParam2double(const char* key, double defaultValue, double* result) noexcept {
  return readNumber(key, defaultValue, result);
}

std::int32_t qmEnvGetParam2float(const char* key, float defaultValue, float* result) noexcept {
  return readNumber(key, defaultValue, result);
}

std::int32_t qmEnvGetParam2int(const char* key, std::int32_t defaultValue, std::int32_t* result) noexcept {
  return readNumber(key, defaultValue, result);
}

std::int32_t qmEnvGetParam2qmString(const char* key, const char* defaultValue, qmString& result) noexcept try {
  result = qmString();
  std::optional<std::string> value = key == nullptr ? std::nullopt : valueOf(key);
  if (value) {
    result = qmString(std::move(*value));
    return 1;
  }
  if (defaultValue != nullptr && *defaultValue != '\0') result = qmString(defaultValue);
  return 0;
} catch (const std::exception&) {
  return failForMemory();
}
