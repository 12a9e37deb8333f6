#include "models/FileSample.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string_view>
#include <system_error>

#include "files/Failure.h"
#include "files/WideText.h"
#include "quel/clouds/Cloud.h"

namespace queltool {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kSampleSize = std::size_t{1} << 20;

template <typename Value>
Value valueAt(const std::string& bytes, std::size_t at) {
  Value value = 0;
  if (at + sizeof value <= bytes.size()) std::memcpy(&value, bytes.data() + at, sizeof value);
  return value;
}

std::string beginningOf(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::string bytes(kSampleSize, '\0');
  in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (in.bad() || !in.is_open()) throw Failure(file.string() + ": cannot be read");
  bytes.resize(static_cast<std::size_t>(in.gcount()));
  return bytes;
}

bool isInteger(const std::string& token) {
  const std::size_t begin = token.starts_with('-') ? 1 : 0;
  return token.size() > begin && std::all_of(token.begin() + static_cast<std::ptrdiff_t>(begin), token.end(),
                                             [](unsigned char c) { return std::isdigit(c) != 0; });
}

}  // namespace

FileSample sampleOf(const fs::path& file) {
  std::error_code error;
  if (!fs::exists(file, error)) throw Failure(file.string() + ": there is no such file");
  if (!fs::is_regular_file(file, error)) throw Failure(file.string() + ": is no regular file");
  FileSample sample{file, fs::file_size(file, error), beginningOf(file), {}};
  sample.text = utf8OfText(sample.bytes);
  return sample;
}

std::string rootOf(const FileSample& sample) {
  const std::string& text = sample.text;
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  if (first == text.npos || text[first] != '<') return {};
  std::size_t at = first;
  while (at < text.size() && (text.compare(at, 2, "<?") == 0 || text.compare(at, 2, "<!") == 0)) {
    const std::string_view end = text.compare(at, 4, "<!--") == 0 ? "-->" : ">";
    at = text.find('<', text.find(end, at));
  }
  if (at >= text.size()) return {};
  return text.substr(at + 1, text.find_first_of(" \t\r\n/>", at) - at - 1);
}

bool hasText(const FileSample& sample, const char* text) { return sample.text.find(text) != std::string::npos; }

// The first word is a version or, in the oldest files, the number of cameras, which stands behind it else. A file of
// the next version is one, too.
bool looksLikeTensor(const FileSample& sample) {
  constexpr std::int32_t kNextVersion = -18;
  constexpr std::int32_t kCameras = 3;
  constexpr std::uintmax_t kLeastSize = 1024;  // Far less than any whole one has.
  const auto first = valueAt<std::int32_t>(sample.bytes, 0);
  const bool hasVersion = first >= kNextVersion && first <= 0 && valueAt<std::int32_t>(sample.bytes, 4) == kCameras;
  return sample.size >= kLeastSize && (hasVersion || first == kCameras);
}

// All of it, or pixels as far as it goes.
bool looksLikeTriplets(const FileSample& sample) {
  constexpr std::size_t kHeader = 4, kNumber = sizeof(float), kTriplet = 6 * kNumber;
  constexpr float kLeast = 1e-6F, kMost = 1e6F;
  const auto count = valueAt<std::int32_t>(sample.bytes, 0);
  if (count < 0 || sample.size < kHeader) return false;
  if (sample.size == kHeader + kTriplet * static_cast<std::uintmax_t>(count)) return true;
  for (std::size_t at = kHeader; at + kNumber <= sample.bytes.size(); at += kNumber) {
    const float size = std::abs(valueAt<float>(sample.bytes, at));
    if (size != 0.0F && !(size > kLeast && size < kMost)) return false;
  }
  return sample.size >= kHeader + kTriplet;
}

// Records of few samples, one for each position, as far as it goes.
bool looksLikeTargetMask(const FileSample& sample) {
  constexpr std::uint32_t kMostRows = 65536;
  constexpr std::size_t kHeader = 12, kCount = 8, kSample = 2, kMostSamples = 4;
  const auto first = valueAt<std::uint32_t>(sample.bytes, 0);
  const auto second = valueAt<std::uint32_t>(sample.bytes, 4);
  if (first == 0 || second == 0 || first > kMostRows || second > kMostRows) return false;
  if (sample.size < kHeader + kCount) return false;
  std::uint64_t left = std::uint64_t{first} * second;
  std::size_t at = kHeader;
  for (; left > 0 && at + kCount <= sample.bytes.size(); --left) {
    const auto count = valueAt<std::uint64_t>(sample.bytes, at);
    if (count > kMostSamples) return false;
    at += kCount + kSample * static_cast<std::size_t>(count);
  }
  return left > 0 || at >= sample.size;
}

// Two numbers and the path of a directory.
bool looksLikeSetupMap(const FileSample& sample) {
  std::istringstream words(sample.text);
  std::string number, cycle, path;
  if (!(words >> number >> cycle >> path)) return false;
  return isInteger(number) && isInteger(cycle) && path.find_first_of("/\\") != std::string::npos;
}

bool looksLikeCloud(const FileSample& sample) {
  const auto format = quel::cloudFormatOf(sample.bytes, sample.bytes.size());
  return format && !isText(format.value());
}

}  // namespace queltool
