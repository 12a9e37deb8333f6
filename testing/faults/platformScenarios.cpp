#include <cerrno>
#include <cstdio>

#include "quelplatform/qmDistort/DistortLutsManager.h"
#include "quelplatform/qmDistort/qmDistortEmbedded.h"
#include "quelplatform/qmEnv/CMarkupSTL.h"
#include "quelplatform/qmEnv/QmRegKey.h"
#include "quelplatform/qmEnv/qmFile.h"
#include "quelplatform/qmEnv/qmMemory.h"
#include "quelplatform/qmMath/qmMathTransformFile.h"
#include "quelplatform/windows/profile.h"
#include "testing/faults/Scenario.h"
#include "testing/faults/scenarios.h"

namespace quel::faults {

namespace {

using quel::testing::writeFile;

const std::string kLong = someBytes(20000);

bool writeStream(const std::string& content) {
  std::FILE* file = nullptr;
  if (qmFileOpen(u"stream.bin", u"wb", &file) != 1) return false;
  const bool written = std::fwrite(content.data(), 1, content.size(), file) == content.size();
  return qmFileClose(u"stream.bin", &file) == 1 && written;
}

bool storeMove(double x) {
  qmMathTransform transform;
  qmMathIdTransformCreate(&transform);
  transform.translation[0] = x;
  return qmMathTransformStore(u"move.trn", &transform) == 1;
}

bool saveXml(const qmWChar* value) {
  CMarkupSTL xml;
  return xml.SetDoc(u"<?xml version=\"1.0\"?>\n<Root>\n</Root>\n") && xml.FindElem(u"Root") &&
         xml.AddAttrib(u"value", value) && xml.Save(u"document.xml");
}

bool storeLuts(float shift) {
  const quelplatform::LutGrid grid = {{-100.0, -100.0}, {50.0, 50.0}, 6, 5, {-1000.0F, 1000.0F}, 2};
  const tag_qmDistortLuts* luts =
      quelplatform::makeDistortLuts("ABCD12340000000007000", grid, [&](double, double, double, float d[2]) {
        d[0] = shift;
        d[1] = 0.0F;
      });
  if (luts == nullptr) return false;
  const bool stored = DistortLutsManager::storeLutsFile({{"ABCD12340000000007000", luts}}, u"tables.lut", true);
  DistortLutsManager::getManager().distortLutsReleaseRef(luts);
  return stored;
}

bool writeRegistry(std::int32_t value) {
  QmRegKey key;
  if (!key.AttachIniFile(u"values.ini") || !key.Branch(u"Branch", true, QmRegKey::kReadWrite)) return false;
  key[u"Value"] = value;
  return key.LastError() == 0;
}

}  // namespace

std::vector<Scenario> platformScenarios() {
  return {
      {"AKeyOfAnIniFileIsChanged", [] { writeFile("a.ini", "[s]\nk=1\nother=3\n" + kLong); },
       [] { return WritePrivateProfileStringW(u"s", u"k", u"2", u"a.ini") != 0; }},
      {"AnIniFileIsMade", [] {}, [] { return WritePrivateProfileStringW(u"s", u"k", u"2", u"new.ini") != 0; }},
      {"APersistentValueIsChanged", [] { writeRegistry(1); }, [] { return writeRegistry(2); }},
      {"AStreamIsWritten", [] { writeStream("old"); }, [] { return writeStream(kLong); }},
      {"AFileIsWrittenAsAWhole", [] { writeFile("whole.bin", "old"); },
       [] { return qmFileWriteWhole(u"whole.bin", kLong.data(), kLong.size()) == 1; }},
      {"ATransformIsStored", [] { storeMove(1); }, [] { return storeMove(2); }},
      {"ADocumentIsSaved", [] { saveXml(u"1"); }, [] { return unlessOutOfMemory([] { return saveXml(u"2"); }); }},
      {"LensTablesAreStored", [] { storeLuts(1.0F); },
       [] { return unlessOutOfMemory([] { return storeLuts(2.0F); }); }},
  };
}

}  // namespace quel::faults
