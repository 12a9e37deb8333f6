#include "quel/store/Operations.h"

#include "quel/base/Paths.h"
#include "quelcore/operations/XMLOperationIO.h"

namespace quel {

namespace {

Operation operationAt(CMarkupSTL& xml) {
  const OperationTypeId type = XMLOperationIO::getOperationTypeByName(xml.GetAttrib(u"Type").c_str());
  Operation operation{toNarrow(xml.GetAttrib(u"ID")), toNarrow(XMLOperationIO::getOperationNameByType(type)), {}};
  xml.IntoElem();
  if (xml.FindElem(u"Tiles")) operation.tiles = toNarrow(xml.GetData());
  xml.OutOfElem();
  return operation;
}

}  // namespace

Result<OperationList> readOperations(const std::filesystem::path& file) {
  CMarkupSTL xml;
  if (!xml.Load(widePath(file).c_str())) return Error{toNarrow(xml.GetError()), file.string()};
  if (!xml.FindElem(u"QuelmetraDataFile") || xml.GetAttrib(u"VersionFile").empty()) {
    return Error{"is no operations file: its root is not QuelmetraDataFile with a VersionFile", file.string()};
  }
  OperationList list{toNarrow(xml.GetAttrib(u"VersionFile")), {}};
  xml.IntoElem();
  while (xml.FindElem(nullptr)) list.operations.push_back(operationAt(xml));
  return list;
}

}  // namespace quel
