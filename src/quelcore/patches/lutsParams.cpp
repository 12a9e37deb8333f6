#include "quelcore/patches/lutsParams.h"

#include "quelcore/base/File.h"
#include "quelcore/base/ModuleLog.h"
#include "quelcore/base/presence.h"
#include "quelcore/base/problems.h"
#include "quelcore/base/wideNumber.h"
#include "quelplatform/qmEnv/qmFile.h"
#include "quelplatform/windows/profile.h"

namespace quelcore {
namespace {

constexpr ModuleLog kLog{"QmPatchBlockInfo"};

constexpr std::uint32_t kErrorNoType = 0xc4040066;
constexpr std::uint32_t kErrorNoFile = 0xc4040067;

bool failWith(std::uint32_t code, LogPlace place = LogPlace(kLogError, __builtin_LINE())) {
  kLog.error(place, code);
  return false;
}

/// A flag that is a number other than 0; absent is 0, and so is, with a remark, what is no number. False where the file
/// cannot be read: the values would be kept for the process as if they stood there.
bool readFlag(const LutsParams& params, const qmWChar* key, bool& flag) {
  qmWChar text[kPathSize] = {};
  GetPrivateProfileStringW(u"General", key, u"0", text, kPathSize, params.path);
  if (!isWholeNumber(text)) remark({}, ProblemText::plain(key), ProblemText::quoted(text), "0 or 1");
  flag = GetPrivateProfileIntW(u"General", key, 0, params.path) != 0;
  return presenceByLastError() != Presence::Unknown;
}

const char* textOf(bool flag) { return flag ? "true" : "false"; }

/// Reads the values of `ohType`; `params` is not initialised before, nor after a failure.
bool readFile(LutsParams& params, OH_CAMERA_TYPE ohType) {
  if (QmWorkPlace::MakeMultiStageCalibFullPath(ohType, params.path, kPathSize) == 0) {
    params.path[0] = u'\0';
    beginReading(nullptr);
    refuse({}, "", "its path is too long");
    return failWith(kErrorNoFile);
  }
  beginReading(params.path);
  if (!QmFileExist(params.path)) {
    refuseUnreadable(whyUnopened(params.path));
    return failWith(kErrorNoFile);
  }
  if (!readFlag(params, u"qmDistortLutCopBased", params.bUseDistortLutCopBased_) ||
      !readFlag(params, u"qmDistortLutTrgBased", params.bUseDistortLutTrgBased_)) {
    refuseUnreadable(whyUnopened(params.path));
    return failWith(kErrorNoFile);
  }
  params.initialised = true;
  params.ohType = ohType;
  kLog.write(kLogInformation,
             "lut parameters initialized for ohType = %s (%i) : bUseDistortLutCopBased_ = %s "
             "bUseDistortLutTrgBased_ = %s\r\n\tby file %s",
             getOHCameraName(ohType), static_cast<std::int32_t>(ohType), textOf(params.bUseDistortLutCopBased_),
             textOf(params.bUseDistortLutTrgBased_), params.path);
  return true;
}

}  // namespace

LutsParams& lutsParams() {
  static LutsParams params{};
  return params;
}

bool readLutsParams(OH_CAMERA_TYPE ohType) {
  LutsParams& params = lutsParams();
  if (params.initialised && params.ohType == ohType) return true;
  if (params.initialised) {
    kLog.write(kLogInformation, "lutsParams is initialized once more: previous ohType = %s (%i) new ohType = %s (%i)",
               getOHCameraName(params.ohType), static_cast<std::int32_t>(params.ohType), getOHCameraName(ohType),
               static_cast<std::int32_t>(ohType));
    if (ohType == OH_CAMERA_INVALID) {
      kLog.write(kLogInformation, "New ohType is invalid, keep the previous");
      return true;
    }
    params.initialised = false;
    params.ohType = OH_CAMERA_INVALID;
  }
  if (ohType == OH_CAMERA_INVALID) {
    beginReading(nullptr);
    refuse({}, "", "the camera type is not known");
    return failWith(kErrorNoType);
  }
  return readFile(params, ohType);
}

}  // namespace quelcore
