// The setup map. Input: its file.
//
// Losses: items without a number; what stands behind the path; a path with a blank, a number of ten characters and an
// item without a path are read otherwise than they were written, as docs/formats.md tells.
#include <algorithm>
#include <vector>

#include "fuzz/support/Fuzzing.h"
#include "quelcore/project/setupMap.h"
#include "quelplatform/ground/text/conversion.h"
#include "quelplatform/windows/wideText.h"

namespace {

using quelcore::Presence;

bool isRead(const qmWString& path, std::vector<QmSetupNumCyclePath>& items) {
  return quelcore::readSetupMap(path.c_str(), items) == Presence::Present;
}

bool isShort(std::int32_t number) { return std::to_string(number).size() < 10; }

/// Whether an item that was read is written as what it is.
bool isPlain(const QmSetupNumCyclePath& item) {
  return isShort(item.GetSetupNumber()) && isShort(item.GetCycleNumber()) && *item.GetPath() != u'\0' &&
         qmWString(item.GetPath()).size() < 4000;
}

bool isSame(const QmSetupNumCyclePath& a, const QmSetupNumCyclePath& b) {
  return a.GetSetupNumber() == b.GetSetupNumber() && a.GetCycleNumber() == b.GetCycleNumber() &&
         a.ComparePath(b.GetPath());
}

void requireTrip(std::vector<QmSetupNumCyclePath>& items) {
  std::erase_if(items, [](const QmSetupNumCyclePath& item) { return item.GetSetupNumber() == -1; });
  for (const QmSetupNumCyclePath& item : items) {
    if (!isPlain(item)) return;
  }
  const std::string text = quelcore::setupMapText(items);
  std::vector<QmSetupNumCyclePath> again;
  quelfuzz::require(isRead(quelfuzz::makeFile("again.txt", text), again), "a map can be read");
  quelfuzz::require(again.size() == items.size(), "as many items are read again");
  for (std::size_t i = 0; i < items.size(); ++i) {
    quelfuzz::require(isSame(items[i], again[i]), "an item is read again as it was");
  }
  quelfuzz::require(quelcore::setupMapText(again) == text, "what is read again is written to the byte");
}

/// The pieces of a line as plain as they can be: what stands between blanks, up to a NUL.
std::vector<qmWString> piecesOf(const qmWString& line) {
  std::vector<qmWString> pieces;
  bool inPiece = false;
  for (const qmWChar unit : line.substr(0, line.find(u'\0'))) {
    const bool isBlank = unit == u' ' || unit == u'\t' || unit == u'\r' || unit == u'\n';
    if (!isBlank && !inPiece) pieces.emplace_back();
    if (!isBlank) pieces.back() += unit;
    inPiece = !isBlank;
  }
  return pieces;
}

/// The items of a map, all of whose text is looked at at once. A missing piece is that of the line before.
std::vector<QmSetupNumCyclePath> plainItems(const std::string& bytes) {
  constexpr std::size_t kMostUnits = 4095;
  qmWString text = quelplatform::utf16Of(bytes);
  if (text.starts_with(u'\xFEFF')) text.erase(0, 1);
  std::vector<QmSetupNumCyclePath> items;
  qmWString last[3] = {u"-1", u"-1", u""};
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min({text.find(u'\n', begin), text.size() - 1, begin + kMostUnits - 1}) + 1;
    const std::vector<qmWString> pieces = piecesOf(text.substr(begin, end - begin));
    for (std::size_t i = 0; i < std::min<std::size_t>(pieces.size(), 3); ++i) last[i] = pieces[i];
    items.emplace_back(_wtoi(last[0].c_str()), _wtoi(last[1].c_str()), last[2].c_str());
    begin = end;
  }
  return items;
}

void requireItems(const std::vector<QmSetupNumCyclePath>& items, const std::vector<QmSetupNumCyclePath>& plain) {
  quelfuzz::require(items.size() == plain.size(), "a map has an item for each line");
  for (std::size_t i = 0; i < items.size(); ++i) quelfuzz::require(isSame(items[i], plain[i]), "an item is its line");
}

/// The same through the manager, which saves.
void requireManager(const std::vector<QmSetupNumCyclePath>& items) {
  QmSetupNumbersManager numbers;
  quelfuzz::require(numbers.Initialize() == 0, "a map that was read is read by the manager");
  quelfuzz::require(static_cast<std::size_t>(numbers.GetItemCount()) == items.size(), "it holds all items");
  for (std::int32_t i = 0; i < numbers.GetItemCount(); ++i) {
    QmSetupNumCyclePath* item = nullptr;
    numbers.GetItemByIndex(i, item);
    quelfuzz::require(item != nullptr && isSame(*item, items[static_cast<std::size_t>(i)]), "it holds the same items");
  }
  if (numbers.AddItem(77777, u"/added/by/hand/here", 2) != 0) return;
  quelfuzz::require(numbers.Uninitialize() == 0, "a changed map can be saved");
  quelfuzz::require(quelfuzz::contentOf("SetupMap.txt").ends_with("77777     2         /added/by/hand/here\n"),
                    "what was added stands at the end");
}

/// A map of one line that is as large as a file: it is read in pieces, each an item.
void requireProportions() {
  const std::string line(std::size_t{1} << 20, '7');
  std::vector<QmSetupNumCyclePath> items;
  const qmWString path = quelfuzz::makeFile("large.txt", line);
  const quelfuzz::MemoryWatch watch;
  quelfuzz::require(isRead(path, items) && items.size() == line.size() / 4095 + 1, "in pieces");
  watch.requireAtMost(0, 0, line.size());
  quelfuzz::removeFile("large.txt");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quelfuzz::atFirst([] {
    std::vector<QmSetupNumCyclePath> none;
    quelfuzz::require(quelcore::readSetupMap(quelfuzz::pathOf("nowhere").c_str(), none) == Presence::Absent,
                      "what is no file is not read");
    quelfuzz::require(quelcore::readSetupMap(quelfuzz::pathOf("legends").c_str(), none) == Presence::Unknown,
                      "a folder is no map");
    requireProportions();
  });
  const qmWString path = quelfuzz::makeFile("SetupMap.txt", quelfuzz::bytesOf(data, size));
  std::vector<QmSetupNumCyclePath> items;
  {
    const quelfuzz::MemoryWatch watch;
    quelfuzz::require(isRead(path, items), "nothing in a map is refused");
    // An empty line, one byte, is an item with the path of the line before.
    std::size_t handedOut = 0;
    for (const QmSetupNumCyclePath& item : items) handedOut += sizeof item + 2 * qmWString(item.GetPath()).size() + 2;
    watch.requireAtMost(quelfuzz::kTimesFile, 0, size + handedOut);
  }
  if (size < 1024) requireItems(items, plainItems(std::string(quelfuzz::bytesOf(data, size))));
  if (items.size() < 16) requireManager(items);
  requireTrip(items);
  return 0;
}
