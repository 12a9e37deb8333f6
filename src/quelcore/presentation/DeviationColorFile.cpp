// The file of the deviation colours.
#include "quelcore/base/dataFile.h"
#include "quelcore/base/outOfMemory.h"
#include "quelcore/base/paths.h"
#include "quelcore/presentation/DeviationColorScheme.h"
#include "quelcore/presentation/clock.h"
#include "quelplatform/qmEnv/CMarkupSTL.h"
#include "quelplatform/qmEnv/qmFile.h"
#include "quelplatform/windows/wideText.h"

namespace {

const qmWChar* const kFileName = u"DeviationColor.xml";
const qmWChar* const kTable = u"DeviationColorTable";
const qmWChar* const kValue = u"Value";
const qmWChar* const kPercentage = u"Percentage";
const qmWChar* const kColor = u"Color";
const qmWChar* const kName = u"Name";

std::int32_t numberOf(const CMarkupSTL& xml, const qmWChar* attribute) {
  return _wtoi(xml.GetAttrib(attribute).c_str());
}

}  // namespace

bool DeviationColorScheme::load() {
  qmWChar path[quelcore::kLongPathSize] = {};
  QmWorkPlace::MakeLegendFullPath(kFileName, path, quelcore::kLongPathSize);
  if (!QmFileExist(path)) return false;
  CMarkupSTL xml;
  if (!xml.Load(path) || !xml.FindElem(quelcore::kDataFileRoot) || !xml.IntoElem() || !xml.FindElem(kTable) ||
      !xml.IntoElem())
    return true;
  while (xml.FindElem(kValue)) {
    const auto percentage = static_cast<std::uint16_t>(numberOf(xml, kPercentage));
    table_.try_emplace(percentage, ColorInfo{static_cast<std::uint32_t>(numberOf(xml, kColor)), xml.GetAttrib(kName)});
  }
  return true;
}

bool DeviationColorScheme::writeHeader(CMarkupSTL& xml) const {
  const std::time_t now = quelcore::presentTime();
  return quelcore::beginDataFile(xml) && xml.AddAttrib(u"VersionProduct", u"1.0") &&
         xml.AddAttrib(u"VersionCreate", u"1.0") && xml.AddAttrib(u"VersionFile", u"1.0") &&
         xml.AddAttrib(u"ComponentType", u"All") && xml.AddAttrib(u"TimeStamp", static_cast<std::int32_t>(now)) &&
         xml.AddAttrib(u"LastUpdate", quelcore::localTimeText(now).c_str());
}

bool DeviationColorScheme::writeTable(CMarkupSTL& xml) const {
  if (!xml.IntoElem() || !xml.AddElem(kTable) || !xml.AddAttrib(u"Version", u"1.0") || !xml.IntoElem()) return false;
  for (const auto& [percentage, info] : table_) {
    if (!xml.AddElem(kValue) || !xml.AddAttrib(kPercentage, std::int32_t{percentage}) ||
        !xml.AddAttrib(kColor, static_cast<std::int32_t>(info.color)) || !xml.AddAttrib(kName, info.name.c_str())) {
      return false;
    }
  }
  return true;
}

bool DeviationColorScheme::save() const noexcept {
  return quelcore::unlessOutOfMemory(false, [&] {
    CMarkupSTL xml;
    if (!writeHeader(xml) || !writeTable(xml)) return false;
    qmWChar path[quelcore::kPathSize] = {};
    QmWorkPlace::MakeLegendFullPath(kFileName, path, quelcore::kPathSize);
    return xml.Save(path);
  });
}
