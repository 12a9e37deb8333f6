#include "quelcore/blocks/blockStores.h"

#include "quelcore/base/File.h"
#include "quelcore/base/byteOrderMark.h"
#include "quelplatform/qmEnv/QmWorkPlace.h"
#include "quelplatform/qmEnv/qmText.h"
#include "quelplatform/windows/profile.h"
#include "quelplatform/windows/windows.h"

namespace quelcore {

namespace {

constexpr const qmWChar* kMeasurementKey = u"HKEY_LOCAL_MACHINE\\Software\\Quelmetra\\Measurement";

}  // namespace

BlocksIni::BlocksIni() { QmWorkPlace::MakeHomeFullPath(u"blocks.ini", path_, kPathSize); }

void BlocksIni::createIfMissing() const {
  if (exists()) return;
  const File file(path_, u"ab");
  if (!file.isOpen()) return;  // the writes that follow will tell
  if (std::fseek(file.get(), 0, SEEK_END) != 0 || std::ftell(file.get()) != 0) return;
  std::fwrite(kMarkOfUnits, sizeof(kMarkOfUnits), 1, file.get());
}

qmWString BlocksIni::sectionOf(std::int64_t index) { return toWide("Block" + std::to_string(index + 1)); }

int BlocksIni::readInt(const qmWString& section, const qmWChar* key, int byDefault) const {
  return static_cast<int>(GetPrivateProfileIntW(section.c_str(), key, byDefault, path_));
}

qmWString BlocksIni::readText(const qmWString& section, const qmWChar* key) const {
  qmWChar value[kPathSize] = {};
  GetPrivateProfileStringW(section.c_str(), key, u"", value, kPathSize, path_);
  return value;
}

WriteFailure BlocksIni::write(const qmWString& section, const qmWChar* key, const qmWString& value) const {
  if (WritePrivateProfileStringW(section.c_str(), key, value.c_str(), path_) != 0) return std::nullopt;
  return GetLastError();
}

WriteFailure BlocksIni::write(const qmWString& section, const qmWChar* key, std::int64_t value) const {
  return write(section, key, toWide(std::to_string(value)));
}

MeasurementSettings::MeasurementSettings() {
  QmWorkPlace::MakeHomeFullPath(u"quelmetra.ini", path_, kPathSize);
  key_.AttachIniFile(path_);
  key_.Branch(kMeasurementKey, false, 0);
}

}  // namespace quelcore
