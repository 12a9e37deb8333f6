#include "quelcore/project/setupMap.h"

#include <array>
#include <charconv>

#include "quelcore/base/File.h"
#include "quelcore/project/WideLines.h"
#include "quelplatform/qmEnv/qmText.h"
#include "quelplatform/windows/wideText.h"

namespace quelcore {

namespace {

/// Units of a line that the reader takes at once; it takes the rest for a further line.
constexpr std::size_t kLineUnits = 4095;

/// Width of the two columns of numbers.
constexpr std::size_t kColumn = 10;

constexpr std::u16string_view kBlanks = u" \t\n\r";

/// Takes the next piece between blanks off the front of `line`. False, with `piece` as it was, when there is none.
bool takePiece(std::u16string_view& line, qmWString& piece) {
  const std::size_t begin = line.find_first_not_of(kBlanks);
  if (begin == std::u16string_view::npos) return false;
  line.remove_prefix(begin);
  const std::u16string_view found = line.substr(0, line.find_first_of(kBlanks));
  line.remove_prefix(found.size());
  piece = found;
  return true;
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

/// Left-justified in its column. Required: a number that fills the column touches what follows.
void appendNumber(std::int32_t number, std::string& text) {
  std::array<char, 16> digits;
  const char* end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
  const auto length = static_cast<std::size_t>(end - digits.data());
  text.append(digits.data(), length);
  if (length < kColumn) text.append(kColumn - length, ' ');
}

}  // namespace

bool readSetupMap(const qmWChar* path, std::vector<QmSetupNumCyclePath>& items) {
  const File file(path, u"r");
  if (!file.isOpen()) return false;
  WideLines lines(file.get(), kLineUnits);
  Line pieces;
  for (std::u16string_view line; lines.next(line);) {
    pieces.read(line);
    items.push_back(pieces.item());
  }
  return !lines.failed();
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
