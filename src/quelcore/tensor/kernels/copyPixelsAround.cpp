#include "quelcore/tensor/kernels/copyPixelsAround.h"

#include "quelkernels/Pack.h"

namespace quelcore::QUEL_WIDTH {

using namespace quelkernels::QUEL_WIDTH;

namespace {

QUEL_INLINE bool isAligned(const double* place) { return reinterpret_cast<std::uintptr_t>(place) % sizeof(Pack) == 0; }

}  // namespace

void copyPixelsAround(const double (*from)[2], std::int64_t count, double (*to)[2]) {
  const double* source = flat(from);
  double* target = flat(to);
  const double* const end = source + 2 * count;
  while (source < end && !isAligned(target)) *target++ = *source++;
  for (; source + kLanes <= end; source += kLanes, target += kLanes) storeAround(target, load(source));
  while (source < end) *target++ = *source++;
  finishStoresAround();
}

}  // namespace quelcore::QUEL_WIDTH
