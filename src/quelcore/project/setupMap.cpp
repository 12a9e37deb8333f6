#include "quelcore/project/setupMap.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <optional>

#include "quelcore/base/File.h"
#include "quelcore/base/problems.h"
#include "quelcore/base/wideNumber.h"
#include "quelcore/base/wideScan.h"
#include "quelcore/project/WideLines.h"
#include "quelplatform/qmEnv/qmText.h"
#include "quelplatform/windows/wideText.h"

namespace quelcore {

namespace {

/// Units of a line that the reader takes at once; it takes the rest for a further line.
constexpr std::size_t kLineUnits = 4095;

/// Width of the two columns of numbers.
constexpr std::size_t kColumn = 10;

/// What separates pieces: not all that is blank elsewhere.
constexpr std::uint64_t kBlanks = 1ULL << u' ' | 1ULL << u'\t' | 1ULL << u'\n' | 1ULL << u'\r';

constexpr bool isOneOf(std::uint64_t units, char16_t unit) { return unit <= u' ' && (units >> unit & 1U) != 0; }

/// A line, piece by piece. A NUL ends it.
class Pieces {
 public:
  explicit Pieces(std::u16string_view line) : line_(line) {}

  /// The next piece between blanks; empty when there is none.
  std::u16string_view next() {
    while (at_ < line_.size() && isOneOf(kBlanks, line_[at_])) ++at_;
    const std::size_t from = at_;
    at_ += firstUpToSpace(line_.substr(at_));
    while (at_ < line_.size() && !isOneOf(kBlanks | 1U, line_[at_])) at_ += 1 + firstUpToSpace(line_.substr(at_ + 1));
    return line_.substr(from, at_ - from);
  }

  /// Where `piece`, the last one, stands.
  std::int32_t columnOf(std::u16string_view piece) const { return static_cast<std::int32_t>(at_ - piece.size() + 1); }

 private:
  std::u16string_view line_;
  std::size_t at_ = 0;
};

/// The number, where `text` is so few digits, perhaps behind a minus, that any reading of them is the same.
std::optional<std::int32_t> shortNumber(std::u16string_view text) {
  constexpr std::size_t kFewDigits = 9;
  const bool negative = text.starts_with(u'-');
  text.remove_prefix(negative ? 1 : 0);
  if (text.empty() || text.size() > kFewDigits) return std::nullopt;
  std::int32_t number = 0;
  for (const char16_t unit : text) {
    if (!isDigit(unit)) return std::nullopt;
    number = 10 * number + (unit - u'0');
  }
  return negative ? -number : number;
}

/// The pieces of a line. Required: a missing one stays that of the line before.
class Line {
 public:
  /// Notes what is read otherwise than it stands there.
  void read(std::u16string_view line, std::int32_t number) {
    Pieces pieces(line);
    if (readNumber(pieces, number, "setup number", setupNumber_) &&
        readNumber(pieces, number, "cycle number", cycleNumber_)) {
      if (const std::u16string_view path = take(pieces, number, "path"); !path.empty()) path_ = path;
    }
  }

  void appendTo(std::vector<QmSetupNumCyclePath>& items) const {
    QmSetupNumCyclePath& item = items.emplace_back();
    item.SetSetupNumber(setupNumber_);
    item.SetCycleNumber(cycleNumber_);
    item.SetPath(path_);
  }

 private:
  // Empty when there is no such piece.
  std::u16string_view take(Pieces& pieces, std::int32_t line, const char* part) {
    const std::u16string_view piece = pieces.next();
    if (piece.empty()) {
      remark({.line = line, .column = pieces.columnOf(piece)}, part, "nothing, so that of the line before counts");
    }
    return piece;
  }

  bool readNumber(Pieces& pieces, std::int32_t line, const char* part, std::int32_t& number) {
    const std::u16string_view piece = take(pieces, line, part);
    if (piece.empty()) return false;
    const std::optional<std::int32_t> few = shortNumber(piece);
    if (!few && !isWholeNumber(piece)) {
      remark({.line = line, .column = pieces.columnOf(piece)}, part, ProblemText::quoted(piece), "a whole number");
    }
    number = few ? *few : _wtoi(qmWString(piece).c_str());
    return true;
  }

  std::int32_t setupNumber_ = -1;
  std::int32_t cycleNumber_ = -1;
  qmWString path_;
};

/// Left-justified in its column. Required: a number that fills the column touches what follows.
void appendNumber(std::int32_t number, std::string& text) {
  std::array<char, 16> digits;
  const char* end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
  const auto length = static_cast<std::size_t>(end - digits.data());
  text.append(digits.data(), length);
  if (length < kColumn) text.append(kColumn - length, ' ');
}

/// 0 where the file does not tell; nothing where it is not at its beginning again, so that it would seem empty.
std::optional<std::size_t> sizeOf(std::FILE* file) {
  const long size = std::fseek(file, 0, SEEK_END) == 0 ? std::ftell(file) : 0;
  if (std::fseek(file, 0, SEEK_SET) != 0) return std::nullopt;
  return static_cast<std::size_t>(std::max(size, 0L));
}

/// Room for so many items as a file of `size` bytes has lines like `first`, within reason: what it really has, only
/// reading tells.
void makeRoom(std::size_t size, std::u16string_view first, std::vector<QmSetupNumCyclePath>& items) {
  constexpr std::size_t kMostAhead = 1U << 20U, kShortLine = 2 * kColumn;
  items.reserve(std::min(size / std::max(first.size(), kShortLine), kMostAhead));
}

Presence unreadable(int error) {
  refuseUnreadable(error);
  return error == ENOENT || error == ENOTDIR ? Presence::Absent : Presence::Unknown;
}

}  // namespace

Presence readSetupMap(const qmWChar* path, std::vector<QmSetupNumCyclePath>& items) {
  const File file(path, u"r");
  if (!file.isOpen()) return unreadable(errno);
  const std::optional<std::size_t> size = sizeOf(file.get());
  if (!size) return unreadable(EIO);
  WideLines lines(file.get(), kLineUnits);
  Line pieces;
  std::int32_t number = 1;
  for (std::u16string_view line; lines.next(line); number += line.ends_with(u'\n') ? 1 : 0) {
    if (items.empty()) makeRoom(*size, line, items);
    pieces.read(line, number);
    pieces.appendTo(items);
  }
  return lines.failed() ? unreadable(EIO) : Presence::Present;
}

std::string setupMapText(const std::vector<QmSetupNumCyclePath>& items) {
  std::string text;
  for (const QmSetupNumCyclePath& item : items) {
    if (item.GetSetupNumber() == -1) continue;
    appendNumber(item.GetSetupNumber(), text);
    appendNumber(item.GetCycleNumber(), text);
    text += toNarrow(item.GetPath());
    text += '\n';
  }
  return text;
}

}  // namespace quelcore
