#include "quelcore/operations/QmXmlMaterialIO.h"

#include <utility>

#include "quelcore/base/ModuleLog.h"
#include "quelcore/base/outOfMemory.h"
#include "quelcore/base/problems.h"
#include "quelcore/base/wideNumber.h"
#include "quelplatform/windows/wideText.h"

using quelcore::ProblemText;
using quelcore::refuse;
using quelcore::remark;
using quelcore::unlessOutOfMemory;

namespace {

constexpr quelcore::ModuleLog kLog{"QmXmlMaterialIO"};
const qmWChar* const kType = u"Type";
const qmWChar* const kName = u"Name";

using Processes = std::map<qmWString, QmMaterialParams>;
using Materials = std::map<qmWString, Processes>;

bool getNext(QmXmlIO& xml, const qmWChar* name) { return xml.GetElem(name, QmXmlIO::Onward); }

void leaveOut(const ProblemText& what) { remark({}, "", what); }

// An attribute of the current element as a number; false when it is empty or missing.
bool getNumber(const QmXmlIO& xml, const qmWChar* name, double& number) {
  const qmWString text = xml.GetElemAttrib(name);
  if (text.empty()) return false;
  number = _wtof(text.c_str());
  if (!quelcore::isRealNumber(text)) remark({}, "Process", ProblemText::quoted(text), "a number");
  return true;
}

// The process that the cursor is on, unless something of it is missing.
void readProcess(const QmXmlIO& xml, Processes& processes) {
  const qmWString name = xml.GetElemAttrib(kName);
  QmMaterialParams params{};
  if (name.empty()) return leaveOut("Process without Name");
  if (!getNumber(xml, u"Param1", params.Param1) || !getNumber(xml, u"Param2", params.Param2) ||
      !getNumber(xml, u"Param3", params.Param3)) {
    return leaveOut("Process without one of its numbers");
  }
  processes[name] = params;
}

// What `read` makes of each element of that name in the current one.
template <typename Content, typename Read>
Content readChildren(QmXmlIO& xml, const qmWChar* name, Read read) {
  Content content;
  xml.IntoElem();
  while (getNext(xml, name)) read(xml, content);
  xml.OutOfElem();
  return content;
}

void readMaterial(QmXmlIO& xml, Materials& materials) {
  const qmWString name = xml.GetElemAttrib(kName);
  if (name.empty()) return leaveOut("Material without Name");
  Processes processes = readChildren<Processes>(xml, u"Process", readProcess);
  if (processes.empty()) return leaveOut("Material without a complete Process");
  materials[name] = std::move(processes);
}

void readLens(QmXmlIO& xml, QmGlobalMaterialTable& table) {
  const auto lens = static_cast<QmLens>(_wtoi(xml.GetElemAttrib(kType).c_str()));
  if (lens == QM_LENS_NONE) return leaveOut("Lens without a number as Type");
  Materials materials = readChildren<Materials>(xml, u"Material", readMaterial);
  if (materials.empty()) return leaveOut(ProblemText::printed("Lens %d without a complete Material", lens));
  table[lens] = std::move(materials);
}

// The model whose section serves a head; null, with a line in the log, when none does.
const qmWChar* modelOf(OPTICAL_HEAD head) {
  switch (head) {
    case OPTICAL_HEAD_2002_A:
    case OPTICAL_HEAD_2002_B:
    case OPTICAL_HEAD_2002_C:
    case OPTICAL_HEAD_2002_D:
      return u"OH2002";
    case OPTICAL_HEAD_100:
      kLog.write(quelcore::kLogError, "Optical Head 100 don't supported in this version!");
      return nullptr;
    default:
      kLog.write(quelcore::kLogError, "Optical Head '%s' don't supported in this version!", getOH_Name(head));
      return nullptr;
  }
}

}  // namespace

QmXmlGlobalMaterialIO::QmXmlGlobalMaterialIO() = default;

QmXmlGlobalMaterialIO::~QmXmlGlobalMaterialIO() = default;

bool QmXmlGlobalMaterialIO::Open(const qmWChar* path) noexcept {
  return quelcore::reading(path, false, [&] {
    if (path == nullptr || *path == u'\0') return refuse({}, "", "no file is named");
    path_ = path;
    return document_.LoadDoc(path_.c_str()) || quelcore::refuseXml(document_);
  });
}

bool QmXmlGlobalMaterialIO::Read(OPTICAL_HEAD head, QmGlobalMaterialTable& table) noexcept {
  return quelcore::reading(path_.c_str(), false, [&] {
    if (!document_.ReadHeader(header_)) return refuse({}, "root", "another one", "QuelmetraDataFile with VersionFile");
    document_.IntoElem();
    const bool read = ReadMtrlTable(head, table);
    document_.OutOfElem();
    return read;
  });
}

bool QmXmlGlobalMaterialIO::ReadAllToStream(qmWString& text) noexcept {
  return unlessOutOfMemory(false, [&] {
    text = document_.GetFullDoc();
    return !text.empty();
  });
}

bool QmXmlGlobalMaterialIO::ReadMtrlTable(OPTICAL_HEAD head, QmGlobalMaterialTable& table) noexcept {
  return unlessOutOfMemory(false, [&] {
    if (!getNext(document_, u"ConfigTable")) return refuse({}, "QuelmetraDataFile", "none", "ConfigTable");
    const qmWString type = document_.GetElemAttrib(kType);
    if (type != u"GLOBAL_MATERIALS") {
      return refuse({}, "ConfigTable", ProblemText::quoted(type), "\"GLOBAL_MATERIALS\" as Type");
    }
    QmXmlIO section;
    document_.IntoElem();
    const bool found = GetHeadSection(head, section);
    document_.OutOfElem();
    return found && FillMtrlTable(section, table);
  });
}

bool QmXmlGlobalMaterialIO::GetHeadSection(OPTICAL_HEAD head, qmWString& section) noexcept {
  section.clear();
  const qmWChar* model = modelOf(head);
  if (model == nullptr) return refuse({}, "", ProblemText::printed("head %d has no materials", head));
  return unlessOutOfMemory(false, [&] {
    while (getNext(document_, u"OpticalHeadModel")) {
      if (document_.GetElemAttrib(kType) != model) continue;
      section = document_.GetElemSection();
      break;
    }
    if (section.empty()) return refuse({}, "ConfigTable", "none", "OpticalHeadModel with Type \"OH2002\"");
    return true;
  });
}

bool QmXmlGlobalMaterialIO::GetHeadSection(OPTICAL_HEAD head, QmXmlIO& section) noexcept {
  qmWString text;
  return GetHeadSection(head, text) && section.SetDoc(text.c_str());
}

bool QmXmlGlobalMaterialIO::FillMtrlTable(QmXmlIO& section, QmGlobalMaterialTable& table) noexcept {
  return unlessOutOfMemory(false, [&] {
    getNext(section, nullptr);
    section.IntoElem();
    while (getNext(section, u"Lens")) readLens(section, table);
    section.OutOfElem();
    return !table.empty() || refuse({}, "OpticalHeadModel", "no Lens with a complete Process");
  });
}
