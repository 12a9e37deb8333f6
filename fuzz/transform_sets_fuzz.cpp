// The list of sets of commutator transforms. Input: its file.
//
// Losses: all but the numbers; a number that is none reads as 0; the next number is the highest plus 1.
#include <vector>

#include "fuzz/support/Fuzzing.h"
#include "quelcore/transforms/QmCommutatorTrnsMan.h"
#include "quelplatform/qmMath/qmMathTransformFile.h"

namespace {

struct Manager : QmCommutatorTrnsMan {
  Manager() = default;
};

/// Numbers of the sets, and that of the current one.
struct Numbers {
  std::vector<std::uint32_t> all;
  std::uint32_t current = 0;

  bool operator==(const Numbers&) const = default;
};

Numbers numbersOf(Manager& manager) {
  Numbers numbers;
  for (std::size_t i = 0; i < manager.getNumberTrnsSets(); ++i) {
    numbers.all.push_back(manager.getTrnsSet(i)->getSequentialID());
  }
  const QmCommutatorTrnsSet* current = manager.getCurTrnsSet();
  numbers.current = current == nullptr ? 0 : current->getSequentialID();
  return numbers;
}

/// A pair of set 3, so that sets of that number have something.
void makePair() {
  qmMathTransform transform = {};
  for (const char* name : {"3_7_TrackerLeft.trn", "3_7_TrackerRight.trn"}) {
    qmMathTransformStore(quelfuzz::pathOf(name).c_str(), &transform);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quelfuzz::atFirst([] {
    makePair();
    quelfuzz::makeFolder("CommutatorTrnsManager.xml");
    Manager unknown;
    quelfuzz::require(unknown.loadAllTrnsSets() == 0, "a folder holds no list");
    quelfuzz::require(unknown.addTrnsSet(new QmCommutatorTrnsSet, true) && !unknown.saveAllTrnsSets(),
                      "what cannot be read is not replaced");
    quelfuzz::removeFolder("CommutatorTrnsManager.xml");
  });
  quelfuzz::makeFile("CommutatorTrnsManager.xml", quelfuzz::bytesOf(data, size));
  Manager manager;
  {
    const quelfuzz::MemoryWatch watch;
    manager.loadAllTrnsSets();
    watch.requireAtMost(quelfuzz::kTimesXml, 10, size);
  }
  if (manager.getNumberTrnsSets() > 8) return 0;  // Each set is looked for in the folder.
  const Numbers numbers = numbersOf(manager);
  if (numbers.all.empty()) return 0;
  quelfuzz::require(manager.saveAllTrnsSets(), "sets can be saved");
  quelfuzz::require(numbers.current == 0 || manager.setCurTrnsSet(numbers.current), "the current set stays current");
  quelfuzz::require(manager.saveAllTrnsSets(), "what is not changed is saved");
  Manager again;
  quelfuzz::require(again.loadAllTrnsSets() == numbers.all.size(), "as many sets are read again");
  quelfuzz::require(numbersOf(again) == numbers, "sets keep their numbers");
  return 0;
}
