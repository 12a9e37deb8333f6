#include "quelcore/base/kernelWidth.h"

#include <cstdlib>

#include "quelcore/base/ModuleLog.h"
#include "quelcore/base/QmKernels.h"

namespace quelcore {

namespace {

constexpr ModuleLog kLog{"kernelWidth"};

quelkernels::Width chosenWidth() {
  const char* const name = std::getenv(quelkernels::kWidthVariable);
  const quelkernels::Width best = quelkernels::widest();
  if (name == nullptr || *name == '\0') return best;
  const auto asked = quelkernels::runnableWidth(name);
  if (asked) return *asked;
  kLog.write(kLogWarning, "QUEL_KERNELS is \"%s\", which this machine does not run; \"%s\" is used", name,
             quelkernels::nameOf(best));
  return best;
}

}  // namespace

quelkernels::Width kernelWidth() {
  static const quelkernels::Width width = chosenWidth();
  return width;
}

}  // namespace quelcore

const char* qmKernelsInUse() { return quelkernels::nameOf(quelcore::kernelWidth()); }
