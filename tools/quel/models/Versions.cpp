#include "models/Versions.h"

#include <fmt/core.h>

#include "quelcore/base/QmKernels.h"
#include "quelcore/base/QmVersion.h"
#include "quelcore/tensor/QmReconsTensor.h"

namespace queltool {

namespace {

std::string compilerName() {
#if defined(__clang__)
  return fmt::format("Clang {}.{}.{}", __clang_major__, __clang_minor__, __clang_patchlevel__);
#else
  return fmt::format("GCC {}.{}.{}", __GNUC__, __GNUC_MINOR__, __GNUC_PATCHLEVEL__);
#endif
}

std::string tensorFormats() {
  return fmt::format("writes version {0:.0f}; reads 0 to {0:.0f} and legacy files", QmReconsTensor().GetVersion());
}

}  // namespace

std::vector<VersionPart> partsOfTool() {
  return {{"library", qmCoreVersion()},
          {"tensor files", tensorFormats()},
          {"compiler", compilerName()},
          {"kernels", qmKernelsInUse()}};
}

std::string versionsOf(const std::string& tool) {
  std::string text = "quel " + tool;
  for (const VersionPart& part : partsOfTool()) text += fmt::format("\n{:<13} {}", part.name, part.version);
  return text;
}

}  // namespace queltool
