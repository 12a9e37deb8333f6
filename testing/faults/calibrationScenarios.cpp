#include <bit>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>

#include "quelcore/blocks/QmBlockInfo.h"
#include "quelcore/tensor/QmReconsTensor.h"
#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelplatform/qmDistort/calibrationPairEmbedded.h"
#include "testing/SampleHead.h"
#include "testing/TensorFile.h"
#include "testing/faults/Scenario.h"
#include "testing/faults/scenarios.h"

namespace quel::faults {

namespace {

using quel::testing::HeadOptions;
using quel::testing::SampleHead;
using quel::testing::writeFile;

HeadOptions withLuts() {
  HeadOptions options;
  options.luts.emplace();
  options.luts->pitch = 256.0;
  options.luts->layers = 2;
  return options;
}

void storeSample(std::uint64_t seed, const HeadOptions& options) {
  SampleHead head(seed, SampleHead::Kind::Converging, options);
  QmReconsTensor tensor(*head.tensor());
  tensor.StoreToFile(u"block.tns");
}

// What the program holds between `act` and `agrees`.
std::optional<QmReconsTensor> held;

using Seen = std::array<std::uint64_t, 12>;

// The bits of what the cameras see of a point through their tables and without them.
Seen seenBy(const QmReconsTensor& tensor) {
  Seen seen = {};
  const double point[3] = {12.5, -20.25, 7.75};
  std::size_t i = 0;
  for (int camera = 0; camera < 3; ++camera) {
    for (const auto mode : {PROJECT_PINHOLE, PROJECT_EXACT}) {
      double pixel[2] = {0, 0};
      if (qmRTProjectPointtoImage(tensor, point, camera, mode, pixel) == 1) {
        seen[i] = std::bit_cast<std::uint64_t>(pixel[0]);
        seen[i + 1] = std::bit_cast<std::uint64_t>(pixel[1]);
      }
      i += 2;
    }
  }
  return seen;
}

Seen before;

// Stores a block whose tables are loaded, so that storing it reads them back.
Scenario storeOfALoadedBlock() {
  Scenario scenario;
  scenario.name = "ALoadedBlockWithLutsIsStored";
  scenario.prepare = [] { storeSample(1, withLuts()); };
  scenario.inSteps = true;  // two files; who wants both at once renames them himself
  scenario.mayLeavePart = true;
  scenario.act = [] {
    return unlessOutOfMemory([] {
      held.emplace();
      if (!held->LoadFromFile(u"block.tns")) {
        held.reset();
        return false;
      }
      before = seenBy(*held);
      return held->StoreToFile(u"other.tns");
    });
  };
  scenario.agrees = [](bool) -> std::string {
    if (!held) return "";
    if (seenBy(*held) != before) return "the block projects otherwise than before";
    held.reset();
    return "";
  };
  return scenario;
}

Scenario loadOfABlock(const char* name, const HeadOptions& options) {
  Scenario scenario;
  scenario.name = name;
  scenario.prepare = [options] { storeSample(1, options); };
  scenario.act = [] {
    return unlessOutOfMemory([] {
      held.emplace();
      return held->LoadFromFile(u"block.tns");
    });
  };
  scenario.agrees = [](bool success) -> std::string {
    const std::optional<QmReconsTensor> first = std::move(held);
    held.reset();
    if (!success) return "";
    QmReconsTensor again;
    if (!again.LoadFromFile(u"block.tns")) return "the block loads no more";
    return first && seenBy(*first) == seenBy(again) ? "" : "the block was loaded wrong";
  };
  return scenario;
}

Scenario storeOfABlock() {
  Scenario scenario;
  scenario.name = "ABlockIsStored";
  scenario.prepare = [] { storeSample(1, {}); };
  scenario.mayLeavePart = true;  // as StoreToFile says of a failed write
  scenario.act = [] {
    return unlessOutOfMemory([] {
      static const SampleHead head(2, SampleHead::Kind::Converging);
      QmReconsTensor tensor(*head.tensor());
      return tensor.StoreToFile(u"block.tns");
    });
  };
  return scenario;
}

constexpr quelplatform::CalibrationFiles kMade = {u"block.tns", u"QUEL0001-1.lut"};
constexpr quelplatform::CalibrationFiles kThere = {u"there/block.tns", u"there/QUEL0001-1.lut"};

// Between its two files the new calibration is refused, never taken for one.
std::string refusesAMixedPair() {
  quelplatform::LutStamp stamp = quelplatform::LutStamp::kNone;
  if (!quelplatform::compareLutStamp(kThere.luts, kThere.tensor, stamp)) return "a file of the calibration is damaged";
  return stamp == quelplatform::LutStamp::kForeign ? "" : "a mixed calibration passes for one";
}

Scenario replacementOfACalibration() {
  Scenario scenario;
  scenario.name = "ACalibrationOfTwoFilesIsReplaced";
  scenario.prepare = [] {
    std::filesystem::create_directory("there");
    storeSample(1, withLuts());
    if (!quelplatform::replaceCalibration(kMade, kThere)) std::abort();
    storeSample(2, withLuts());
  };
  scenario.act = [] { return quelplatform::replaceCalibration(kMade, kThere); };
  scenario.accepts = refusesAMixedPair;
  return scenario;
}

constexpr const char* kBlocks =
    "[General]\nNumberOfBlocks=2\n"
    "[Block1]\nBlockName=Alpha\nTargetType=3\nExpCoef=12\nBlockLens=50;35\nMapFile=a.map\n"
    "[Block2]\nBlockName=Beta\nBlockLens=35\nMapFile=b.map\n";

void writeBlocks() {
  writeFile("blocks.ini", kBlocks);
  QmBlockTable table;
  table.SetActiveBlock(1);
}

Scenario changeOfTheTable(const char* name, bool (*change)(QmBlockTable&)) {
  Scenario scenario;
  scenario.name = name;
  scenario.prepare = writeBlocks;
  scenario.inSteps = true;         // one write for each value
  scenario.reportsBlindly = true;  // a write that fails is not told
  scenario.act = [change] {
    return unlessOutOfMemory([change] {
      QmBlockTable table;
      return table.IsInstance() && change(table);
    });
  };
  scenario.agrees = [](bool) -> std::string {
    QmBlockTable::FreeInstance();
    const QmBlockTable table;
    if (!table.IsInstance() || table.GetError() != 0) return "";  // it says that it knows nothing
    if (table.GetBlockNumber() == 0) return "";
    return std::u16string(table.GetBlockName(0)).empty() ? "a block lost its name" : "";
  };
  return scenario;
}

}  // namespace

std::vector<Scenario> calibrationScenarios() {
  return {storeOfABlock(),
          replacementOfACalibration(),
          storeOfALoadedBlock(),
          loadOfABlock("ABlockIsLoaded", {}),
          loadOfABlock("ABlockWithLutsIsLoaded", withLuts()),
          changeOfTheTable("ABlockIsMadeTheActiveOne", [](QmBlockTable& table) { return table.SetActiveBlock(0); }),
          changeOfTheTable("ABlockOfTheTableIsChanged", [](QmBlockTable& table) {
            table.getBlock(0)->SetExpansionCoef(0.5);
            return table.storeBlockInfo(0);
          })};
}

}  // namespace quel::faults
