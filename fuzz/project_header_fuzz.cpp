// The list of a part's setups as XML text. Input: the text in UTF-8.
//
// Losses: all but the names; setups without one.
#include "fuzz/support/Fuzzing.h"
#include "quelcore/project/QmProjectInfo.h"
#include "quelplatform/qmEnv/CMarkupSTL.h"
#include "quelplatform/qmEnv/qmText.h"

namespace {

qmWString textOf(const QmProjectInfo& info) {
  CMarkupSTL xml;
  xml.AddElem(u"any");
  xml.IntoElem();
  const auto add = [&](const qmWChar* name) {
    quelfuzz::require(xml.AddElem(u"dir") && xml.AddAttrib(u"name", name), "a name can be written");
  };
  add(info.GetProjectName());
  xml.IntoElem();
  add(info.GetPartName());
  xml.IntoElem();
  for (std::uint32_t i = 0; i < info.GetNumSetups(); ++i) add(info.GetSetupInfo(i)->GetSetup());
  return xml.GetDoc();
}

void requireSame(const QmProjectInfo& a, const QmProjectInfo& b) {
  quelfuzz::require(
      qmWString(a.GetProjectName()) == b.GetProjectName() && qmWString(a.GetPartName()) == b.GetPartName(),
      "project and part keep their names");
  quelfuzz::require(a.GetNumSetups() == b.GetNumSetups(), "as many setups are read again");
  for (std::uint32_t i = 0; i < a.GetNumSetups(); ++i) {
    quelfuzz::require(*a.GetSetupInfo(i) == *b.GetSetupInfo(i), "a setup keeps its names");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const qmWString text = toWide(std::string(quelfuzz::bytesOf(data, size)).c_str());
  QmProjectInfo info;
  info.SetRoot(u"/store");
  {
    const quelfuzz::MemoryWatch watch;
    const bool read = info.InitByXMLHeader(text.c_str(), QmProjectInfo::FS_SETUP);
    quelfuzz::require(read, "the result is true whatever was read");
    // A setup is a record of texts, 22 bytes of the list at least.
    watch.requireAtMost(quelfuzz::kTimesXml, 40, size);
  }
  for (std::uint32_t i = 0; i < info.GetNumSetups(); ++i) {
    quelfuzz::require(qmWString(info.GetSetupInfo(i)->GetPart()) == info.GetProjectName(), "the part is the project's");
    quelfuzz::require(*info.GetSetupInfo(i)->GetSetup() != u'\0', "a setup has a name");
  }
  if (info.GetNumSetups() > 0) quelfuzz::require(*info.GetPartName() != u'\0', "setups lie in a part");
  if (*info.GetPartName() == u'\0') return 0;
  QmProjectInfo again;
  again.SetRoot(u"/store");
  again.InitByXMLHeader(textOf(info).c_str(), QmProjectInfo::FS_NONE);
  requireSame(info, again);
  return 0;
}
