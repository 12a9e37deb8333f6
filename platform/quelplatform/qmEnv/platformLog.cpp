#include "quelplatform/qmEnv/platformLog.h"

#include <string>

#include "quelplatform/ground/files/atomicFile.h"

namespace quelplatform {

const char* const kBuildDate = QUELPLATFORM_BUILD_DATE;

namespace {

constexpr std::int32_t kError = 5;

void tellRefusal(const std::string& path) noexcept {
  tell(kError, "qmFile", "%s: not replaced, because the new file would give its group's rights to others", path);
}

// The floor below has no log of its own.
[[maybe_unused]] const bool listening = (listenToRefusals(&tellRefusal), true);

}  // namespace

}  // namespace quelplatform
