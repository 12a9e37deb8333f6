#include <filesystem>

#include "quelcore/blocks/QmBlockNames.h"
#include "quelcore/features/QmTargetCopMask.h"
#include "quelcore/operations/QmMaterialIO.h"
#include "quelcore/operations/XMLOperationIO.h"
#include "quelcore/patches/QmCorresPtsTriplets.h"
#include "quelcore/presentation/QmExportTilesTicket.h"
#include "testing/faults/Scenario.h"
#include "testing/faults/scenarios.h"

namespace quel::faults {

namespace {

using quel::testing::writeFile;

bool writeMaterials(int rows) {
  QmMaterialIO io(u"materials.txt");
  QmMaterialTable& table = io.getMapMaterial(static_cast<OPTICAL_HEAD>(1), static_cast<QmLens>(50));
  for (int i = 0; i < rows; ++i)
    table[u"material " + std::u16string(1, static_cast<char16_t>(u'a' + i))] = {1.0 * i, 2.0, 3.0, i};
  return io.write();
}

bool addOperation(std::uint32_t id, bool isThere) {
  XMLOperationIO io;
  std::vector<std::uint32_t> tiles = {1, 2, id};
  std::vector<OperationTypeId> types;
  if (!io.load(u"operations.xml", isThere)) return false;
  io.getOperations(types);
  return io.addOperation(id, OPERATION_COP, tiles) && io.save();
}

bool storeTriplets(int count) {
  std::vector<std::array<float, 2>> points(static_cast<std::size_t>(3 * count), {1.5F, static_cast<float>(count)});
  QmCorresPtsTriplets triplets;
  return triplets.copyPoints(reinterpret_cast<const float(*)[2]>(points.data()), count) &&
         triplets.storeToFile(u"triplets.bin");
}

bool storeMask(std::uint16_t sample) {
  QmTargetCopMask mask;
  return mask.init(40, 30, 100) && mask.addIndex(3, 4, sample) && mask.addIndex(39, 29, sample) &&
         mask.storeToFile(u"mask.bin");
}

// Whoever cannot be let in is told by an exception; a value that cannot be written is dropped.
bool setTicket(double pitch) try {
  QmExportTilesTicket ticket;
  if (!ticket.AccessData(true)) return false;
  ticket.set_PitchPixels(pitch);
  return true;
} catch (const QmExceptionNote&) {
  return false;
}

void makeBlocks() {
  std::filesystem::create_directories("first");
  std::filesystem::create_directories("target");
  writeFile("first/ABCD1234-7.tns", someBytes(5000));
  writeFile("first/ABCD1234-7.lut", someBytes(9000));
}

Scenario copyOfABlock() {
  Scenario scenario;
  scenario.name = "ABlockIsCopied";
  scenario.prepare = makeBlocks;
  scenario.act = [] {
    return unlessOutOfMemory([] { return CopyImageBlock(u"ABCD1234-7.tns", u"first", u"second", u"target"); });
  };
  scenario.inSteps = true;
  scenario.reportsBlindly = true;
  scenario.agrees = [](bool) -> std::string {
    namespace fs = std::filesystem;
    for (const char* name : {"ABCD1234-7.tns", "ABCD1234-7.lut"}) {
      const fs::path copy = fs::path("target") / name;
      if (fs::exists(copy) && fs::file_size(copy) != fs::file_size(fs::path("first") / name)) {
        return std::string("a part of ") + name + " passes for a copy";
      }
    }
    return "";
  };
  return scenario;
}

// Both report success once the file is open.
Scenario blindly(Scenario scenario) {
  scenario.reportsBlindly = true;
  return scenario;
}

}  // namespace

std::vector<Scenario> dataScenarios() {
  return {
      {"MaterialsAreWritten", [] { writeMaterials(3); },
       [] { return unlessOutOfMemory([] { return writeMaterials(20); }); }},
      {"AnOperationIsAdded", [] { addOperation(1, false); },
       [] { return unlessOutOfMemory([] { return addOperation(2, true); }); }},
      blindly({"TripletsAreStored", [] { storeTriplets(10); },
               [] { return unlessOutOfMemory([] { return storeTriplets(3000); }); }}),
      blindly({"AMaskIsStored", [] { storeMask(3); }, [] { return unlessOutOfMemory([] { return storeMask(5); }); }}),
      blindly({"AnExportTicketIsChanged", [] { setTicket(1.0); },
               [] { return unlessOutOfMemory([] { return setTicket(2.0); }); }}),
      copyOfABlock()};
}

}  // namespace quel::faults
