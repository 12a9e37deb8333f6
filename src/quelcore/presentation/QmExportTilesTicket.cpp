#include "quelcore/presentation/QmExportTilesTicket.h"

#include "quelcore/base/ModuleLog.h"
#include "quelcore/base/paths.h"
#include "quelplatform/qmEnv/QmEnvLocale.h"

namespace {

constexpr quelcore::ModuleLog kLog{"QmExportTilesTicket"};
constexpr std::uint8_t kReadFlag = 1;

const qmWChar* const kKey = u"HKEY_CURRENT_USER\\Software\\Quelmetra\\Common\\ExportTilesTicket";
const qmWChar* const kAuto = u"Auto";
const qmWChar* const kCheckTargets = u"CheckTargets";
const qmWChar* const kFormat = u"Format";
const qmWChar* const kOverlap = u"Overlap";
const qmWChar* const kPath = u"Path";
const qmWChar* const kPitch = u"Pitch";
const qmWChar* const kPitchPixels = u"PitchPixels";
const qmWChar* const kSaveTo = u"SaveTo";
const qmWChar* const kUniform = u"Uniform";
const qmWChar* const kUnits = u"Units";

// `line` is that of the getter that asks.
void demand(const QmRegKey& key, const qmWChar* name, std::int32_t line = __builtin_LINE()) {
  if (!key.IsValue(name)) throw QmExportTilesTicket::AccessError(line, u"QmExportTilesTicket", kReadFlag);
}

qmWString textOf(const QmRegKey& key, const qmWChar* name) {
  const QmRegValue value = key[name];
  const qmWChar* text = value;
  return text == nullptr ? qmWString() : qmWString(text);
}

}  // namespace

QmExportTilesTicket::AccessError::AccessError(std::int32_t sourceLine, const qmWChar* sourceFile,
                                              std::uint8_t sourceFlag)
    : QmExceptionNote(sourceLine, sourceFile, sourceFlag, u"Read Export Tiles Data Error") {
  kLog.write(quelcore::kLogInformation, "created QmExceptionNote : AccessError() with line %d file %s", line, file);
}
QmExportTilesTicket::AccessError::AccessError(const AccessError&) = default;
QmExportTilesTicket::AccessError& QmExportTilesTicket::AccessError::operator=(const AccessError&) = default;
QmExportTilesTicket::AccessError::~AccessError() = default;

QmExportTilesTicket::QmExportTilesTicket() = default;

QmExportTilesTicket::QmExportTilesTicket(const QmExportTilesTicket& other) : key_(other.key_, QmRegKey::kReadWrite) {}

QmExportTilesTicket& QmExportTilesTicket::operator=(const QmExportTilesTicket& other) = default;

QmExportTilesTicket::~QmExportTilesTicket() {
  key_.DeleteValue(kPitch);
  key_.DeleteValue(kUnits);
  key_.Close();
}

bool QmExportTilesTicket::AccessData(bool forWriting) {
  qmWChar path[quelcore::kPathSize] = {};
  QmWorkPlace::getQmIniFilePath(path, quelcore::kPathSize);
  key_.AttachIniFile(path);
  if (!forWriting && !key_.IsBranch(kKey, QmRegKey::kRead)) return false;
  return key_.Branch(kKey, true, forWriting ? QmRegKey::kReadWrite : QmRegKey::kRead);
}

bool QmExportTilesTicket::get_Auto() const {
  demand(key_, kAuto);
  return key_[kAuto];
}

void QmExportTilesTicket::set_Auto(bool value) { key_[kAuto] = value; }

bool QmExportTilesTicket::get_CheckTargets() const { return !key_.IsValue(kCheckTargets) || key_[kCheckTargets]; }

void QmExportTilesTicket::set_CheckTargets(bool value) { key_[kCheckTargets] = value; }

qmWString QmExportTilesTicket::get_Format() const {
  demand(key_, kFormat);
  return textOf(key_, kFormat);
}

void QmExportTilesTicket::set_Format(const qmWChar* text) { key_[kFormat] = text; }

bool QmExportTilesTicket::get_Overlap() const { return !key_.IsValue(kOverlap) || key_[kOverlap]; }

void QmExportTilesTicket::set_Overlap(bool value) { key_[kOverlap] = value; }

qmWString QmExportTilesTicket::get_Path() const {
  demand(key_, kPath);
  return textOf(key_, kPath);
}

void QmExportTilesTicket::set_Path(const qmWChar* text) { key_[kPath] = text; }

double QmExportTilesTicket::get_PitchPixels() const {
  demand(key_, kPitchPixels);
  return key_[kPitchPixels];
}

void QmExportTilesTicket::set_PitchPixels(double value) { key_[kPitchPixels] = value; }

std::int32_t QmExportTilesTicket::get_SaveTo() const { return key_[kSaveTo]; }

void QmExportTilesTicket::set_SaveTo(std::int32_t value) { key_[kSaveTo] = value; }

bool QmExportTilesTicket::get_Uniform() const {
  demand(key_, kUniform);
  return key_[kUniform];
}

void QmExportTilesTicket::set_Uniform(bool value) { key_[kUniform] = value; }

qmWString QmExportTilesTicket::get_Pitch() const { return {}; }

void QmExportTilesTicket::set_Pitch(const qmWChar*) { key_.DeleteValue(kPitch); }

std::int32_t QmExportTilesTicket::get_Units() const {
  const QmEnvLocale* locale = QmEnvLocale::GetInstance(true);
  return locale == nullptr ? 0 : locale->GetUnits();
}

void QmExportTilesTicket::set_Units(std::int32_t) { key_.DeleteValue(kUnits); }
