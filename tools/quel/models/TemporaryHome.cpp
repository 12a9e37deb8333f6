#include "models/TemporaryHome.h"

#include "quelplatform/qmEnv/QmWorkPlaceEmbedded.h"

namespace queltool {

TemporaryHome::TemporaryHome() { quelplatform::setHomeDirectory(folder_.path().string()); }

TemporaryHome::~TemporaryHome() { quelplatform::setHomeDirectory(""); }

}  // namespace queltool
