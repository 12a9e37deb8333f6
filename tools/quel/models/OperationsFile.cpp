#include "models/OperationsFile.h"

#include "files/Failure.h"
#include "files/Files.h"
#include "quelcore/operations/XMLOperationIO.h"
#include "quelplatform/qmEnv/qmText.h"

namespace queltool {

namespace {

ListedOperation listed(CMarkupSTL& xml) {
  const OperationTypeId type = XMLOperationIO::getOperationTypeByName(xml.GetAttrib(u"Type").c_str());
  ListedOperation operation{toNarrow(xml.GetAttrib(u"ID")), toNarrow(XMLOperationIO::getOperationNameByType(type)), {}};
  xml.IntoElem();
  if (xml.FindElem(u"Tiles")) operation.tiles = toNarrow(xml.GetData());
  xml.OutOfElem();
  return operation;
}

}  // namespace

OperationsFile readOperations(const std::filesystem::path& file) {
  CMarkupSTL xml;
  if (!xml.Load(widePath(file).c_str())) throw Failure(file.string() + ": " + toNarrow(xml.GetError()));
  if (!xml.FindElem(u"QuelmetraDataFile") || xml.GetAttrib(u"VersionFile").empty()) {
    throw Failure(file.string() + ": is no operations file: its root is not QuelmetraDataFile with a VersionFile");
  }
  OperationsFile read{toNarrow(xml.GetAttrib(u"VersionFile")), {}};
  xml.IntoElem();
  while (xml.FindElem(nullptr)) read.operations.push_back(listed(xml));
  return read;
}

}  // namespace queltool
