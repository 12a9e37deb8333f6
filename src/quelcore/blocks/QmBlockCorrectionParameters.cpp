#include "quelcore/blocks/QmBlockCorrectionParameters.h"

#include <algorithm>
#include <utility>

#include "quelcore/base/File.h"
#include "quelcore/base/ModuleLog.h"
#include "quelcore/base/outOfMemory.h"
#include "quelcore/base/problems.h"
#include "quelcore/base/wideNumber.h"
#include "quelcore/base/xmlPlaces.h"
#include "quelplatform/qmEnv/CMarkupSTL.h"
#include "quelplatform/qmEnv/qmFile.h"
#include "quelplatform/windows/wideText.h"

using quelcore::isRealNumber;
using quelcore::isWholeNumber;
using quelcore::ProblemText;
using quelcore::refuse;
using quelcore::refuseUnreadable;
using quelcore::refuseXml;
using quelcore::whyUnopened;

namespace {

constexpr quelcore::ModuleLog kLog{"QmBlockCorrectionParameters"};

constexpr std::uint32_t kErrorUnreadable = 0xC43D001E;
constexpr const qmWChar* kRoot = u"BlockCorrectionParameters";
constexpr const qmWChar* kElement = u"BlockParameter";
constexpr std::u16string_view kPath[] = {kRoot, kElement};

void makeLower(qmWString& name) {
  std::transform(name.begin(), name.end(), name.begin(), [](qmWChar unit) { return towlower(unit); });
}

/// Text of an attribute of the current element that should be a number.
qmWString numberText(const CMarkupSTL& xml, const qmWChar* attribute, bool (*isNumber)(std::u16string_view),
                     const quelcore::XmlElement& element) {
  qmWString text = xml.GetAttrib(attribute);
  if (!isNumber(text)) {
    const ProblemText name = ProblemText::plain(attribute);
    element.remark(ProblemText::quoted(text),
                   ProblemText::printed("a %snumber as %.40s", isNumber == isWholeNumber ? "whole " : "", name.text));
  }
  return text;
}

}  // namespace

QmBlockCorrectionParameters::~QmBlockCorrectionParameters() = default;

bool QmBlockCorrectionParameters::Initialize(const qmWString& file) {
  quelcore::beginReading(file.c_str());
  kLog.write(quelcore::kLogInformation, "Start of Initialize()");
  kLog.write(quelcore::kLogInformation, "compare file names:");
  kLog.write(quelcore::kLogInformation, "'%s' vs. '%s'", loadedFile_, file);
  if (loadedFile_ == file) return true;
  if (!IsValidForCorrection(file)) {
    return file.empty() ? refuse({}, "", "no file is named") : refuseUnreadable(whyUnopened(file.c_str()));
  }
  const bool read = quelcore::unlessOutOfMemory(false, [&] {
    qmWString name = file;  // before the table changes: what follows cannot fail
    if (!readFromXml(file)) return false;
    loadedFile_ = std::move(name);
    return true;
  });
  if (!read) {
    quelcore::refuseForMemory();  // Unless the cause is known.
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
  if (!loaded) {
    kLog.message(quelcore::kLogError, kErrorUnreadable, file);
    refuseXml(xml);
  }
  if (!xml.FindElem(kRoot)) {  // asked of an unreadable file too, which so leaves both records
    kLog.write(quelcore::kLogNote, "NOT found %s in file %s", kRoot, file);
    return refuse({}, "", "another root", "BlockCorrectionParameters");
  }
  if (!loaded) return false;
  xml.IntoElem();
  for (int number = 1; xml.FindElem(kElement); ++number) readParameterValue(xml, {file.c_str(), kPath, number});
  xml.OutOfElem();
  return true;
}

void QmBlockCorrectionParameters::readParameterValue(CMarkupSTL& xml, const quelcore::XmlElement& element) {
  qmWString name = xml.GetAttrib(u"Name");
  if (name.empty()) return element.remark("no Name, so it is passed over");
  const auto camera = static_cast<std::uint32_t>(_wtoi(numberText(xml, u"CameraId", isWholeNumber, element).c_str()));
  const double value = _wtof(numberText(xml, u"Value", isRealNumber, element).c_str());
  makeLower(name);
  const std::size_t before = parameters_.size();
  insertParameterValue(name, camera, value);
  if (parameters_.size() == before) {
    element.remark(ProblemText::quoted(name), "a name that no earlier element has for the camera");
  }
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
