#include "quelcore/blocks/QmBlockCorrectionParameters.h"

#include <algorithm>
#include <utility>

#include "quelcore/base/ModuleLog.h"
#include "quelcore/base/outOfMemory.h"
#include "quelplatform/qmEnv/CMarkupSTL.h"
#include "quelplatform/qmEnv/qmFile.h"
#include "quelplatform/windows/wideText.h"

namespace {

constexpr quelcore::ModuleLog kLog{"QmBlockCorrectionParameters"};

constexpr std::uint32_t kErrorUnreadable = 0xC43D001E;
constexpr const qmWChar* kRoot = u"BlockCorrectionParameters";
constexpr const qmWChar* kElement = u"BlockParameter";

void makeLower(qmWString& name) {
  std::transform(name.begin(), name.end(), name.begin(), [](qmWChar unit) { return towlower(unit); });
}

}  // namespace

QmBlockCorrectionParameters::~QmBlockCorrectionParameters() = default;

bool QmBlockCorrectionParameters::Initialize(const qmWString& file) {
  kLog.write(quelcore::kLogInformation, "Start of Initialize()");
  kLog.write(quelcore::kLogInformation, "compare file names:");
  kLog.write(quelcore::kLogInformation, "'%s' vs. '%s'", loadedFile_, file);
  if (loadedFile_ == file) return true;
  if (!IsValidForCorrection(file)) return false;
  const bool read = quelcore::unlessOutOfMemory(false, [&] {
    qmWString name = file;  // before the table changes: what follows cannot fail
    if (!readFromXml(file)) return false;
    loadedFile_ = std::move(name);
    return true;
  });
  if (!read) {
    parameters_.clear();
    kLog.write(quelcore::kLogError, "Failed to load Tensor Correction Table from file: %s", file);
    return false;
  }
  kLog.write(quelcore::kLogInformation, "Load Tensor Correction Table from file: %s", file);
  return true;
}

bool QmBlockCorrectionParameters::IsInitialized() const { return IsValidForCorrection(loadedFile_); }

bool QmBlockCorrectionParameters::IsValidForCorrection(const qmWString& file) const {
  if (!file.empty() && QmFileExist(file.c_str())) return true;
  kLog.write(quelcore::kLogNote, "Block Correction Parameters file is empty or don't exist: %s", file);
  return false;
}

bool QmBlockCorrectionParameters::readFromXml(const qmWString& file) {
  parameters_.clear();
  CMarkupSTL xml;
  const bool loaded = xml.Load(file.c_str());
  if (!loaded) kLog.message(quelcore::kLogError, kErrorUnreadable, file);
  if (!xml.FindElem(kRoot)) {  // asked of an unreadable file too, which so leaves both records
    kLog.write(quelcore::kLogNote, "NOT found %s in file %s", kRoot, file);
    return false;
  }
  if (!loaded) return false;
  xml.IntoElem();
  while (xml.FindElem(kElement)) readParameterValue(xml);
  xml.OutOfElem();
  return true;
}

bool QmBlockCorrectionParameters::readParameterValue(CMarkupSTL& xml) {
  qmWString name = xml.GetAttrib(u"Name");
  if (name.empty()) return true;
  const auto camera = static_cast<std::uint32_t>(_wtoi(qmWString(xml.GetAttrib(u"CameraId")).c_str()));
  const double value = _wtof(qmWString(xml.GetAttrib(u"Value")).c_str());
  makeLower(name);
  insertParameterValue(name, camera, value);
  return true;
}

bool QmBlockCorrectionParameters::GetParameter(qmWString& name, std::uint32_t camera, double& value) {
  if (!Initialize(loadedFile_)) return false;
  makeLower(name);
  std::pair<qmWString, std::uint32_t> key(std::move(name), camera);  // moved there and back: a lookup needs no memory
  const auto found = parameters_.find(key);
  name = std::move(key.first);
  if (found == parameters_.end()) {
    kLog.write(quelcore::kLogNote, "Block Correction Parameter %s for camera %d is not existed within the file.", name,
               camera);
    return false;
  }
  value = found->second;
  return true;
}

void QmBlockCorrectionParameters::insertParameterValue(const qmWString& name, std::uint32_t camera, double value) {
  parameters_.emplace(std::make_pair(name, camera), value);
}
