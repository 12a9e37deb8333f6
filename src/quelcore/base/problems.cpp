#include "quelcore/base/problems.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <utility>

#include "quelplatform/qmEnv/qmTypes.h"

namespace quelcore {

namespace {

constexpr std::int32_t kMostRemarks = 8;
constexpr std::size_t kLongestCitation = 40;
constexpr const char* kNoMemory = "memory is exhausted";

/// What a thread's last reading found. Plain, so that threads neither make nor destroy anything.
struct Findings {
  char file[sizeof(QmProblem::file)];
  QmProblem problem;
  QmProblem remarks[kMostRemarks];
  std::int32_t remarkCount;
  bool hasProblem;
};

Findings& findings() noexcept {
  static thread_local Findings ofThisThread;
  return ofThisThread;
}

void copyText(const char* from, char* to, std::size_t size) {
  const std::size_t length = std::min(std::strlen(from), size - 1);
  std::memcpy(to, from, length);
  to[length] = '\0';
}

bool isHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool isLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

/// Takes one character off the front of `text`; U+FFFD for half of one, and for what would break a line.
char32_t takeCharacter(std::u16string_view& text) {
  constexpr char32_t kReplacement = 0xFFFD;
  const char16_t unit = text.front();
  text.remove_prefix(1);
  if (unit < u' ' || isLowSurrogate(unit)) return kReplacement;
  if (!isHighSurrogate(unit)) return unit;
  if (text.empty() || !isLowSurrogate(text.front())) return kReplacement;
  const char16_t low = text.front();
  text.remove_prefix(1);
  return 0x10000 + ((char32_t{unit} - 0xD800) << 10) + (char32_t{low} - 0xDC00);
}

/// Appends a character as UTF-8 where there is room for it. Returns the new end.
char* appendCharacter(char32_t c, char* at, const char* limit) {
  const int length = c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
  if (limit - at < length) return at;
  constexpr unsigned char kLead[] = {0, 0, 0xC0, 0xE0, 0xF0};
  for (int i = length - 1; i > 0; --i, c >>= 6) at[i] = static_cast<char>(0x80 | (c & 0x3F));
  at[0] = static_cast<char>(kLead[length] | c);
  return at + length;
}

char* appendUtf8(std::u16string_view text, char* at, const char* limit) {
  while (!text.empty()) at = appendCharacter(takeCharacter(text), at, limit);
  return at;
}

QmProblem made(const Place& place, const ProblemText& part, const ProblemText& found, const ProblemText& expected) {
  QmProblem problem;
  copyText(findings().file, problem.file, sizeof(problem.file));
  problem.line = place.line;
  problem.column = place.column;
  problem.offset = place.offset;
  copyText(part.text, problem.part, sizeof(problem.part));
  copyText(found.text, problem.found, sizeof(problem.found));
  copyText(expected.text, problem.expected, sizeof(problem.expected));
  return problem;
}

const char* wordsFor(int error) {
  switch (error) {
    case 0:
      return "it could not be found at first";
    case ENOENT:
    case ENOTDIR:
      return "there is no such file";
    case EACCES:
    case EPERM:
      return "the file may not be read";
    case EISDIR:
      return "it is a directory";
    case ENOMEM:
      return kNoMemory;
    case EINVAL:
      return "it is no file that can be read";
    default:
      return nullptr;
  }
}

/// Takes `word` and the number behind it off the front of `text`. False, with both as they were, for other text.
bool takeNumber(std::string_view& text, std::string_view word, std::int32_t& number) {
  if (!text.starts_with(word)) return false;
  const char* const end = text.data() + text.size();
  const auto taken = std::from_chars(text.data() + word.size(), end, number);
  if (taken.ec != std::errc()) return false;
  text.remove_prefix(static_cast<std::size_t>(taken.ptr - text.data()));
  return true;
}

/// A line of `size` units with its NUL that counts what did not fit.
class Line {
 public:
  Line(char* buffer, std::int32_t size) : at_(buffer), room_(buffer == nullptr ? 0 : size) {
    if (room_ > 0) *at_ = '\0';
  }

  [[gnu::format(printf, 2, 3)]] void add(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(at_, static_cast<std::size_t>(std::max(room_, 0)), format, arguments);
    va_end(arguments);
    const int written = std::clamp(length, 0, std::max(room_ - 1, 0));
    if (at_ != nullptr) at_ += written;
    room_ -= written;
    length_ += length;
  }

  std::int32_t length() const { return length_; }

 private:
  char* at_;
  std::int32_t room_;
  std::int32_t length_ = 0;
};

}  // namespace

ProblemText::ProblemText(const char* words) noexcept { copyText(words, text, sizeof(text)); }

ProblemText ProblemText::quoted(std::u16string_view citation) noexcept {
  ProblemText made("\"");
  char* const end = appendUtf8(citation.substr(0, kLongestCitation), made.text + 1, std::end(made.text) - 2);
  std::memcpy(end, "\"", 2);
  return made;
}

ProblemText ProblemText::plain(std::u16string_view words) noexcept {
  ProblemText made("");
  *appendUtf8(words, made.text, std::end(made.text) - 1) = '\0';
  return made;
}

ProblemText ProblemText::printed(const char* format, ...) noexcept {
  ProblemText made("");
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(made.text, sizeof(made.text), format, arguments);
  va_end(arguments);
  return made;
}

void beginReading(const qmWChar* path) noexcept {
  findings().hasProblem = false;
  findings().remarkCount = 0;
  goOnReading(path);
}

void goOnReading(const qmWChar* path) noexcept {
  char* const file = findings().file;
  *appendUtf8(path == nullptr ? u"" : path, file, file + sizeof(Findings::file) - 1) = '\0';
}

bool refuse(const Place& place, const ProblemText& part, const ProblemText& found,
            const ProblemText& expected) noexcept {
  if (!findings().hasProblem) findings().problem = made(place, part, found, expected);
  findings().hasProblem = true;
  return false;
}

bool hasRoomForRemark() noexcept { return findings().remarkCount < kMostRemarks; }

void remark(const Place& place, const ProblemText& part, const ProblemText& found,
            const ProblemText& expected) noexcept {
  std::int32_t& count = findings().remarkCount;
  if (hasRoomForRemark()) findings().remarks[count++] = made(place, part, found, expected);
}

bool refuseUnreadable(int error) noexcept {
  const char* words = wordsFor(error);
  return refuse({}, "", words != nullptr ? words : ProblemText::printed("it cannot be read: system error %d", error));
}

bool refuseForMemory() noexcept { return refuse({}, "", kNoMemory); }

bool refuseXmlError(std::u16string_view error) noexcept {
  if (error.empty()) return refuseForMemory();
  const ProblemText cause = ProblemText::plain(error);
  std::string_view text = cause.text;
  Place place;
  if (takeNumber(text, "line ", place.line) && takeNumber(text, ", column ", place.column) && text.starts_with(": ")) {
    text.remove_prefix(2);
  } else {
    text = cause.text;
    place = {};
  }
  return refuse(place, "", text.data());
}

}  // namespace quelcore

const QmProblem* qmLastProblem() noexcept {
  const auto& findings = quelcore::findings();
  return findings.hasProblem ? &findings.problem : nullptr;
}

const QmProblem* qmLastRemark(std::int32_t index) noexcept {
  const auto& findings = quelcore::findings();
  return index >= 0 && index < findings.remarkCount ? &findings.remarks[index] : nullptr;
}

std::int32_t qmProblemText(const QmProblem& problem, char* buffer, std::int32_t size) noexcept {
  quelcore::Line line(buffer, size);
  const char* joint = "";
  const auto separate = [&] { return std::exchange(joint, ", "); };
  if (problem.file[0] != '\0') line.add("%s%s", separate(), problem.file);
  if (problem.line > 0) line.add("%sline %d", separate(), problem.line);
  if (problem.line > 0 && problem.column > 0) line.add("%scolumn %d", separate(), problem.column);
  if (problem.offset >= 0) line.add("%soffset %lld", separate(), static_cast<long long>(problem.offset));
  if (problem.part[0] != '\0') line.add("%s%s", separate(), problem.part);
  if (joint[0] != '\0') line.add(": ");
  if (problem.expected[0] != '\0') line.add("expected %s, found ", problem.expected);
  line.add("%s", problem.found);
  return line.length();
}
