// Correction tables of blocks. Input: a file.
//
// Losses: other elements and attributes; of two elements for one name and camera the later; capitals in names; a
// camera and a value that are no numbers read as 0.
#include <charconv>
#include <map>

#include "fuzz/support/Fuzzing.h"
#include "quelcore/blocks/QmBlockCorrectionParameters.h"
#include "quelplatform/qmEnv/CMarkupSTL.h"
#include "quelplatform/qmEnv/qmText.h"
#include "quelplatform/windows/wideText.h"

namespace {

using Rates = std::map<std::pair<qmWString, std::uint32_t>, double>;

/// The names as they stand in the file, with their cameras.
Rates askedOf(const qmWString& path) {
  Rates asked;
  CMarkupSTL xml;
  if (!xml.Load(path.c_str()) || !xml.FindElem(u"BlockCorrectionParameters") || !xml.IntoElem()) return asked;
  while (xml.FindElem(u"BlockParameter")) {
    qmWString name = xml.GetAttrib(u"Name");
    for (qmWChar& unit : name) unit = towlower(unit);
    if (name.empty()) continue;
    const auto camera = static_cast<std::uint32_t>(_wtoi(xml.GetAttrib(u"CameraId").c_str()));
    asked.try_emplace({name, camera}, _wtof(xml.GetAttrib(u"Value").c_str()));
  }
  return asked;
}

void requireRates(QmBlockCorrectionParameters& table, const Rates& rates) {
  for (const auto& [key, rate] : rates) {
    qmWString name = key.first;
    double value = 0.0;
    quelfuzz::require(table.GetParameter(name, key.second, value), "a rate of the file is found");
    quelfuzz::require(value == rate, "a rate is that of the file");
  }
  qmWString absent = u"no such rate";
  double value = 0.5;
  quelfuzz::require(!table.GetParameter(absent, 0, value) && value == 0.5, "what is not there is not found");
}

std::string decimal(double value) {
  char digits[32];
  return std::string(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

qmWString write(const Rates& rates) {
  CMarkupSTL xml;
  xml.AddElem(u"BlockCorrectionParameters");
  xml.IntoElem();
  for (const auto& [key, rate] : rates) {
    xml.AddElem(u"BlockParameter");
    const bool added = xml.AddAttrib(u"Name", key.first.c_str()) &&
                       xml.AddAttrib(u"CameraId", static_cast<std::int32_t>(key.second)) &&
                       xml.AddAttrib(u"Value", toWide(decimal(rate).c_str()).c_str());
    quelfuzz::require(added, "a rate can be written");
  }
  const qmWString path = quelfuzz::pathOf("again.xml");
  quelfuzz::require(xml.Save(path.c_str()), "rates can be saved");
  return path;
}

bool isFinite(const Rates& rates) {
  for (const auto& [key, rate] : rates) {
    if (rate - rate != 0.0) return false;
  }
  return true;
}

/// A file without a name, and one that is not there.
void requireRefusals() {
  QmBlockCorrectionParameters table;
  quelfuzz::require(!table.Initialize(quelfuzz::pathOf("nowhere")), "no file, no table");
  qmWString name = u"ax";
  double value = 0.5;
  quelfuzz::require(!table.GetParameter(name, 0, value), "without a table nothing is found");
  const qmWString root = quelfuzz::makeFile("corrections.xml", "<BlockCorrectionParameters/>");
  quelfuzz::require(table.Initialize(root) && !table.Initialize(u""), "no name, no table");
  quelfuzz::removeFile("corrections.xml");
  quelfuzz::require(!table.IsInitialized(), "a table ends with its file");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quelfuzz::atFirst(requireRefusals);
  const qmWString path = quelfuzz::makeFile("corrections.xml", quelfuzz::bytesOf(data, size));
  QmBlockCorrectionParameters table;
  bool read = false;
  {
    const quelfuzz::MemoryWatch watch;
    read = table.Initialize(path);
    watch.requireAtMost(quelfuzz::kTimesXml, 10, size);
  }
  quelfuzz::require(read == table.IsInitialized(), "a table is there when its file was read");
  if (!read) return 0;
  const Rates rates = askedOf(path);
  if (rates.size() > 100) return 0;  // Each question is a search for the file, too.
  requireRates(table, rates);
  if (!isFinite(rates)) return 0;  // An infinity has no text that reads as one.
  QmBlockCorrectionParameters again;
  quelfuzz::require(again.Initialize(write(rates)), "written rates can be read");
  requireRates(again, rates);
  return 0;
}
