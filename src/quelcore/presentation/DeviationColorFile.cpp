// The file of the deviation colours.
#include <algorithm>
#include <limits>
#include <string_view>
#include <utility>

#include "quelcore/base/dataFile.h"
#include "quelcore/base/outOfMemory.h"
#include "quelcore/base/paths.h"
#include "quelcore/base/presence.h"
#include "quelcore/base/problems.h"
#include "quelcore/base/wideNumber.h"
#include "quelcore/base/xmlPlaces.h"
#include "quelcore/presentation/DeviationColorScheme.h"
#include "quelcore/presentation/clock.h"
#include "quelplatform/qmEnv/CMarkupSTL.h"
#include "quelplatform/windows/wideText.h"

using quelcore::Presence;
using quelcore::ProblemText;
using quelcore::refuse;
using quelcore::XmlElement;

namespace {

const qmWChar* const kFileName = u"DeviationColor.xml";
constexpr const qmWChar* kTable = u"DeviationColorTable";
constexpr const char* kTableName = "DeviationColorTable";
constexpr const qmWChar* kValue = u"Value";
constexpr std::u16string_view kPath[] = {quelcore::kDataFileRoot, kTable, kValue};
const qmWChar* const kPercentage = u"Percentage";
const qmWChar* const kColor = u"Color";
const qmWChar* const kName = u"Name";

std::int32_t numberOf(const CMarkupSTL& xml, const qmWChar* attribute) {
  return _wtoi(xml.GetAttrib(attribute).c_str());
}

constexpr std::uint32_t kNotEnoughMemory = 8;

/// The file was there, or may have been, and could not be read when the table of the process was made.
bool fileIsUnknown = false;

using Values = std::map<std::uint16_t, DeviationColorScheme::ColorInfo>;

/// Goes into the table of a file; notes what keeps it from that.
bool openTable(CMarkupSTL& xml, const qmWChar* path) {
  if (!xml.Load(path)) return quelcore::refuseXml(xml);
  if (!xml.FindElem(quelcore::kDataFileRoot)) return refuse({}, "root", "another one", "QuelmetraDataFile");
  if (!xml.IntoElem() || !xml.FindElem(kTable)) return refuse({}, "QuelmetraDataFile", "none", kTableName);
  return xml.IntoElem();
}

/// Notes an attribute that is no whole number up to `most`: it is read all the same.
void checkNumber(const CMarkupSTL& xml, const qmWChar* attribute, std::uint32_t most, const XmlElement& element) {
  constexpr std::size_t kMostDigits = 10;
  const qmWString text = xml.GetAttrib(attribute);
  const bool isPlain = text.size() <= kMostDigits && std::all_of(text.begin(), text.end(), quelcore::isDigit);
  if (isPlain && quelcore::isWholeNumber(text) && quelcore::leadingUnsigned(text) <= most) return;
  const ProblemText name = ProblemText::plain(attribute);
  element.remark(ProblemText::quoted(text), ProblemText::printed("%.40s from 0 to %u", name.text, most));
}

/// Adds the entry that the cursor is on, unless there is one of its percentage.
void readValue(const CMarkupSTL& xml, const XmlElement& element, Values& values) {
  checkNumber(xml, kPercentage, std::numeric_limits<std::uint16_t>::max(), element);
  checkNumber(xml, kColor, 0xFFFFFF, element);
  const auto percentage = static_cast<std::uint16_t>(numberOf(xml, kPercentage));
  const auto color = static_cast<std::uint32_t>(numberOf(xml, kColor));
  qmWString name = xml.GetAttrib(kName);
  if (name.empty()) element.remark("none", "Name");
  if (values.try_emplace(percentage, DeviationColorScheme::ColorInfo{color, std::move(name)}).second) return;
  element.remark(ProblemText::printed("%u", percentage), "a percentage that no earlier Value has");
}

void readValues(CMarkupSTL& xml, const qmWChar* path, Values& values) {
  int count = 0;
  while (xml.FindElem(kValue)) readValue(xml, {path, kPath, ++count}, values);
  if (count == 0) refuse({}, kTableName, "none", "Value");
}

}  // namespace

bool DeviationColorScheme::load() {
  qmWChar path[quelcore::kLongPathSize] = {};
  QmWorkPlace::MakeLegendFullPath(kFileName, path, quelcore::kLongPathSize);
  quelcore::beginReading(path);
  fileIsUnknown = true;  // Until it is read, also where memory runs out on the way.
  const Presence presence = quelcore::presenceOrThrow(path);
  if (presence == Presence::Present) {
    CMarkupSTL xml;
    if (openTable(xml, path)) readValues(xml, path, table_);
    fileIsUnknown = quelcore::presenceByLastError() == Presence::Unknown;
    if (fileIsUnknown && GetLastError() == kNotEnoughMemory) throw std::bad_alloc();
    return true;
  }
  fileIsUnknown = presence == Presence::Unknown;
  return false;
}

bool qmDeviationColorFileCheck(const qmWChar* path) noexcept {
  return quelcore::reading(path, false, [&] {
    CMarkupSTL xml;
    if (!openTable(xml, path)) return false;
    Values values;
    readValues(xml, path, values);
    return values.size() > 1 || refuse({}, kTableName, "one Value", "two or more, as a legend needs");
  });
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
  if (fileIsUnknown) return false;
  return quelcore::unlessOutOfMemory(false, [&] {
    CMarkupSTL xml;
    if (!writeHeader(xml) || !writeTable(xml)) return false;
    qmWChar path[quelcore::kPathSize] = {};
    QmWorkPlace::MakeLegendFullPath(kFileName, path, quelcore::kPathSize);
    return xml.Save(path);
  });
}
