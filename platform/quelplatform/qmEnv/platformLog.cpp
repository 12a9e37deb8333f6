#include "quelplatform/qmEnv/platformLog.h"

namespace quelplatform {

const char* const kBuildDate = QUELPLATFORM_BUILD_DATE;

}  // namespace quelplatform
