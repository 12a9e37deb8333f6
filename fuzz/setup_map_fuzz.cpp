// The setup map. Input: its file.
//
// Losses: items without a number; what stands behind the path; a path with a blank, a number of ten characters and an
// item without a path are read otherwise than they were written, as docs/formats.md tells.
#include <vector>

#include "fuzz/support/Fuzzing.h"
#include "quelcore/project/setupMap.h"

namespace {

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
  quelfuzz::require(quelcore::readSetupMap(quelfuzz::makeFile("again.txt", text).c_str(), again), "a map can be read");
  quelfuzz::require(again.size() == items.size(), "as many items are read again");
  for (std::size_t i = 0; i < items.size(); ++i) {
    quelfuzz::require(isSame(items[i], again[i]), "an item is read again as it was");
  }
  quelfuzz::require(quelcore::setupMapText(again) == text, "what is read again is written to the byte");
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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quelfuzz::atFirst([] {
    std::vector<QmSetupNumCyclePath> none;
    quelfuzz::require(!quelcore::readSetupMap(quelfuzz::pathOf("nowhere").c_str(), none),
                      "what is no file is not read");
    quelfuzz::require(!quelcore::readSetupMap(quelfuzz::pathOf("legends").c_str(), none), "a folder is no map");
  });
  const qmWString path = quelfuzz::makeFile("SetupMap.txt", quelfuzz::bytesOf(data, size));
  std::vector<QmSetupNumCyclePath> items;
  {
    const quelfuzz::MemoryWatch watch;
    quelfuzz::require(quelcore::readSetupMap(path.c_str(), items), "nothing in a map is refused");
    // An empty line, one byte, is an item with the path of the line before.
    std::size_t handedOut = 0;
    for (const QmSetupNumCyclePath& item : items) handedOut += sizeof item + 2 * qmWString(item.GetPath()).size() + 2;
    watch.requireAtMost(quelfuzz::kTimesFile, 0, size + handedOut);
  }
  if (items.size() < 64) requireManager(items);
  requireTrip(items);
  return 0;
}
