#include "quelcore/project/setupMap.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>

#include "quelcore/base/File.h"
#include "quelcore/base/problems.h"
#include "quelcore/base/wideNumber.h"
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
constexpr std::u16string_view kBlanks = u" \t\n\r";

/// Takes the next piece between blanks off the front of `line`; empty, with `line` empty too, when there is none.
std::u16string_view nextPiece(std::u16string_view& line) {
  line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
  const std::u16string_view piece = line.substr(0, line.find_first_of(kBlanks));
  line.remove_prefix(piece.size());
  return piece;
}

/// The same. False, with `piece` as it was, when there is none.
bool takePiece(std::u16string_view& line, qmWString& piece) {
  const std::u16string_view found = nextPiece(line);
  if (!found.empty()) piece = found;
  return !found.empty();
}

/// The pieces of a line. Required: a missing one stays that of the line before.
struct Line {
  qmWString setupNumber = u"-1";
  qmWString cycleNumber = u"-1";
  qmWString path;

  void read(std::u16string_view line) {
    line = line.substr(0, line.find(u'\0'));
    if (takePiece(line, setupNumber) && takePiece(line, cycleNumber)) takePiece(line, path);
  }

  QmSetupNumCyclePath item() const { return {_wtoi(setupNumber.c_str()), _wtoi(cycleNumber.c_str()), path.c_str()}; }
};

/// Notes what of a line is read otherwise than it stands there.
void checkLine(std::u16string_view line, std::int32_t number) {
  const std::u16string_view text = line.substr(0, line.find(u'\0'));
  std::u16string_view rest = text;
  constexpr std::array<const char*, 3> kParts = {"setup number", "cycle number", "path"};
  for (std::size_t i = 0; i < kParts.size(); ++i) {
    const std::u16string_view piece = nextPiece(rest);
    const std::size_t end = text.size() - rest.size();
    const Place place = {.line = number, .column = static_cast<std::int32_t>(end - piece.size() + 1)};
    if (piece.empty()) return remark(place, kParts[i], "nothing, so that of the line before counts");
    if (i < 2 && !isWholeNumber(piece)) remark(place, kParts[i], ProblemText::quoted(piece), "a whole number");
  }
}

/// Left-justified in its column. Required: a number that fills the column touches what follows.
void appendNumber(std::int32_t number, std::string& text) {
  std::array<char, 16> digits;
  const char* end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
  const auto length = static_cast<std::size_t>(end - digits.data());
  text.append(digits.data(), length);
  if (length < kColumn) text.append(kColumn - length, ' ');
}

Presence unreadable(int error) {
  refuseUnreadable(error);
  return error == ENOENT || error == ENOTDIR ? Presence::Absent : Presence::Unknown;
}

}  // namespace

Presence readSetupMap(const qmWChar* path, std::vector<QmSetupNumCyclePath>& items) {
  const File file(path, u"r");
  if (!file.isOpen()) return unreadable(errno);
  WideLines lines(file.get(), kLineUnits);
  Line pieces;
  std::int32_t number = 1;
  for (std::u16string_view line; lines.next(line); number += line.ends_with(u'\n') ? 1 : 0) {
    checkLine(line, number);
    pieces.read(line);
    items.push_back(pieces.item());
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
