#include <cerrno>
#include <filesystem>
#include <memory>

#include "quelcore/presentation/DeviationColorScheme.h"
#include "quelcore/project/QmCycleCounter.h"
#include "quelcore/project/QmProjectInfo.h"
#include "quelcore/project/QmSetupNumbersManager.h"
#include "quelcore/transforms/QmCommutatorTrnsMan.h"
#include "quelplatform/qmEnv/QmWorkPlace.h"
#include "testing/faults/Scenario.h"
#include "testing/faults/SystemCalls.h"
#include "testing/faults/scenarios.h"

namespace quel::faults {

namespace {

namespace fs = std::filesystem;
using quel::testing::writeFile;

constexpr int kSetups = 20;

void writeSetupMap() {
  QmSetupNumbersManager numbers;
  numbers.Initialize();
  for (int i = 0; i < kSetups; ++i)
    numbers.AddItem(10 + i, (u"setups\\s" + std::u16string(1, static_cast<char16_t>(u'a' + i))).c_str(), i);
  // More than a stream reads at once.
  for (int i = 0; i < 2; ++i)
    numbers.AddItem(40 + i, (u"setups\\" + std::u16string(3000, static_cast<char16_t>(u'y' + i))).c_str(), i);
  numbers.SaveSetupList();
}

bool addSetup() {
  QmSetupNumbersManager numbers;
  return numbers.Initialize() == 0 && numbers.AddItem(77, u"setups\\further", 3) == 0 && numbers.SaveSetupList() == 0;
}

// The header's own example: whoever does not look at what Initialize says.
bool addSetupRegardless() {
  QmSetupNumbersManager numbers;
  numbers.Initialize();
  numbers.AddItem(77, u"setups\\further", 3);
  return numbers.SaveSetupList() == 0;
}

QmCommutatorTrnsSet* newSet(double x) {
  auto set = std::make_unique<QmCommutatorTrnsSet>();
  auto pair = std::make_unique<QmCommutatorTrns>(5);
  qmMathTransform move = pair->getTrn(TrnPosLeft);
  move.translation[0] = x;
  pair->setTrn(TrnPosLeft, move);
  if (set->addTrns(pair.get())) pair.release();
  return set.release();
}

// The manager is one for the process, and stays.
bool addTransformSet(double x) {
  QmCommutatorTrnsMan* manager = QmCommutatorTrnsMan::createInstance();
  std::unique_ptr<QmCommutatorTrnsSet> set(newSet(x));
  if (set->getNumberTrns() != 1 || !manager->addTrnsSet(set.get(), true)) return false;
  set.release();
  return manager->saveAllTrnsSets();
}

Scenario addingATransformSet() {
  Scenario scenario;
  scenario.name = "ASetOfTransformsIsAdded";
  scenario.prepare = [] {
    addTransformSet(1);
    addTransformSet(2);
  };
  scenario.act = [] { return unlessOutOfMemory([] { return addTransformSet(3); }); };
  scenario.inSteps = true;  // a file for each transform, and the list
  scenario.reportsBlindly = true;
  scenario.onlyOnce = true;
  return scenario;
}

bool addColour(std::uint16_t percentage) {
  DeviationColorScheme* scheme = DeviationColorScheme::GetInstance();
  if (scheme == nullptr) return false;
  const bool done = scheme->add(percentage, {0x00112233, u"mine"}) && scheme->save();
  DeviationColorScheme::FreeInstance();
  return done;
}

std::uint32_t counted = 0;

std::string countAgrees(bool) {
  const std::uint32_t stands = QmCycleCounter::getCurrentValue();
  return stands == counted || stands == counted - 1 ? "" : "the count went from one number to another";
}

void makeSetups() {
  for (const char* name : {"root/p/a/s1", "root/p/a/s2", "root/p/b/s3", "root/q/c/s4"}) {
    fs::create_directories(name);
    writeFile(fs::path(name) / "autosetup.qms", "");
  }
}

std::size_t listed = 0;

bool listSetups() {
  std::vector<QmSetupInfo*> list;
  const bool success = GetInitialSetupList(u"root", list);
  listed = list.size();
  RemoveSetupData(list);
  return success;
}

Scenario listing() {
  Scenario scenario;
  scenario.name = "SetupsAreListed";
  scenario.prepare = makeSetups;
  scenario.act = [] { return unlessOutOfMemory(listSetups); };
  scenario.agrees = [](bool success) -> std::string {
    const bool mayBeSeen = errorGiven() != EACCES;  // what one may not look into counts as empty
    return !success || listed == 4 || !mayBeSeen ? "" : std::to_string(listed) + " of 4 setups, and true";
  };
  return scenario;
}

}  // namespace

std::vector<Scenario> projectScenarios() {
  Scenario counting;
  counting.name = "ACycleIsCounted";
  counting.prepare = [] {
    for (int i = 0; i < 41; ++i) QmCycleCounter::incCurrentValue();
  };
  counting.act = [] {
    counted = 42;
    return unlessOutOfMemory([] { return QmCycleCounter::incCurrentValue() == 42; });
  };
  counting.reportsBlindly = true;
  counting.agrees = countAgrees;
  Scenario numbering = {"ASetupIsNumbered", writeSetupMap, [] { return unlessOutOfMemory(addSetup); }};
  numbering.mayTryAgain = true;
  Scenario regardless = {"ASetupIsNumberedByWhoDoesNotLook", writeSetupMap,
                         [] { return unlessOutOfMemory(addSetupRegardless); }};
  regardless.reportsBlindly = true;  // what was refused before leaves nothing to be saved
  return {numbering,
          regardless,
          counting,
          addingATransformSet(),
          {"AColourIsAdded", [] { addColour(11); }, [] { return unlessOutOfMemory([] { return addColour(37); }); }},
          listing()};
}

}  // namespace quel::faults
