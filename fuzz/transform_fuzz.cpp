// Transform files (.trn). Input: a file, read as it is and once more with its checksum put right. No losses.
#include <charconv>
#include <cmath>
#include <cstring>
#include <span>

#include "fuzz/support/Fuzzing.h"
#include "quelplatform/ground/files/Crc64.h"
#include "quelplatform/qmMath/qmMathTransformFile.h"

namespace {

std::string mended(const std::string& content) {
  const std::size_t check = content.rfind("check ");
  if (check == content.npos) return content;
  char digits[16];
  const std::uint64_t value = quelplatform::crc64(std::as_bytes(std::span(content)).first(check));
  const auto end = std::to_chars(digits, digits + sizeof digits, value, 16).ptr;
  const std::string text(digits, end);
  return content.substr(0, check) + "check " + std::string(16 - text.size(), '0') + text + '\n';
}

std::int32_t load(const std::string& content, const qmWString& path, qmMathTransform& transform) {
  const quelfuzz::MemoryWatch watch;
  const std::int32_t loaded = qmMathTransformLoad(path.c_str(), &transform);
  watch.requireAtMost(quelfuzz::kTimesFile, 0, content.size());
  return loaded;
}

void tryFile(const std::string& content) {
  const qmWString path = quelfuzz::makeFile("turn.trn", content);
  qmMathTransform transform;
  std::memset(&transform, 0x5A, sizeof transform);
  const qmMathTransform before = transform;
  if (load(content, path, transform) == 0) {
    quelfuzz::require(std::memcmp(&transform, &before, sizeof before) == 0, "a refused file leaves the transform");
    return;
  }
  quelfuzz::require(qmMathTransformStore(path.c_str(), &transform) == 1, "what was read can be written");
  quelfuzz::require(quelfuzz::contentOf("turn.trn") == content, "what was read is written to the byte");
}

/// Files that are not there, calls without one, and a transform that no file holds.
void requireRefusals() {
  qmMathTransform transform = {};
  const qmWString folder = quelfuzz::pathOf("legends");
  for (const qmWChar* path : {folder.c_str(), static_cast<const qmWChar*>(nullptr)}) {
    quelfuzz::require(qmMathTransformLoad(path, &transform) == 0, "what is no file is not loaded");
    quelfuzz::require(qmMathTransformStore(path, &transform) == 0, "what can be no file is not written");
  }
  transform.translation[1] = HUGE_VAL;
  quelfuzz::require(qmMathTransformStore(quelfuzz::pathOf("turn.trn").c_str(), &transform) == 0, "numbers are finite");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quelfuzz::atFirst(requireRefusals);
  const std::string content(quelfuzz::bytesOf(data, size));
  tryFile(content);
  const std::string right = mended(content);
  if (right != content) tryFile(right);
  return 0;
}
