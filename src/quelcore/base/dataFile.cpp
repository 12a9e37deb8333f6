#include "quelcore/base/dataFile.h"

#include "quelplatform/qmEnv/CMarkupSTL.h"

namespace quelcore {

bool beginDataFile(CMarkupSTL& xml) {
  return xml.SetDoc(u"<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\r\n") && xml.AddElem(kDataFileRoot);
}

}  // namespace quelcore
