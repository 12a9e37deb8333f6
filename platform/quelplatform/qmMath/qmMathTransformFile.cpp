#include "quelplatform/qmMath/qmMathTransformFile.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <new>
#include <span>
#include <string>
#include <string_view>

#include "quelplatform/ground/files/Crc64.h"
#include "quelplatform/ground/files/atomicFile.h"
#include "quelplatform/ground/files/nativePath.h"
#include "quelplatform/ground/files/openFile.h"
#include "quelplatform/ground/files/systemErrors.h"

namespace quelplatform {
namespace {

constexpr std::string_view kFirstLine = "QuelTransform 1\n";
constexpr std::size_t kLargestFile = 1024;

// The place of number `n` of the twelve in file order: row by row, the translation last in each.
template <typename Transform>
auto& numberOf(Transform& transform, int n) {
  return n % 4 == 3 ? transform.translation[n / 4] : transform.rotation[n / 4][n % 4];
}

std::string checkOf(const std::string& text) {
  char digits[17] = {};
  const auto end = std::to_chars(digits, digits + 16, crc64(std::as_bytes(std::span(text))), 16);
  const auto length = static_cast<std::size_t>(end.ptr - digits);
  return std::string(16 - length, '0') + digits;
}

std::string textOf(const qmMathTransform& transform) {
  std::string text(kFirstLine);
  for (int n = 0; n < 12; ++n) {
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof digits, numberOf(transform, n));
    text.append(digits, end.ptr).push_back(n % 4 == 3 ? '\n' : ' ');
  }
  return text + "check " + checkOf(text) + '\n';
}

// The transform that `text` holds, if its numbers stand where they belong. Whether all else does is told by comparing
// it with what would be written for them.
bool readNumbers(std::string_view text, qmMathTransform& transform) {
  if (text.substr(0, kFirstLine.size()) != kFirstLine) return false;
  const char* next = text.data() + kFirstLine.size();
  const char* const end = text.data() + text.size();
  for (int n = 0; n < 12; ++n) {
    double& number = numberOf(transform, n);
    const auto result = std::from_chars(next, end, number);
    if (result.ec != std::errc() || result.ptr == end || !std::isfinite(number)) return false;
    next = result.ptr + 1;
  }
  return true;
}

bool isFinite(const qmMathTransform& transform) {
  for (int n = 0; n < 12; ++n) {
    if (!std::isfinite(numberOf(transform, n))) return false;
  }
  return true;
}

bool load(const qmWChar* path, qmMathTransform& transform) {
  std::string text;
  qmMathTransform read;
  const std::string native = nativePath(path);
  const int error = readWholeFile(native, kLargestFile, text);
  setLastErrorOfReading(error == EFBIG ? 0 : error, native);  // So large, it is none.
  if (error != 0 || !readNumbers(text, read)) return false;
  if (textOf(read) != text) return false;
  transform = read;
  return true;
}

bool store(const qmWChar* path, const qmMathTransform& transform) {
  if (!isFinite(transform)) return false;
  const std::string text = textOf(transform);
  const std::string native = nativePath(path);
  int error = 0;
  return !native.empty() && writeFileAtomically(native, std::as_bytes(std::span(text)), error);
}

}  // namespace
}  // namespace quelplatform

std::int32_t qmMathTransformLoad(const qmWChar* path, qmMathTransform* transform) noexcept try {
  return path != nullptr && transform != nullptr && quelplatform::load(path, *transform) ? 1 : 0;
} catch (const std::bad_alloc&) {
  quelplatform::setLastError(quelplatform::kErrorNotEnoughMemory);
  return 0;
}

std::int32_t qmMathTransformStore(const qmWChar* path, const qmMathTransform* transform) noexcept try {
  return path != nullptr && transform != nullptr && quelplatform::store(path, *transform) ? 1 : 0;
} catch (const std::bad_alloc&) {
  return 0;
}
