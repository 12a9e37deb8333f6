// Files of operations. Input: a file.
//
// Losses: elements of other names, and all but ID, type and tiles; of two operations of one ID the later; tiles that
// are no numbers.
#include <map>
#include <vector>

#include "fuzz/support/Fuzzing.h"
#include "quelcore/base/wideNumber.h"
#include "quelcore/operations/XMLOperationIO.h"

namespace {

struct Operation {
  OperationTypeId type = OPERATION_UNKNOWN;
  std::vector<std::uint32_t> tiles;
};

/// The IDs of a document that an operation can be found by.
std::vector<std::uint32_t> idsIn(const qmWString& path) {
  std::vector<std::uint32_t> ids;
  CMarkupSTL xml;
  if (!xml.Load(path.c_str()) || !xml.FindElem(u"QuelmetraDataFile") || !xml.IntoElem()) return ids;
  while (xml.FindElem(u"Operation")) {
    const qmWString text = xml.GetAttrib(u"ID");
    const std::uint32_t id = quelcore::leadingUnsigned(text);
    if (quelcore::decimalText(id) == text) ids.push_back(id);
  }
  return ids;
}

/// The type as the first operation of that ID has it.
OperationTypeId typeOf(const qmWString& path, std::uint32_t id) {
  CMarkupSTL xml;
  xml.Load(path.c_str());
  xml.FindElem(u"QuelmetraDataFile");
  xml.IntoElem();
  while (xml.FindElem(u"Operation") && xml.GetAttrib(u"ID") != quelcore::decimalText(id)) continue;
  return XMLOperationIO::getOperationTypeByName(xml.GetAttrib(u"Type").c_str());
}

using Operations = std::map<std::uint32_t, Operation>;

Operations operationsOf(XMLOperationIO& io, const qmWString& path) {
  Operations operations;
  std::vector<OperationTypeId> types;
  io.getOperations(types);
  for (const std::uint32_t id : idsIn(path)) {
    Operation operation;
    operation.type = typeOf(path, id);
    if (!io.getOperationData(id, operation.tiles)) operation.tiles.clear();
    operations.emplace(id, operation);
  }
  return operations;
}

void requireSame(const Operations& a, const Operations& b) {
  quelfuzz::require(a.size() == b.size(), "as many operations are read again");
  for (const auto& [id, operation] : a) {
    const auto found = b.find(id);
    quelfuzz::require(found != b.end() && found->second.type == operation.type, "an operation keeps ID and type");
    quelfuzz::require(found->second.tiles == operation.tiles, "an operation keeps its tiles");
  }
}

void requireTrip(const Operations& operations) {
  const qmWString path = quelfuzz::pathOf("again.xml");
  XMLOperationIO io;
  quelfuzz::require(io.load(path.c_str(), false), "a new document can be begun");
  std::vector<OperationTypeId> types;
  io.getOperations(types);
  for (const auto& [id, operation] : operations) {
    std::vector<std::uint32_t> tiles = operation.tiles;
    quelfuzz::require(io.addOperation(id, operation.type, tiles), "an operation can be added");
  }
  quelfuzz::require(io.save(), "operations can be saved");
  XMLOperationIO again;
  quelfuzz::require(again.load(path.c_str(), true), "saved operations can be loaded");
  requireSame(operations, operationsOf(again, path));
  if (operations.empty()) return;
  again.removeOperation(operations.begin()->first);
  std::vector<OperationTypeId> left;
  again.getOperations(left);
  quelfuzz::require(left.size() + 1 == operations.size(), "one operation is removed");
}

/// After a file that is refused nothing is written over the one that was loaded before.
void requireNothingSaved(XMLOperationIO& io, const qmWString& bad) {
  const qmWString good = quelfuzz::makeFile("good.xml", "<QuelmetraDataFile VersionFile='1.00'/>");
  quelfuzz::require(io.load(good.c_str(), true) && !io.load(bad.c_str(), true), "only the sound file is loaded");
  std::vector<std::uint32_t> tiles = {1};
  io.addOperation(1, OPERATION_COP, tiles);
  quelfuzz::require(!io.save(), "nothing is saved behind a file that was refused");
  quelfuzz::require(quelfuzz::contentOf("good.xml").size() == 39, "the sound file stays");
}

/// An object without a document, and copies, which share one.
void requireSharing() {
  XMLOperationIO none;
  std::vector<std::uint32_t> numbers = {1, 2};
  std::vector<OperationTypeId> types;
  quelfuzz::require(!none.save() && !none.FindElem(u"a") && !none.FindElem(u"a", u"b", u"c") &&
                        !none.readArray(numbers, u"a") && !none.writeArray(numbers, u"a") &&
                        !none.addOperation(1, OPERATION_COP, numbers) && !none.getOperations(types),
                    "without a document there is nothing");
  quelfuzz::require(!none.load(nullptr, true), "without a path there is no file");
  XMLOperationIO first;
  first.setCurVersion(2.5F);
  const qmWString path = quelfuzz::pathOf("shared.xml");
  quelfuzz::require(first.load(path.c_str(), false) && path == first.getFileName(), "a new document has its path");
  XMLOperationIO second(first);
  none = first;
  first.getOperations(types);
  quelfuzz::require(second.addOperation(7, OPERATION_COP, numbers), "copies share a document");
  quelfuzz::require(none.FindElem(u"Operation", u"ID", u"7") && !none.FindElem(u"Operation", nullptr, u"7"), "found");
  quelfuzz::require(!none.FindElem(nullptr) && !none.writeArray(numbers, nullptr), "no name is none");
  quelfuzz::require(none.writeArray(numbers, u"Own") && none.writeArray(numbers, u"Own"), "an array is replaced");
  quelfuzz::require(none.readArray(numbers, u"Own") && numbers.size() == 4, "an array is appended");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quelfuzz::atFirst(requireSharing);
  const qmWString path = quelfuzz::makeFile("operations.xml", quelfuzz::bytesOf(data, size));
  XMLOperationIO io;
  Operations operations;
  bool loaded = false;
  {
    const quelfuzz::MemoryWatch watch;
    loaded = io.load(path.c_str(), true);
    if (loaded) operations = operationsOf(io, path);
    watch.requireAtMost(4 * quelfuzz::kTimesXml, 100, size);  // Beside it stands the document of the IDs.
  }
  if (loaded) {
    requireTrip(operations);
  } else {
    requireNothingSaved(io, path);
  }
  return 0;
}
